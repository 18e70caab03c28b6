#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

namespace tf::store::imap {

// Whether the server's certificate chain may be trusted with a credential, and why not.
struct TlsVerdict {
    bool trusted = false;
    QString reason;  // "certificate not trusted", "name does not match", … when not trusted
};

// derChain: the certificates the server presented, leaf first, DER encoded (as libetpan's
// mailstream_ssl_get_certificate_chain gives them). Verifies the chain against the system's trust
// store plus caFile (PEM, when not empty) and checks that the leaf names host (a DNS name in its
// ASCII form, or an IP address).
TlsVerdict verifyServerCertificates(const std::vector<QByteArray>& derChain, const QString& host,
                                    const QString& caFile);

// The message a refused server gives: names the host and the reason.
QString untrustedServerMessage(const QString& host, const TlsVerdict& verdict);

}  // namespace tf::store::imap
