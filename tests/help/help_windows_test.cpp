#include <gtest/gtest.h>

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <deque>

#include "app/main_window_logic.h"
#include "help/about_texts.h"
#include "help/help_browser_logic.h"
#include "help/help_topics.h"
#include "help/main_window_help.h"
#include "tests/support/scripted_prompter.h"

namespace tf::testing {
namespace {

TEST(AboutTexts, FollowTheApplicationAndPadNothing) {
    ApplicationInfo application;
    application.Title = QStringLiteral("Tidyfold Beta");
    application.Major = 2;
    application.Minor = 0;
    application.Revision = 15;
    application.LegalCopyright = QStringLiteral("(c) us");
    const AboutTexts texts = aboutTexts(application);
    EXPECT_EQ(texts.caption, QStringLiteral("About Tidyfold Beta"));
    EXPECT_EQ(texts.heading, QStringLiteral("Tidyfold Beta"));
    EXPECT_EQ(texts.version, QStringLiteral("2.0.15"));
    EXPECT_EQ(texts.legalNotice, QStringLiteral("(c) us"));

    application.Revision = 0;
    application.Minor = 10;
    EXPECT_EQ(aboutTexts(application).version, QStringLiteral("2.10.0"));
}

TEST(OnlineHelp, TheIndexPageLiesUnderTheSitesAddress) {
    EXPECT_EQ(onlineHelpAddress(QStringLiteral("https://tidyfold.org/")),
              QStringLiteral("https://tidyfold.org/tidyfoldhelp/index.html"));
    EXPECT_EQ(onlineHelpAddress(QStringLiteral(" http://127.0.0.1:8080 ")),
              QStringLiteral("http://127.0.0.1:8080/tidyfoldhelp/index.html"));
}

TEST(HelpTopics, EveryControlOfTheMainWindowWithATopicHasAPage) {
    std::set<int> known;
    for (const HelpTopic& topic : helpTopics()) {
        EXPECT_TRUE(known.insert(topic.contextId).second) << topic.contextId;
    }
    QStringList withoutTopic;
    for (const Control control : allControls()) {
        const QString name = controlName(control);
        const int id = designedTopicOf(name);
        if (id == 0) {
            withoutTopic << name;
        } else {
            EXPECT_TRUE(known.count(id)) << name.toStdString();
        }
    }
    // Only the drawn lines and the hidden debug button have nothing to explain.
    withoutTopic.sort();
    EXPECT_EQ(withoutTopic, (QStringList{QStringLiteral("cmddebug"), QStringLiteral("linOptions1"),
                                         QStringLiteral("linOptions2")}));
    EXPECT_EQ(designedTopicOf(QStringLiteral("chkType4")), 1306);
    EXPECT_EQ(designedTopicOf(Control::mnuUnmark), 1520);
}

// The help browser: one browser filling a window of 9000 by 6000 twips.
class FakeBrowserWindow : public HelpBrowserWindow {
  public:
    class Browser : public ElasticControl {
      public:
        QString Name() const override { return QStringLiteral("WebBrowser1"); }
        double Top() const override { return 0; }
        double Left() const override { return 0; }
        double Height() const override { return height; }
        double Width() const override { return width; }
        void setLeft(double) override {}
        void setHeight(double twips) override { height = twips; }
        void setWidth(double twips) override { width = twips; }
        double width = 9000, height = 6000;
    };
    double Width() const override { return width; }
    double Height() const override { return height; }
    bool AutoRedraw() const override { return false; }
    void setAutoRedraw(bool) override {}
    int controlCount() const override { return 1; }
    ElasticControl& control(int) override { return browser; }
    // As a real window does, every size change comes with a resize.
    void setWidth(double twips) override {
        width = twips;
        onResize();
    }
    void setHeight(double twips) override {
        height = twips;
        onResize();
    }
    std::function<void()> onResize = [] {};
    double width = 9000, height = 6000;
    Browser browser;
};

class HelpBrowser : public ::testing::Test {
  protected:
    void SetUp() override {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
        window.onResize = [this] { logic.Form_Resize(); };
    }
    QTemporaryDir dir;
    Registry_Routines settings;
    FakeBrowserWindow window;
    HelpBrowserLogic logic{window, settings};
};

TEST_F(HelpBrowser, ASavedHeightUnder5000IsIgnored) {
    settings.Save_Setting(kHelpScreenHeight, 4999.0);
    settings.Save_Setting(kHelpScreenWidth, 12000.0);
    logic.Form_Load();
    EXPECT_EQ(window.height, 6000);
    EXPECT_EQ(window.width, 9000);
}

TEST_F(HelpBrowser, ASavedSizeFrom5000IsAppliedAndTheBrowserFillsTheWindow) {
    settings.Save_Setting(kHelpScreenHeight, 5000.0);
    settings.Save_Setting(kHelpScreenWidth, 12000.0);
    logic.Form_Load();
    EXPECT_EQ(window.height, 5000);
    EXPECT_EQ(window.width, 12000);
    // The first resize (the height) changed nothing; the second one laid out.
    EXPECT_EQ(window.browser.width, 12000);
    EXPECT_EQ(window.browser.height, 5000);
}

TEST_F(HelpBrowser, TheSizeIsSavedOnUnloadAsNumbers) {
    logic.Form_Load();
    window.width = 10000.5;
    window.height = 7000;
    logic.Form_Unload();
    EXPECT_EQ(settings.Get_Setting(kHelpScreenHeight), QStringLiteral("7000"));
    EXPECT_EQ(settings.Get_Setting(kHelpScreenWidth), QStringLiteral("10000"));
}

class RecordingWindows : public HelpWindows {
  public:
    void showHelpBrowser(const QString& address) override { shown << address; }
    void showAbout() override { shown << QStringLiteral("about"); }
    QStringList shown;
};

TEST(MainWindowHelpMenu, StartUpMovesTheTopicsIntoTheTagsAndTheMenuOpensTheWindows) {
    ScriptedPrompter prompter;
    ErrorContext errors{prompter};
    Controls controls;
    MainWindowHelp help{errors, prompter, controls};
    EXPECT_EQ(controls[Control::chkTurbo].whatsThisHelpID, 1201);

    RecordingWindows windows;
    class : public HelpViewer {
      public:
        bool showContents(const QString&) override { return true; }
        bool showTopic(const QString&, int id) override {
            topic = id;
            return true;
        }
        int topic = 0;
    } viewer;
    help.attach(viewer, windows);
    // Any file that exists.
    QTemporaryDir scratch;
    QFile manual(scratch.filePath(QStringLiteral("tidyfold.qch")));
    ASSERT_TRUE(manual.open(QIODevice::WriteOnly));
    help.application.HelpFile = manual.fileName();
    help.initialize();
    EXPECT_EQ(controls[Control::chkTurbo].whatsThisHelpID, 0);
    EXPECT_EQ(controls[Control::chkTurbo].tag, QStringLiteral("1201"));

    help.form.pickControl = []() -> std::optional<Control> { return Control::dtpCutoffDate; };
    help.mnuWhatsThis_Click();
    EXPECT_EQ(viewer.topic, 1302);
    EXPECT_EQ(controls[Control::dtpCutoffDate].whatsThisHelpID, 0);

    help.mnuOnlineHelp_Click(onlineHelpAddress(QStringLiteral("http://127.0.0.1:1")));
    help.mnuAbout_Click();
    EXPECT_EQ(windows.shown, (QStringList{QStringLiteral("http://127.0.0.1:1/tidyfoldhelp/"
                                                         "index.html"),
                                          QStringLiteral("about")}));
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(errors.stack.count(), 0);
}

}  // namespace
}  // namespace tf::testing
