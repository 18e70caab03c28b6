#include "settings/registry_routines.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>

#include "tests/support/qt_printers.h"

namespace tf::testing {
namespace {

// Every test writes to an INI file of its own, in a temporary folder.
class RegistryRoutines : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
    }
    QSettings raw() const {
        return QSettings(dir.filePath(QStringLiteral("Tidyfold/HKEY_LOCAL_MACHINE.ini")),
                         QSettings::IniFormat);
    }
    QVariant rawValue(const QString& name) const {
        return raw().value(QStringLiteral("Software/Tidyfold/") + name);
    }

    QTemporaryDir dir;
    Registry_Routines registry;
    static constexpr RegistryRoot kRoot = RegistryRoot::HKEY_LOCAL_MACHINE;
};

TEST_F(RegistryRoutines, TheKeyExistsOnlyOnceSomethingWasWrittenUnderIt) {
    EXPECT_FALSE(registry.Registry_Key_Exists(kRoot, kSettingsKey));
    EXPECT_NE(registry.lastResult(), 0);
    EXPECT_EQ(registry.Get_Setting(302), QString());

    registry.Save_Setting(302, 6000.0);
    EXPECT_TRUE(registry.Registry_Key_Exists(kRoot, kSettingsKey));
    EXPECT_TRUE(registry.Registry_Key_Exists(kRoot, QStringLiteral("Software")));
    EXPECT_FALSE(registry.Registry_Key_Exists(kRoot, QStringLiteral("Software\\Other")));

    registry.Registry_Create_Key(kRoot, QStringLiteral("Software\\Other"));
    EXPECT_EQ(registry.lastResult(), 0);
    EXPECT_TRUE(registry.Registry_Key_Exists(kRoot, QStringLiteral("Software\\Other")));
}

TEST_F(RegistryRoutines, NumbersAreStoredAsWholeNumbersRoundedHalfToEven) {
    registry.Save_Setting(302, 6543.5);
    EXPECT_EQ(rawValue(QStringLiteral("HelpScreenHeight")).toString(), QStringLiteral("6544"));
    registry.Save_Setting(303, 6542.5);
    EXPECT_EQ(registry.Get_Setting(303), QStringLiteral("6542"));
    EXPECT_EQ(registry.Registry_Get_Value(kRoot, kSettingsKey, QStringLiteral("HelpScreenWidth")),
              RegistryValue(std::int32_t{6542}));
    EXPECT_EQ(registry.lastResult(), 0);
}

TEST_F(RegistryRoutines, NumericTextIsStoredAsANumber) {
    registry.Save_Setting(3, QStringLiteral("007"));
    EXPECT_EQ(registry.Registry_Get_Value(kRoot, kSettingsKey, QStringLiteral("Home_Dir")),
              RegistryValue(std::int32_t{7}));
    EXPECT_EQ(registry.Get_Setting(3), QStringLiteral("7"));

    registry.Save_Setting(300, QStringLiteral(" 1200 "));
    EXPECT_EQ(registry.Get_Setting(300), QStringLiteral("1200"));
}

TEST_F(RegistryRoutines, TextIsTrimmedAndStoredWithItsTerminatingNul) {
    registry.Save_Setting(3, QStringLiteral("  /opt/tf  "));
    const QVariant stored = rawValue(QStringLiteral("Home_Dir"));
    ASSERT_EQ(stored.typeId(), QMetaType::QByteArray);
    EXPECT_EQ(stored.toByteArray(), QByteArray("/opt/tf\0", 8));
    EXPECT_EQ(registry.Get_Setting(3), QStringLiteral("/opt/tf"));
    // Text that only looks like a number in part stays text.
    registry.Save_Setting(3, QStringLiteral("12 Main St"));
    EXPECT_EQ(registry.Registry_Get_Value(kRoot, kSettingsKey, QStringLiteral("Home_Dir")),
              RegistryValue(QStringLiteral("12 Main St")));
}

TEST_F(RegistryRoutines, StoredValuesReadBackByTheirKind) {
    {
        QSettings settings = raw();
        settings.setValue(QStringLiteral("Software/Tidyfold/HelpScreenHeight"),
                          QByteArray("no terminator"));
        settings.setValue(QStringLiteral("Software/Tidyfold/HelpScreenWidth"),
                          QByteArray("cut\0here", 8));
        settings.setValue(QStringLiteral("Software/Tidyfold/MainScreenWidth"),
                          QStringList{QStringLiteral("a"), QStringLiteral("b")});
    }
    EXPECT_EQ(registry.Get_Setting(302), QStringLiteral("no terminator"));
    EXPECT_EQ(registry.Get_Setting(303), QStringLiteral("cut"));
    // Neither text nor a number.
    EXPECT_EQ(registry.Get_Setting(301), QString());
    EXPECT_EQ(registry.Get_Setting(300), QString());
}

TEST_F(RegistryRoutines, IdentifiersOutsideTheTableAreIgnored) {
    registry.Save_Setting(306, 5000.0);
    registry.Save_Setting(1, QStringLiteral("x"));
    EXPECT_FALSE(registry.Registry_Key_Exists(kRoot, kSettingsKey));
    EXPECT_EQ(registry.Get_Setting(306), QString());
    EXPECT_EQ(settingValueName(304), QStringLiteral("TemplateEditorHeight"));
    EXPECT_EQ(settingValueName(305), QStringLiteral("TemplateEditorWidth"));
    EXPECT_EQ(settingValueName(301), QStringLiteral("MainScreenWidth"));
}

TEST(GetParameter, FindsTheFirstPieceThatStartsWithTheName) {
    const auto get = [](QString name, QString parameters) {
        return Get_Parameter(name, parameters);
    };
    EXPECT_EQ(get(QStringLiteral("FOLDER_COUNT"), QStringLiteral("FOLDER_COUNT=12+X=3")),
              QStringLiteral("12"));
    EXPECT_EQ(get(QStringLiteral("X"), QStringLiteral("XY=1+X=2")), QStringLiteral("2"));
    EXPECT_EQ(get(QStringLiteral("A"), QStringLiteral("A=1=2")), QStringLiteral("1"));
    EXPECT_EQ(get(QStringLiteral("A"), QStringLiteral("A")), QString());
    EXPECT_EQ(get(QStringLiteral("a"), QStringLiteral("A=1")), QString());
    EXPECT_EQ(get(QStringLiteral("A"), QStringLiteral("A=+A=2")), QString());
    EXPECT_EQ(get(QString(), QStringLiteral("=1")), QString());
    EXPECT_EQ(get(QStringLiteral("A"), QString()), QString());
}

TEST(GetParameter, TrimsBothArgumentsInPlace) {
    QString name = QStringLiteral("  X ");
    QString parameters = QStringLiteral(" X=5+Y=6  ");
    EXPECT_EQ(Get_Parameter(name, parameters), QStringLiteral("5"));
    EXPECT_EQ(name, QStringLiteral("X"));
    EXPECT_EQ(parameters, QStringLiteral("X=5+Y=6"));
}

}  // namespace
}  // namespace tf::testing
