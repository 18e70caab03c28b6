#include "tests/support/test_certificates.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <ctime>
#include <stdexcept>

namespace tf::testing {

namespace {

void check(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + gnutls_strerror(result));
    }
}

QByteArray exported(gnutls_datum_t datum) {
    QByteArray bytes(reinterpret_cast<const char*>(datum.data), static_cast<int>(datum.size));
    gnutls_free(datum.data);
    return bytes;
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size()) {
        throw std::runtime_error("cannot write " + path.toStdString());
    }
}

gnutls_x509_privkey_t newKey() {
    gnutls_x509_privkey_t key = nullptr;
    check(gnutls_x509_privkey_init(&key), "privkey_init");
    check(gnutls_x509_privkey_generate(key, GNUTLS_PK_ECDSA,
                                       GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0),
          "privkey_generate");
    return key;
}

// A certificate for key with the given name; an authority signs others, a server names host.
gnutls_x509_crt_t newCertificate(gnutls_x509_privkey_t key, const QString& commonName,
                                 bool authority, const QString& host, bool expired) {
    static unsigned serial = 1;
    gnutls_x509_crt_t crt = nullptr;
    check(gnutls_x509_crt_init(&crt), "crt_init");
    check(gnutls_x509_crt_set_version(crt, 3), "set_version");
    const unsigned char number[4] = {0x10, static_cast<unsigned char>(serial >> 16),
                                     static_cast<unsigned char>(serial >> 8),
                                     static_cast<unsigned char>(serial)};
    ++serial;
    check(gnutls_x509_crt_set_serial(crt, number, sizeof number), "set_serial");
    const time_t now = time(nullptr);
    const time_t day = 24 * 60 * 60;
    check(gnutls_x509_crt_set_activation_time(crt, expired ? now - 2 * day : now - day),
          "set_activation_time");
    check(gnutls_x509_crt_set_expiration_time(crt, expired ? now - day : now + 30 * day),
          "set_expiration_time");
    const QByteArray dn = "CN=" + commonName.toUtf8() + ",O=Tidyfold tests";
    const char* error = nullptr;
    check(gnutls_x509_crt_set_dn(crt, dn.constData(), &error), "set_dn");
    check(gnutls_x509_crt_set_key(crt, key), "set_key");
    unsigned char id[64];
    size_t idSize = sizeof id;
    check(gnutls_x509_crt_get_key_id(crt, 0, id, &idSize), "get_key_id");
    check(gnutls_x509_crt_set_subject_key_id(crt, id, idSize), "set_subject_key_id");
    if (authority) {
        check(gnutls_x509_crt_set_basic_constraints(crt, 1, -1), "set_basic_constraints");
        check(gnutls_x509_crt_set_key_usage(crt, GNUTLS_KEY_KEY_CERT_SIGN | GNUTLS_KEY_CRL_SIGN),
              "set_key_usage");
        return crt;
    }
    check(gnutls_x509_crt_set_basic_constraints(crt, 0, -1), "set_basic_constraints");
    check(gnutls_x509_crt_set_key_usage(crt, GNUTLS_KEY_DIGITAL_SIGNATURE), "set_key_usage");
    check(gnutls_x509_crt_set_key_purpose_oid(crt, GNUTLS_KP_TLS_WWW_SERVER, 0), "set_purpose");
    QHostAddress address;
    if (address.setAddress(host)) {
        QByteArray raw;
        if (address.protocol() == QAbstractSocket::IPv4Protocol) {
            const quint32 v4 = address.toIPv4Address();
            raw = QByteArray(4, '\0');
            for (int i = 0; i < 4; ++i) {
                raw[i] = static_cast<char>((v4 >> (24 - 8 * i)) & 0xff);
            }
        } else {
            const Q_IPV6ADDR v6 = address.toIPv6Address();
            raw = QByteArray(reinterpret_cast<const char*>(v6.c), 16);
        }
        check(gnutls_x509_crt_set_subject_alt_name(crt, GNUTLS_SAN_IPADDRESS, raw.constData(),
                                                   static_cast<unsigned>(raw.size()),
                                                   GNUTLS_FSAN_APPEND),
              "set_subject_alt_name");
    } else {
        const QByteArray name = host.toUtf8();
        check(gnutls_x509_crt_set_subject_alt_name(crt, GNUTLS_SAN_DNSNAME, name.constData(),
                                                   static_cast<unsigned>(name.size()),
                                                   GNUTLS_FSAN_APPEND),
              "set_subject_alt_name");
    }
    return crt;
}

PemFiles writePair(const QString& folder, const QString& baseName, gnutls_x509_crt_t crt,
                   gnutls_x509_privkey_t key) {
    gnutls_datum_t certificate{};
    check(gnutls_x509_crt_export2(crt, GNUTLS_X509_FMT_PEM, &certificate), "crt_export");
    gnutls_datum_t privateKey{};
    check(gnutls_x509_privkey_export2(key, GNUTLS_X509_FMT_PEM, &privateKey), "privkey_export");
    const QDir dir(folder);
    PemFiles files{dir.filePath(baseName + QStringLiteral(".crt")),
                   dir.filePath(baseName + QStringLiteral(".key"))};
    writeFile(files.certificate, exported(certificate));
    writeFile(files.key, exported(privateKey));
    QFile::setPermissions(files.key, QFile::ReadOwner | QFile::WriteOwner);
    return files;
}

}  // namespace

struct TestCertificateAuthority::Keys {
    gnutls_x509_privkey_t key = nullptr;
    gnutls_x509_crt_t certificate = nullptr;
};

TestCertificateAuthority::TestCertificateAuthority(const QString& folder, const QString& name)
    : folder_(folder), keys_(new Keys) {
    keys_->key = newKey();
    keys_->certificate = newCertificate(keys_->key, name, true, QString(), false);
    check(gnutls_x509_crt_sign2(keys_->certificate, keys_->certificate, keys_->key,
                                GNUTLS_DIG_SHA256, 0),
          "sign");
    files_ = writePair(folder, QStringLiteral("test-ca"), keys_->certificate, keys_->key);
}

TestCertificateAuthority::~TestCertificateAuthority() {
    gnutls_x509_crt_deinit(keys_->certificate);
    gnutls_x509_privkey_deinit(keys_->key);
    delete keys_;
}

PemFiles TestCertificateAuthority::issueServer(const QString& host, const QString& baseName,
                                               bool expired) {
    gnutls_x509_privkey_t key = newKey();
    gnutls_x509_crt_t crt = newCertificate(key, host, false, host, expired);
    unsigned char id[64];
    size_t idSize = sizeof id;
    check(gnutls_x509_crt_get_subject_key_id(keys_->certificate, id, &idSize, nullptr),
          "get_subject_key_id");
    check(gnutls_x509_crt_set_authority_key_id(crt, id, idSize), "set_authority_key_id");
    check(gnutls_x509_crt_sign2(crt, keys_->certificate, keys_->key, GNUTLS_DIG_SHA256, 0), "sign");
    const PemFiles files = writePair(folder_, baseName, crt, key);
    gnutls_x509_crt_deinit(crt);
    gnutls_x509_privkey_deinit(key);
    return files;
}

PemFiles makeSelfSigned(const QString& folder, const QString& host, const QString& baseName) {
    gnutls_x509_privkey_t key = newKey();
    gnutls_x509_crt_t crt = newCertificate(key, host, false, host, false);
    check(gnutls_x509_crt_sign2(crt, crt, key, GNUTLS_DIG_SHA256, 0), "sign");
    const PemFiles files = writePair(folder, baseName, crt, key);
    gnutls_x509_crt_deinit(crt);
    gnutls_x509_privkey_deinit(key);
    return files;
}

std::vector<QByteArray> derCertificates(const QString& pemFile) {
    QFile file(pemFile);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("cannot read " + pemFile.toStdString());
    }
    QByteArray pem = file.readAll();
    gnutls_datum_t datum{reinterpret_cast<unsigned char*>(pem.data()),
                         static_cast<unsigned>(pem.size())};
    gnutls_x509_crt_t* list = nullptr;
    unsigned count = 0;
    check(gnutls_x509_crt_list_import2(&list, &count, &datum, GNUTLS_X509_FMT_PEM, 0),
          "crt_list_import");
    std::vector<QByteArray> chain;
    for (unsigned i = 0; i < count; ++i) {
        gnutls_datum_t der{};
        check(gnutls_x509_crt_export2(list[i], GNUTLS_X509_FMT_DER, &der), "crt_export");
        chain.push_back(exported(der));
        gnutls_x509_crt_deinit(list[i]);
    }
    gnutls_free(list);
    return chain;
}

}  // namespace tf::testing
