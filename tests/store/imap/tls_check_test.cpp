#include "store/imap/tls_check.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "tests/support/qt_printers.h"
#include "tests/support/test_certificates.h"

namespace tf::store::imap {
namespace {

using testing::derCertificates;
using testing::TestCertificateAuthority;

class TlsCheckTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QTemporaryDir dir;
};

TEST_F(TlsCheckTest, CaFileMakesTheServerTrusted) {
    TestCertificateAuthority ca(dir.path());
    const auto server = ca.issueServer(QStringLiteral("mail.test.example"), QStringLiteral("s"));
    const TlsVerdict verdict = verifyServerCertificates(
        derCertificates(server.certificate), QStringLiteral("mail.test.example"), ca.caFile());
    EXPECT_TRUE(verdict.trusted) << verdict.reason.toStdString();
    EXPECT_TRUE(verdict.reason.isEmpty());
    // The chain as a server may send it, with the CA after the leaf, is trusted the same way.
    std::vector<QByteArray> withCa = derCertificates(server.certificate);
    withCa.push_back(derCertificates(ca.caFile()).front());
    EXPECT_TRUE(
        verifyServerCertificates(withCa, QStringLiteral("mail.test.example"), ca.caFile()).trusted);
}

TEST_F(TlsCheckTest, AddressCertificatesMatchTheirAddress) {
    TestCertificateAuthority ca(dir.path());
    const auto v4 = ca.issueServer(QStringLiteral("127.0.0.1"), QStringLiteral("v4"));
    EXPECT_TRUE(verifyServerCertificates(derCertificates(v4.certificate),
                                         QStringLiteral("127.0.0.1"), ca.caFile())
                    .trusted);
    EXPECT_EQ(verifyServerCertificates(derCertificates(v4.certificate), QStringLiteral("127.0.0.2"),
                                       ca.caFile())
                  .reason,
              QStringLiteral("name does not match"));
    const auto v6 = ca.issueServer(QStringLiteral("::1"), QStringLiteral("v6"));
    EXPECT_TRUE(verifyServerCertificates(derCertificates(v6.certificate), QStringLiteral("::1"),
                                         ca.caFile())
                    .trusted);
}

TEST_F(TlsCheckTest, WithoutTheCaFileTheCertificateIsNotTrusted) {
    TestCertificateAuthority ca(dir.path());
    const auto server = ca.issueServer(QStringLiteral("mail.test.example"), QStringLiteral("s"));
    const TlsVerdict verdict = verifyServerCertificates(
        derCertificates(server.certificate), QStringLiteral("mail.test.example"), QString());
    EXPECT_FALSE(verdict.trusted);
    EXPECT_EQ(verdict.reason, QStringLiteral("certificate not trusted"));
}

TEST_F(TlsCheckTest, AnotherCaIsNotTrusted) {
    QTemporaryDir otherDir;
    TestCertificateAuthority ca(dir.path());
    TestCertificateAuthority other(otherDir.path(), QStringLiteral("Someone Else's CA"));
    const auto server = ca.issueServer(QStringLiteral("mail.test.example"), QStringLiteral("s"));
    const TlsVerdict verdict = verifyServerCertificates(
        derCertificates(server.certificate), QStringLiteral("mail.test.example"), other.caFile());
    EXPECT_FALSE(verdict.trusted);
    EXPECT_EQ(verdict.reason, QStringLiteral("certificate not trusted"));
    // Sending the right CA along in the chain does not make it trusted: only the trust store does.
    std::vector<QByteArray> withCa = derCertificates(server.certificate);
    withCa.push_back(derCertificates(ca.caFile()).front());
    EXPECT_EQ(verifyServerCertificates(withCa, QStringLiteral("mail.test.example"), other.caFile())
                  .reason,
              QStringLiteral("certificate not trusted"));
}

TEST_F(TlsCheckTest, SelfSignedIsNotTrusted) {
    const auto self = testing::makeSelfSigned(dir.path(), QStringLiteral("mail.test.example"),
                                              QStringLiteral("s"));
    const TlsVerdict verdict = verifyServerCertificates(
        derCertificates(self.certificate), QStringLiteral("mail.test.example"), QString());
    EXPECT_FALSE(verdict.trusted);
    EXPECT_EQ(verdict.reason, QStringLiteral("certificate not trusted"));
}

TEST_F(TlsCheckTest, WrongHostNameIsRefused) {
    TestCertificateAuthority ca(dir.path());
    const auto server = ca.issueServer(QStringLiteral("mail.test.example"), QStringLiteral("s"));
    for (const char* host :
         {"other.test.example", "test.example", "x.mail.test.example", "127.0.0.1"}) {
        const TlsVerdict verdict = verifyServerCertificates(derCertificates(server.certificate),
                                                            QLatin1String(host), ca.caFile());
        EXPECT_FALSE(verdict.trusted) << host;
        EXPECT_EQ(verdict.reason, QStringLiteral("name does not match")) << host;
    }
    // Host names compare without regard to case.
    EXPECT_TRUE(verifyServerCertificates(derCertificates(server.certificate),
                                         QStringLiteral("MAIL.test.example"), ca.caFile())
                    .trusted);
}

TEST_F(TlsCheckTest, ExpiredCertificateIsRefused) {
    TestCertificateAuthority ca(dir.path());
    const auto server =
        ca.issueServer(QStringLiteral("mail.test.example"), QStringLiteral("s"), true);
    const TlsVerdict verdict = verifyServerCertificates(
        derCertificates(server.certificate), QStringLiteral("mail.test.example"), ca.caFile());
    EXPECT_FALSE(verdict.trusted);
    EXPECT_EQ(verdict.reason, QStringLiteral("certificate expired"));
}

TEST_F(TlsCheckTest, EmptyOrGarbageChainsAreRefused) {
    EXPECT_EQ(verifyServerCertificates({}, QStringLiteral("h"), QString()).reason,
              QStringLiteral("no certificate presented"));
    for (const QByteArray& garbage :
         {QByteArray(), QByteArray("not a certificate"), QByteArray(3000, '\x30'),
          QByteArray("\x30\x82\xff\xff", 4)}) {
        const TlsVerdict verdict =
            verifyServerCertificates({garbage}, QStringLiteral("h"), QString());
        EXPECT_FALSE(verdict.trusted);
        EXPECT_EQ(verdict.reason, QStringLiteral("certificate could not be read"));
    }
    // A good leaf followed by garbage is refused as a whole.
    TestCertificateAuthority ca(dir.path());
    const auto server = ca.issueServer(QStringLiteral("h.example"), QStringLiteral("s"));
    std::vector<QByteArray> chain = derCertificates(server.certificate);
    chain.push_back(QByteArray("junk"));
    EXPECT_EQ(verifyServerCertificates(chain, QStringLiteral("h.example"), ca.caFile()).reason,
              QStringLiteral("certificate could not be read"));
}

TEST_F(TlsCheckTest, UnreadableCaFileIsNamed) {
    TestCertificateAuthority ca(dir.path());
    const auto server = ca.issueServer(QStringLiteral("h.example"), QStringLiteral("s"));
    const QString missing = dir.filePath(QStringLiteral("missing.pem"));
    const TlsVerdict verdict = verifyServerCertificates(derCertificates(server.certificate),
                                                        QStringLiteral("h.example"), missing);
    EXPECT_FALSE(verdict.trusted);
    EXPECT_TRUE(verdict.reason.contains(missing)) << verdict.reason.toStdString();
    // A file that is not PEM is refused the same way rather than trusting nothing silently.
    EXPECT_TRUE(verifyServerCertificates(derCertificates(server.certificate),
                                         QStringLiteral("h.example"), server.key)
                    .reason.contains(QStringLiteral("could not be read")));
}

TEST_F(TlsCheckTest, MessageNamesHostAndReason) {
    const QString message =
        untrustedServerMessage(QStringLiteral("mail.example.org"),
                               TlsVerdict{false, QStringLiteral("name does not match")});
    EXPECT_TRUE(message.contains(QStringLiteral("mail.example.org")));
    EXPECT_TRUE(message.contains(QStringLiteral("name does not match")));
    EXPECT_TRUE(message.contains(QStringLiteral("nothing was sent")));
}

}  // namespace
}  // namespace tf::store::imap
