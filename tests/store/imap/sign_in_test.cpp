#include <gtest/gtest.h>

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/imap/imap_location.h"
#include "store/imap/imap_store.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/fake_credentials.h"
#include "tests/support/qt_printers.h"
#include "tests/support/tcp_proxy.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_certificates.h"
#include "tests/support/token_check_server.h"

namespace tf::store::imap {
namespace {

using testing::DovecotOptions;
using testing::DovecotServer;
using testing::TestCertificateAuthority;
using testing::TokenCheckServer;

// Signing in to a private Dovecot through the store, from the location a user writes: TLS is
// checked before any secret is fetched or sent, tokens and passwords come from commands, and a
// wrong one gives one clear message.
class SignInTest : public ::testing::Test {
  protected:
    SignInTest()
        : endpoint({{QStringLiteral("ann-token-1"), QStringLiteral("ann")}}), ca(home.path()) {}

    void SetUp() override {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                           home.file(QStringLiteral("config")));
    }

    // Starts the server with a certificate for certificateHost signed by the test's CA.
    void startServer(const QString& certificateHost = QStringLiteral("127.0.0.1"),
                     bool withCertificate = true) {
        DovecotOptions options;
        if (withCertificate) {
            const auto files = ca.issueServer(certificateHost, QStringLiteral("server"));
            options.certFile = files.certificate;
            options.keyFile = files.key;
        }
        options.oauth2TokenCheckUrl = endpoint.url();
        server = std::make_unique<DovecotServer>(home.file(QStringLiteral("dovecot")), options);
        QString why;
        ASSERT_TRUE(server->start(why)) << why.toStdString();
    }

    // "imaps://ann@127.0.0.1:PORT?key=value…" with the values encoded as a user would.
    static QString location(const QString& start,
                            std::initializer_list<std::pair<const char*, QString>> options) {
        QString text = start;
        QChar separator = QLatin1Char('?');
        for (const auto& [key, value] : options) {
            text += separator + QLatin1String(key) + QLatin1Char('=') +
                    QString::fromLatin1(QUrl::toPercentEncoding(value));
            separator = QLatin1Char('&');
        }
        return text;
    }
    QString imaps() const {
        return QStringLiteral("imaps://ann@127.0.0.1:%1").arg(server->imapsPort());
    }
    QString imapStartTls() const {
        return QStringLiteral("imap://ann@127.0.0.1:%1").arg(server->imapPort());
    }

    // A command that prints the secret and leaves a mark that it ran.
    QString secretCommand(const QString& secret) const {
        return QStringLiteral("touch '%1'; printf '%s\\nsecond line\\n' '%2'")
            .arg(ranMark(), secret);
    }
    QString ranMark() const { return home.file(QStringLiteral("command-ran")); }
    bool commandRan() const { return QFile::exists(ranMark()); }

    QString openFailure(const QString& text) {
        try {
            openImapStore(parseImapLocation(text), nullptr, nullptr);
        } catch (const Failure& failure) {
            return failure.description();
        }
        ADD_FAILURE() << "opened " << text.toStdString();
        return {};
    }
    // How often Dovecot saw ann try to sign in.
    int signInAttempts() const {
        return static_cast<int>(server->logText().count(QStringLiteral("user=<ann>")));
    }
    // The same once at least `expected` are in the log: Dovecot logs a failed sign-in when the
    // client has gone, a moment after the store gave up.
    int signInAttemptsOnceLogged(int expected) const {
        for (int i = 0; i < 100 && signInAttempts() < expected; ++i) {
            QThread::msleep(50);
        }
        QThread::msleep(200);  // room for a second attempt to show, were there one
        return signInAttempts();
    }

    testing::TempHome home;
    TokenCheckServer endpoint;
    TestCertificateAuthority ca;
    std::unique_ptr<DovecotServer> server;
};

TEST_F(SignInTest, Xoauth2TokenFromACommand) {
    startServer();
    const QString text = location(
        imaps(),
        {{"cafile", ca.caFile()}, {"token-command", secretCommand(QStringLiteral("ann-token-1"))}});
    const outlook::StorePtr store =
        openImapStore(parseImapLocation(text + QStringLiteral("#Work")), nullptr, nullptr);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->TopFolder()->Name(), QStringLiteral("Work"));
    EXPECT_EQ(endpoint.tokensAsked(), QStringList{QStringLiteral("ann-token-1")});
}

TEST_F(SignInTest, OauthbearerTokenFromACommandOverStartTls) {
    startServer();
    const outlook::StorePtr store = openImapStore(
        parseImapLocation(location(imapStartTls(),
                                   {{"cafile", ca.caFile()},
                                    {"token-command", secretCommand(QStringLiteral("ann-token-1"))},
                                    {"auth", QStringLiteral("oauthbearer")}})),
        nullptr, nullptr);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->TopFolder()->Name(), QStringLiteral("ann@127.0.0.1"));
    EXPECT_EQ(endpoint.tokensAsked(), QStringList{QStringLiteral("ann-token-1")});
}

TEST_F(SignInTest, WrongTokenGivesOneClearMessage) {
    startServer();
    for (const char* mechanism : {"xoauth2", "oauthbearer"}) {
        SCOPED_TRACE(mechanism);
        const QString before = endpoint.tokensAsked().join(QLatin1Char(' '));
        const QString message = openFailure(
            location(imaps(), {{"cafile", ca.caFile()},
                               {"token-command", secretCommand(QStringLiteral("expired-token-7"))},
                               {"auth", QLatin1String(mechanism)}}));
        EXPECT_TRUE(message.contains(QStringLiteral("127.0.0.1"))) << message.toStdString();
        EXPECT_TRUE(message.contains(QStringLiteral("access token"))) << message.toStdString();
        EXPECT_FALSE(message.contains(QStringLiteral("expired-token-7"))) << message.toStdString();
        // Asked about once: no second try that could lock the account.
        EXPECT_EQ(endpoint.tokensAsked().count(QStringLiteral("expired-token-7")),
                  before.count(QStringLiteral("expired-token-7")) + 1);
    }
}

TEST_F(SignInTest, PasswordCommandAndAWrongPassword) {
    startServer();
    const outlook::StorePtr store = openImapStore(
        parseImapLocation(
            location(imaps(), {{"cafile", ca.caFile()},
                               {"password-command", secretCommand(QStringLiteral("secret"))}})),
        nullptr, nullptr);
    ASSERT_NE(store, nullptr);

    const int attempts = signInAttempts();
    const QString message = openFailure(
        location(imaps(), {{"cafile", ca.caFile()},
                           {"password-command", secretCommand(QStringLiteral("Hunter2x"))}}));
    EXPECT_TRUE(message.contains(QStringLiteral("password"))) << message.toStdString();
    EXPECT_FALSE(message.contains(QStringLiteral("Hunter2x"))) << message.toStdString();
    EXPECT_EQ(signInAttemptsOnceLogged(attempts + 1), attempts + 1)
        << server->logText().toStdString();
}

TEST_F(SignInTest, UntrustedCertificateIsRefusedBeforeAnySecret) {
    startServer();
    QTemporaryDir otherDir;
    TestCertificateAuthority other(otherDir.path(), QStringLiteral("Another CA"));
    for (const QString& start : {imaps(), imapStartTls()}) {
        SCOPED_TRACE(start.toStdString());
        for (const QString& caFile : {QString(), other.caFile()}) {
            const QString message = openFailure(
                location(start, {{"cafile", caFile},
                                 {"password-command", secretCommand(QStringLiteral("secret"))}}));
            EXPECT_TRUE(message.contains(QStringLiteral("127.0.0.1"))) << message.toStdString();
            EXPECT_TRUE(message.contains(QStringLiteral("certificate not trusted")))
                << message.toStdString();
        }
    }
    EXPECT_FALSE(commandRan());
    EXPECT_EQ(signInAttempts(), 0) << server->logText().toStdString();
}

TEST_F(SignInTest, WrongHostNameIsRefusedBeforeAnySecret) {
    startServer(QStringLiteral("mail.test.example"));
    for (const QString& start : {imaps(), imapStartTls()}) {
        const QString message = openFailure(
            location(start, {{"cafile", ca.caFile()},
                             {"token-command", secretCommand(QStringLiteral("ann-token-1"))}}));
        EXPECT_TRUE(message.contains(QStringLiteral("name does not match")))
            << message.toStdString();
    }
    EXPECT_FALSE(commandRan());
    EXPECT_TRUE(endpoint.tokensAsked().isEmpty());
    EXPECT_EQ(signInAttempts(), 0) << server->logText().toStdString();
}

TEST_F(SignInTest, ServerWithoutStartTlsIsRefused) {
    startServer(QString(), false);
    const QString message = openFailure(
        location(imapStartTls(), {{"password-command", secretCommand(QStringLiteral("secret"))}}));
    EXPECT_TRUE(message.contains(QStringLiteral("STARTTLS"))) << message.toStdString();
    EXPECT_FALSE(commandRan());
    EXPECT_EQ(signInAttempts(), 0) << server->logText().toStdString();
    // Asked for, plain text on loopback works.
    const outlook::StorePtr store = openImapStore(
        parseImapLocation(location(
            imapStartTls(), {{"tls", QStringLiteral("none")},
                             {"password-command", secretCommand(QStringLiteral("secret"))}})),
        nullptr, nullptr);
    EXPECT_NE(store, nullptr);
}

// An access token runs out within the hour, so a connection made again after a drop asks the
// token command afresh instead of sending the token it had.
TEST_F(SignInTest, ReconnectingRunsTheTokenCommandAgain) {
    startServer();
    testing::TcpProxy proxy(server->imapsPort());
    const QString runs = home.file(QStringLiteral("runs"));
    const QString command = QStringLiteral("echo run >> '%1'; echo ann-token-1").arg(runs);
    const outlook::StorePtr store = openImapStore(
        parseImapLocation(location(QStringLiteral("imaps://ann@127.0.0.1:%1").arg(proxy.port()),
                                   {{"cafile", ca.caFile()}, {"token-command", command}})),
        nullptr, nullptr);
    ASSERT_NE(store, nullptr);
    const auto runCount = [&] {
        QFile file(runs);
        return file.open(QIODevice::ReadOnly) ? file.readAll().count("run") : 0;
    };
    EXPECT_EQ(runCount(), 1);

    proxy.cutNow();
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), 0);
    EXPECT_EQ(proxy.connectionsAccepted(), 2);
    EXPECT_EQ(runCount(), 2);
}

TEST_F(SignInTest, KeyringPasswordMeansNoQuestion) {
    startServer();
    testing::FakeKeyring keyring;
    testing::FakePrompt prompt;
    const ImapAccount account = parseImapLocation(location(imaps(), {{"cafile", ca.caFile()}}));
    keyring.remember(account, Secret(QByteArray("secret")));
    EXPECT_NE(openImapStore(account, &keyring, &prompt), nullptr);
    EXPECT_EQ(prompt.asked, 0);
}

TEST_F(SignInTest, PromptIsAskedOnceAndOnlyAnAcceptedPasswordIsRemembered) {
    startServer();
    testing::FakeKeyring keyring;
    testing::FakePrompt prompt;
    const ImapAccount account = parseImapLocation(location(imaps(), {{"cafile", ca.caFile()}}));

    prompt.answer = std::make_pair(Secret(QByteArray("Hunter2x")), true);
    const int attempts = signInAttempts();
    try {
        openImapStore(account, &keyring, &prompt);
        ADD_FAILURE() << "a wrong password opened the store";
    } catch (const Failure& failure) {
        EXPECT_FALSE(failure.description().contains(QStringLiteral("Hunter2x")));
    }
    EXPECT_EQ(prompt.asked, 1);  // no second question, no second try
    EXPECT_EQ(signInAttemptsOnceLogged(attempts + 1), attempts + 1);
    EXPECT_TRUE(keyring.entries.empty());

    prompt.answer = std::make_pair(Secret(QByteArray("secret")), true);
    EXPECT_NE(openImapStore(account, &keyring, &prompt), nullptr);
    EXPECT_EQ(prompt.asked, 2);
    ASSERT_EQ(keyring.entries.count(account.location()), 1u);
    EXPECT_EQ(keyring.entries.at(account.location()), Secret(QByteArray("secret")));
}

TEST_F(SignInTest, HeadlessWithoutAPasswordSendsNothing) {
    startServer();
    testing::FakeKeyring keyring;
    try {
        openImapStore(parseImapLocation(location(imaps(), {{"cafile", ca.caFile()}})), &keyring,
                      nullptr);
        ADD_FAILURE() << "opened without a password";
    } catch (const Failure& failure) {
        EXPECT_TRUE(failure.description().contains(QStringLiteral("keyring")))
            << failure.description().toStdString();
    }
    EXPECT_EQ(keyring.reads, 1);
    EXPECT_EQ(signInAttempts(), 0) << server->logText().toStdString();
}

}  // namespace
}  // namespace tf::store::imap
