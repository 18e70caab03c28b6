#include "store/imap/tls_check.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <QFileInfo>
#include <memory>

namespace tf::store::imap {

namespace {

struct TrustListDeleter {
    void operator()(gnutls_x509_trust_list_st* list) const {
        gnutls_x509_trust_list_deinit(list, 1);
    }
};
struct CertificateDeleter {
    void operator()(gnutls_x509_crt_int* certificate) const { gnutls_x509_crt_deinit(certificate); }
};
using TrustList = std::unique_ptr<gnutls_x509_trust_list_st, TrustListDeleter>;
using Certificate = std::unique_ptr<gnutls_x509_crt_int, CertificateDeleter>;

TlsVerdict refused(const QString& reason) {
    return TlsVerdict{false, reason};
}

// The first problem the status names, in the order a person can act on it.
QString reasonOf(unsigned status) {
    if (status & GNUTLS_CERT_EXPIRED) {
        return QStringLiteral("certificate expired");
    }
    if (status & GNUTLS_CERT_NOT_ACTIVATED) {
        return QStringLiteral("certificate not yet valid");
    }
    if (status & GNUTLS_CERT_REVOKED) {
        return QStringLiteral("certificate revoked");
    }
    if (status & GNUTLS_CERT_INSECURE_ALGORITHM) {
        return QStringLiteral("certificate signed with an insecure algorithm");
    }
    return QStringLiteral("certificate not trusted");
}

}  // namespace

TlsVerdict verifyServerCertificates(const std::vector<QByteArray>& derChain, const QString& host,
                                    const QString& caFile) {
    if (derChain.empty()) {
        return refused(QStringLiteral("no certificate presented"));
    }
    if (host.isEmpty()) {
        return refused(QStringLiteral("no host name to check"));
    }
    std::vector<Certificate> owned;
    std::vector<gnutls_x509_crt_t> chain;
    for (const QByteArray& der : derChain) {
        gnutls_x509_crt_t raw = nullptr;
        if (gnutls_x509_crt_init(&raw) < 0) {
            return refused(QStringLiteral("certificate could not be read"));
        }
        owned.emplace_back(raw);
        gnutls_datum_t datum{reinterpret_cast<unsigned char*>(const_cast<char*>(der.constData())),
                             static_cast<unsigned>(der.size())};
        if (der.isEmpty() || gnutls_x509_crt_import(raw, &datum, GNUTLS_X509_FMT_DER) < 0) {
            return refused(QStringLiteral("certificate could not be read"));
        }
        chain.push_back(raw);
    }

    gnutls_x509_trust_list_t rawList = nullptr;
    if (gnutls_x509_trust_list_init(&rawList, 0) < 0) {
        return refused(QStringLiteral("trust store could not be opened"));
    }
    const TrustList trust(rawList);
    // A machine without a system store still trusts the account's own CA file.
    gnutls_x509_trust_list_add_system_trust(rawList, 0, 0);
    if (!caFile.isEmpty()) {
        const QByteArray path = QFileInfo(caFile).absoluteFilePath().toLocal8Bit();
        if (!QFileInfo(caFile).isReadable() ||
            gnutls_x509_trust_list_add_trust_file(rawList, path.constData(), nullptr,
                                                  GNUTLS_X509_FMT_PEM, 0, 0) <= 0) {
            return refused(QStringLiteral("CA file %1 could not be read").arg(caFile));
        }
    }

    unsigned status = 0;
    if (gnutls_x509_trust_list_verify_crt2(rawList, chain.data(),
                                           static_cast<unsigned>(chain.size()), nullptr, 0, 0,
                                           &status, nullptr) < 0) {
        return refused(QStringLiteral("certificate not trusted"));
    }
    if (status != 0) {
        return refused(reasonOf(status));
    }
    const QByteArray name = host.toUtf8();
    if (gnutls_x509_crt_check_hostname2(chain.front(), name.constData(), 0) == 0) {
        return refused(QStringLiteral("name does not match"));
    }
    return TlsVerdict{true, QString()};
}

QString untrustedServerMessage(const QString& host, const TlsVerdict& verdict) {
    return QStringLiteral("The server %1 was not trusted (%2), so nothing was sent to it.")
        .arg(host, verdict.reason);
}

}  // namespace tf::store::imap
