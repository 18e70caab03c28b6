#pragma once

#include <QString>
#include <cstdint>
#include <variant>

namespace tf {

// The predefined registry roots the program uses. Off Windows each root is an INI file of its
// own name in the user's configuration folder.
enum class RegistryRoot { HKEY_LOCAL_MACHINE };

// What a registry value reads back as: text (a string value, or nothing) or a 32-bit number.
using RegistryValue = std::variant<QString, std::int32_t>;
// What may be written: text, or a number.
using SettingValue = std::variant<QString, double>;

// The settings key every numbered setting lives under.
inline const QString kSettingsKey = QStringLiteral("Software\\Tidyfold");

// Numbered settings under one key, and the few registry operations beneath them. Failures are
// never raised: a missing key or value reads as empty text, a failed write is only recorded in
// lastResult().
class Registry_Routines {
  public:
    bool Registry_Key_Exists(RegistryRoot root, const QString& subKey);
    RegistryValue Registry_Get_Value(RegistryRoot root, const QString& subKey,
                                     const QString& valueName);
    void Registry_Set_Value(RegistryRoot root, const QString& subKey, const QString& valueName,
                            const SettingValue& value);
    void Registry_Create_Key(RegistryRoot root, const QString& subKey);

    // Empty text for an identifier that is not in the settings table, or a value never saved.
    QString Get_Setting(std::int16_t id);
    void Save_Setting(std::int16_t id, const SettingValue& value);

    // The result of the last registry call: 0 on success.
    std::int32_t lastResult() const { return lastResult_; }

  private:
    std::int32_t lastResult_ = 0;
};

// The value name of a numbered setting; empty when the identifier is not in the table.
QString settingValueName(std::int16_t id);

// A registry value as text: a number as its decimal text.
QString registryText(const RegistryValue& value);

// The value of `name` in a text of name=value pairs joined by "+": "FOLDER_COUNT=12+X=3" gives
// "12" for FOLDER_COUNT. Both arguments are trimmed in place. Case-sensitive.
QString Get_Parameter(QString& name, QString& parameters);

}  // namespace tf
