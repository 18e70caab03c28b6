#include "store/store_locator.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include "common/failure.h"
#include "outlook/session.h"
#include "store/imap/imap_location.h"
#include "store/imap/imap_store.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"
#include "store/maildir/maildir_store.h"

namespace tf::store {

namespace {

const QString kLocalScheme = QStringLiteral("local:");
const QString kMaildirScheme = QStringLiteral("maildir:");
const QString kImapsScheme = QStringLiteral("imaps:");
const QString kImapScheme = QStringLiteral("imap:");

QString expandHome(const QString& path) {
    if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/"))) {
        return QDir::homePath() + path.mid(1);
    }
    return path;
}

// A scheme is letters followed by a colon, as in "local:" or "maildir:"; a Windows drive
// letter ("C:") is a path, not a scheme.
QString schemeOf(const QString& location) {
    const qsizetype colon = location.indexOf(QLatin1Char(':'));
    if (colon < 2) {
        return {};
    }
    for (qsizetype i = 0; i < colon; ++i) {
        if (!location[i].isLetter()) {
            return {};
        }
    }
    return location.left(colon + 1).toLower();
}

// "maildir:~/Mail" or "maildir:~/Mail#Work": the text after the last '#' names the account.
outlook::StorePtr openMaildir(const QString& rest) {
    const qsizetype hash = rest.lastIndexOf(QLatin1Char('#'));
    const QString path = expandHome(hash < 0 ? rest : rest.left(hash));
    const QString account = hash < 0 ? QString() : rest.mid(hash + 1).trimmed();
    if (path.isEmpty()) {
        throw Failure(err::kInvalidArgument, QStringLiteral("No Maildir folder was named."));
    }
    return maildir::openMaildirStore(QFileInfo(path).absoluteFilePath(), account);
}

// An existing path with its links resolved; one that does not exist (yet), made absolute.
QString canonicalPath(const QString& path) {
    const QFileInfo info(expandHome(path));
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

}  // namespace

const std::vector<LocationKind>& locationKinds() {
    static const std::vector<LocationKind> kinds = {
        {QStringLiteral("local:FILE or FILE"),
         QStringLiteral("a Tidyfold store file, which may hold several stores")},
        {QStringLiteral("maildir:FOLDER[#NAME]"),
         QStringLiteral("a Maildir++ folder (the one that holds cur/, new/ and tmp/), shown as "
                        "NAME or after the folder")},
        {QStringLiteral("imaps://USER@HOST[:PORT][#NAME]"),
         QStringLiteral("a mail account on a server, over TLS (port 993 unless given)")},
        {QStringLiteral("imap://USER@HOST[:PORT][#NAME]"),
         QStringLiteral("a mail account on a server, over STARTTLS (port 143 unless given)")},
    };
    return kinds;
}

QString canonicalLocation(const QString& location) {
    const QString scheme = schemeOf(location);
    if (scheme.isEmpty() || scheme == kLocalScheme) {
        const QString path = scheme.isEmpty() ? location : location.mid(kLocalScheme.size());
        return path.isEmpty() ? location : kLocalScheme + canonicalPath(path);
    }
    if (scheme == kMaildirScheme) {
        const QString rest = location.mid(kMaildirScheme.size());
        const qsizetype hash = rest.lastIndexOf(QLatin1Char('#'));
        const QString path = hash < 0 ? rest : rest.left(hash);
        return path.isEmpty()
                   ? location
                   : kMaildirScheme + canonicalPath(path) + (hash < 0 ? QString() : rest.mid(hash));
    }
    return location;
}

std::vector<outlook::StorePtr> openStores(const QString& location,
                                          const ServerCredentials& credentials) {
    const QString scheme = schemeOf(location);
    if (scheme.isEmpty() || scheme == kLocalScheme) {
        const QString path = expandHome(scheme.isEmpty() ? location : location.mid(6));
        if (path.isEmpty()) {
            throw Failure(err::kInvalidArgument, QStringLiteral("No store file was named."));
        }
        return local::openLocalStores(QFileInfo(path).absoluteFilePath());
    }
    if (scheme == kMaildirScheme) {
        return {openMaildir(location.mid(kMaildirScheme.size()))};
    }
    if (scheme == kImapsScheme || scheme == kImapScheme) {
        return {imap::openImapStore(imap::parseImapLocation(location), credentials.keyring,
                                    credentials.prompt, credentials.yield)};
    }
    throw Failure(err::kInvalidArgument,
                  QStringLiteral("\"%1\" is not a kind of store Tidyfold knows. Name a store file "
                                 "as local:FILE or as a plain path, a Maildir++ folder as "
                                 "maildir:FOLDER, or a mail server as imaps://USER@HOST.")
                      .arg(scheme));
}

QString defaultStorePath() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
        .filePath(QStringLiteral("Tidyfold/default.tidystore"));
}

StoreApplicationSource::StoreApplicationSource(QStringList locations, QString defaultStore,
                                               ServerCredentials credentials)
    : locations_(std::move(locations)),
      defaultStore_(std::move(defaultStore)),
      credentials_(credentials) {}

outlook::ApplicationPtr StoreApplicationSource::GetObject() {
    if (locations_.isEmpty()) {
        return nullptr;
    }
    return openNamedStores();
}

outlook::ApplicationPtr StoreApplicationSource::openNamedStores() const {
    std::vector<outlook::StorePtr> stores;
    for (const QString& location : locations_) {
        try {
            for (outlook::StorePtr& store : openStores(location, credentials_)) {
                stores.push_back(std::move(store));
            }
        } catch (const Failure& failure) {
            throw Failure(failure.number(),
                          QStringLiteral("The store \"%1\" could not be opened.\r\n\r\n%2")
                              .arg(imap::locationWithoutSecrets(location), failure.description()),
                          failure.source());
        }
    }
    return std::make_shared<outlook::SessionApplication>(std::move(stores));
}

outlook::ApplicationPtr StoreApplicationSource::CreateObject() {
    // The user named these stores; showing another store's folders instead would invite cleaning
    // the wrong mail.
    if (!locations_.isEmpty()) {
        return openNamedStores();
    }
    if (!QFileInfo::exists(defaultStore_)) {
        const QFileInfo info(defaultStore_);
        if (!QDir().mkpath(info.absolutePath())) {
            throw Failure(err::kPermissionDenied,
                          QStringLiteral("The folder %1 for the default store could not be made.")
                              .arg(info.absolutePath()));
        }
        // Written aside and renamed into place, so that an interrupted first run never leaves a
        // half-made default store behind.
        const QString partial = defaultStore_ + QStringLiteral(".partial");
        QFile::remove(partial);
        local::SampleOptions options;
        local::writeSampleStoreFile(partial, options);
        if (!QFile::rename(partial, defaultStore_)) {
            QFile::remove(partial);
            throw Failure(
                err::kPermissionDenied,
                QStringLiteral("The default store %1 could not be written.").arg(defaultStore_));
        }
    }
    try {
        return std::make_shared<outlook::SessionApplication>(local::openLocalStores(defaultStore_));
    } catch (const Failure& failure) {
        throw Failure(failure.number(),
                      QStringLiteral("The default store could not be opened.\r\n\r\n%1")
                          .arg(failure.description()),
                      failure.source());
    }
}

}  // namespace tf::store
