#include "settings/remembered_stores.h"

#include <QSettings>
#include <memory>

#include "settings/registry_routines.h"

namespace tf {

namespace {

const QString kGroup = QStringLiteral("Stores");
const QString kLocation = QStringLiteral("location");
const QString kName = QStringLiteral("name");

// The same file or registry root as the numbered settings.
std::unique_ptr<QSettings> openSettings() {
#ifdef Q_OS_WIN
    auto settings =
        std::make_unique<QSettings>(QStringLiteral("HKEY_LOCAL_MACHINE"), QSettings::NativeFormat);
#else
    auto settings = std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                                QStringLiteral("Tidyfold"),
                                                QStringLiteral("HKEY_LOCAL_MACHINE"));
#endif
    settings->beginGroup(QString(kSettingsKey).replace(QLatin1Char('\\'), QLatin1Char('/')));
    return settings;
}

}  // namespace

std::optional<QList<RememberedStore>> RememberedStores::load() const {
    const std::unique_ptr<QSettings> settings = openSettings();
    if (!settings->childGroups().contains(kGroup)) {
        return std::nullopt;
    }
    QList<RememberedStore> stores;
    const int count = settings->beginReadArray(kGroup);
    for (int i = 0; i < count; ++i) {
        settings->setArrayIndex(i);
        const QString location = settings->value(kLocation).toString();
        // A hand-edited entry without a location names nothing to open.
        if (!location.isEmpty()) {
            stores.append({location, settings->value(kName).toString()});
        }
    }
    settings->endArray();
    return stores;
}

void RememberedStores::save(const QList<RememberedStore>& stores) {
    const std::unique_ptr<QSettings> settings = openSettings();
    // The old entries go first: a shorter list would keep the old tail.
    settings->remove(kGroup);
    settings->beginWriteArray(kGroup, static_cast<int>(stores.size()));
    for (int i = 0; i < stores.size(); ++i) {
        settings->setArrayIndex(i);
        settings->setValue(kLocation, stores[i].location);
        settings->setValue(kName, stores[i].name);
    }
    settings->endArray();
    settings->sync();
}

}  // namespace tf
