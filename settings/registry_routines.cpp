#include "settings/registry_routines.h"

#include <QSettings>
#include <array>
#include <memory>

#include "common/numbers.h"
#include "common/text.h"

namespace tf {

namespace {

// Windows error codes, kept as the last registry result.
constexpr std::int32_t kSuccess = 0;
constexpr std::int32_t kFileNotFound = 2;
constexpr std::int32_t kAccessDenied = 5;

struct SettingName {
    std::int16_t id;
    const char* name;
};

// The whole table is kept, rows no window of this program uses included.
constexpr std::array<SettingName, 7> kSettings = {{{3, "Home_Dir"},
                                                   {300, "MainScreenHeight"},
                                                   {301, "MainScreenWidth"},
                                                   {302, "HelpScreenHeight"},
                                                   {303, "HelpScreenWidth"},
                                                   {304, "TemplateEditorHeight"},
                                                   {305, "TemplateEditorWidth"}}};

QString rootName(RegistryRoot) {
    return QStringLiteral("HKEY_LOCAL_MACHINE");
}

std::unique_ptr<QSettings> openRoot(RegistryRoot root) {
#ifdef Q_OS_WIN
    return std::make_unique<QSettings>(rootName(root), QSettings::NativeFormat);
#else
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                       QStringLiteral("Tidyfold"), rootName(root));
#endif
}

QString groupOf(const QString& subKey) {
    QString group = subKey;
    return group.replace(QLatin1Char('\\'), QLatin1Char('/'));
}

QString keyOf(const QString& subKey, const QString& valueName) {
    return groupOf(subKey) + QLatin1Char('/') + valueName;
}

// A string value as written: the text and its terminating NUL. The registry adds the NUL itself;
// an INI file keeps the bytes so that a string "7" and the number 7 stay apart.
QVariant stringValue(const QString& text) {
#ifdef Q_OS_WIN
    return text;
#else
    QByteArray bytes = text.toLatin1();
    bytes.append('\0');
    return bytes;
#endif
}

RegistryValue decode(const QVariant& stored) {
    switch (stored.typeId()) {
        case QMetaType::QByteArray: {
            const QByteArray bytes = stored.toByteArray();
            const qsizetype nul = bytes.indexOf('\0');
            return QString::fromLatin1(nul < 0 ? bytes : bytes.left(nul));
        }
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            return static_cast<std::int32_t>(stored.toLongLong());
        case QMetaType::QString: {
            // An INI file holds numbers as their text.
            const QString text = stored.toString();
            bool isNumber = false;
            const int number = text.toInt(&isNumber);
            if (isNumber && QString::number(number) == text) {
                return static_cast<std::int32_t>(number);
            }
            return text;
        }
        default:
            return QString();
    }
}

}  // namespace

bool Registry_Routines::Registry_Key_Exists(RegistryRoot root, const QString& subKey) {
    auto settings = openRoot(root);
    settings->beginGroup(groupOf(subKey));
    const bool exists = !settings->childKeys().isEmpty() || !settings->childGroups().isEmpty();
    lastResult_ = exists ? kSuccess : kFileNotFound;
    return exists;
}

RegistryValue Registry_Routines::Registry_Get_Value(RegistryRoot root, const QString& subKey,
                                                    const QString& valueName) {
    auto settings = openRoot(root);
    const QVariant stored = settings->value(keyOf(subKey, valueName));
    lastResult_ = stored.isValid() ? kSuccess : kFileNotFound;
    return decode(stored);
}

void Registry_Routines::Registry_Set_Value(RegistryRoot root, const QString& subKey,
                                           const QString& valueName, const SettingValue& value) {
    // Numeric text is stored as a number, so that window sizes come back as numbers.
    std::optional<double> number;
    if (const auto* given = std::get_if<double>(&value)) {
        number = *given;
    } else {
        number = parseLocaleNumber(std::get<QString>(value));
    }
    auto settings = openRoot(root);
    if (number) {
        settings->setValue(keyOf(subKey, valueName), toInt32(*number));
    } else {
        settings->setValue(keyOf(subKey, valueName), stringValue(Trim(std::get<QString>(value))));
    }
    settings->sync();
    lastResult_ = settings->status() == QSettings::NoError ? kSuccess : kAccessDenied;
}

void Registry_Routines::Registry_Create_Key(RegistryRoot root, const QString& subKey) {
    // A key with nothing in it does not exist in a file of settings; its default value marks it.
    auto settings = openRoot(root);
    const QString marker = keyOf(subKey, QStringLiteral("Default"));
    if (!settings->contains(marker)) {
        settings->setValue(marker, stringValue(QString()));
    }
    settings->sync();
    lastResult_ = settings->status() == QSettings::NoError ? kSuccess : kAccessDenied;
}

QString settingValueName(std::int16_t id) {
    for (const SettingName& setting : kSettings) {
        if (setting.id == id) {
            return QString::fromLatin1(setting.name);
        }
    }
    return {};
}

QString registryText(const RegistryValue& value) {
    if (const auto* number = std::get_if<std::int32_t>(&value)) {
        return QString::number(*number);
    }
    return std::get<QString>(value);
}

QString Registry_Routines::Get_Setting(std::int16_t id) {
    const QString name = settingValueName(id);
    if (name.isEmpty()) {
        return {};
    }
    return registryText(Registry_Get_Value(RegistryRoot::HKEY_LOCAL_MACHINE, kSettingsKey, name));
}

void Registry_Routines::Save_Setting(std::int16_t id, const SettingValue& value) {
    const QString name = settingValueName(id);
    if (!name.isEmpty()) {
        Registry_Set_Value(RegistryRoot::HKEY_LOCAL_MACHINE, kSettingsKey, name, value);
    }
}

QString Get_Parameter(QString& name, QString& parameters) {
    name = Trim(name);
    parameters = Trim(parameters);
    if (parameters.isEmpty() || name.isEmpty()) {
        return {};
    }
    const QString prefix = name + QLatin1Char('=');
    for (const QString& piece : parameters.split(QLatin1Char('+'))) {
        if (piece.left(prefix.size()) == prefix) {
            const QStringList parts = piece.split(QLatin1Char('='));
            return parts.size() > 1 ? parts[1] : QString();
        }
    }
    return {};
}

}  // namespace tf
