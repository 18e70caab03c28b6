#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

namespace tf::testing {

// A certificate and its private key, written as PEM files.
struct PemFiles {
    QString certificate, key;
};

// A certificate authority made for one test, whose files go into a temporary folder the test
// owns. Keys are small elliptic-curve keys, so making one takes milliseconds.
class TestCertificateAuthority {
  public:
    TestCertificateAuthority(const QString& folder,
                             const QString& name = QStringLiteral("Tidyfold Test CA"));
    ~TestCertificateAuthority();
    TestCertificateAuthority(const TestCertificateAuthority&) = delete;
    TestCertificateAuthority& operator=(const TestCertificateAuthority&) = delete;

    // The CA's own certificate: what an account's cafile names.
    QString caFile() const { return files_.certificate; }
    // A server certificate for host (a DNS name, or an IP address), signed by this CA, written
    // as BASENAME.crt and BASENAME.key. An expired one ran out yesterday.
    PemFiles issueServer(const QString& host, const QString& baseName, bool expired = false);

  private:
    struct Keys;
    QString folder_;
    PemFiles files_;
    Keys* keys_;
};

// A server certificate for host that signs itself, written as BASENAME.crt and BASENAME.key.
PemFiles makeSelfSigned(const QString& folder, const QString& host, const QString& baseName);

// The certificates of a PEM file, in their order, DER encoded: what a server presents.
std::vector<QByteArray> derCertificates(const QString& pemFile);

}  // namespace tf::testing
