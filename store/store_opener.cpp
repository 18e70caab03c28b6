#include "store/store_opener.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "common/failure.h"
#include "store/local/sample_content.h"
#include "store/store_locator.h"

namespace tf::store {

namespace {
const QString kSampleName = QStringLiteral("Sample Mailbox");
}

LocatorStoreOpener::LocatorStoreOpener(QString sampleStorePath, ServerCredentials credentials)
    : samplePath_(std::move(sampleStorePath)), credentials_(credentials) {}

std::vector<outlook::StorePtr> LocatorStoreOpener::open(const QString& location) {
    if (canonical(location) == canonical(sampleLocation()) && !QFileInfo::exists(samplePath_)) {
        makeSample();
    }
    return openStores(location, credentials_);
}

QString LocatorStoreOpener::canonical(const QString& location) const {
    return canonicalLocation(location);
}

QString LocatorStoreOpener::sampleLocation() const {
    return QStringLiteral("local:") + samplePath_;
}

void LocatorStoreOpener::makeSample() const {
    const QFileInfo info(samplePath_);
    if (!QDir().mkpath(info.absolutePath())) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("The folder %1 for the sample store could not be made.")
                          .arg(info.absolutePath()));
    }
    // Written aside and renamed into place: an interrupted first run leaves no half-made store.
    const QString partial = samplePath_ + QStringLiteral(".partial");
    QFile::remove(partial);
    local::SampleOptions options;
    options.firstStoreName = kSampleName;
    local::writeSampleStoreFile(partial, options);
    if (!QFile::rename(partial, samplePath_)) {
        QFile::remove(partial);
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("The sample store %1 could not be written.").arg(samplePath_));
    }
}

QString NoServerBackend::unavailableReason() const {
    return QStringLiteral(
        "Mail on a server cannot be opened yet: this version of Tidyfold has no "
        "backend for it.");
}

outlook::ConnectionTest NoServerBackend::testConnection(const outlook::ServerAccount&,
                                                        const QString&) {
    return {false, unavailableReason()};
}

QString NoServerBackend::location(const outlook::ServerAccount&) const {
    return {};
}

}  // namespace tf::store
