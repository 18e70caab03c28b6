#include "help/html_help.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <map>

#include "help/application_info.h"
#include "tests/support/scripted_prompter.h"

namespace tf::testing {
namespace {

class RecordingViewer : public HelpViewer {
  public:
    bool showContents(const QString& helpFile) override {
        calls << QStringLiteral("contents:") + helpFile;
        return opens;
    }
    bool showTopic(const QString& helpFile, int contextId) override {
        calls << QStringLiteral("topic:%1:%2").arg(helpFile).arg(contextId);
        return opens;
    }
    QStringList calls;
    bool opens = true;
};

// Controls with an identifier and a tag each; "line" lacks them, as a drawn line does.
class FakeForm : public WhatsThisForm {
  public:
    struct Control {
        QString name;
        int id = 0;
        QString tag;
        bool hasProperties = true;
    };
    int controlCount() const override { return static_cast<int>(controls.size()); }
    bool hasHelpProperties(int i) const override { return at(i).hasProperties; }
    int WhatsThisHelpID(int i) const override { return at(i).id; }
    void setWhatsThisHelpID(int i, int id) override { at(i).id = id; }
    QString Tag(int i) const override { return at(i).tag; }
    void setTag(int i, const QString& tag) override { at(i).tag = tag; }
    std::uintptr_t hWnd() const override { return 0x1234; }
    std::optional<int> WhatsThisMode() override {
        // What the live identifiers are while the mode waits for the click.
        for (const Control& c : controls) {
            idsDuringMode[c.name] = c.id;
        }
        return clicked;
    }

    Control& at(int i) { return controls.at(static_cast<std::size_t>(i)); }
    const Control& at(int i) const { return controls.at(static_cast<std::size_t>(i)); }

    std::vector<Control> controls = {{QStringLiteral("trvFolders"), 1010, {}},
                                     {QStringLiteral("line"), 77, QStringLiteral("keep"), false},
                                     {QStringLiteral("chkTurbo"), 1201, {}}};
    std::optional<int> clicked;
    std::map<QString, int> idsDuringMode;
};

class HtmlHelp : public ::testing::Test {
  protected:
    QString makeFile(const QString& path) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("qch");
        return path;
    }

    QTemporaryDir dir;
    ScriptedPrompter prompter;
    ApplicationInfo application;
    RecordingViewer viewer;
    FakeForm form;
    HTML_Help help{prompter, application, viewer};
};

TEST_F(HtmlHelp, TheBuildPathIsUsedFirst) {
    application.HelpFile = makeFile(dir.filePath(QStringLiteral("build/help/tidyfold.qch")));
    application.Path = dir.filePath(QStringLiteral("bin"));
    makeFile(dir.filePath(QStringLiteral("bin/tidyfold.qch")));
    help.Set_Help_File(form);
    EXPECT_EQ(help.helpFile(), dir.filePath(QStringLiteral("build/help/tidyfold.qch")));
    EXPECT_EQ(help.ownerWindow(), 0x1234U);
    EXPECT_EQ(help.errors.stack.count(), 0);
}

TEST_F(HtmlHelp, WithoutABuildTheFileNextToTheProgramIsUsed) {
    application.HelpFile = QStringLiteral("/nonexistent/build/help/tidyfold.qch");
    application.Path = dir.filePath(QStringLiteral("bin"));
    const QString installed = makeFile(dir.filePath(QStringLiteral("bin/tidyfold.qch")));
    help.Set_Help_File(form);
    EXPECT_EQ(help.helpFile(), installed);
    EXPECT_EQ(application.HelpFile, installed);

    help.Show_Help();
    EXPECT_EQ(viewer.calls, QStringList{QStringLiteral("contents:") + installed});
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(HtmlHelp, AnInstalledProgramFindsTheManualInItsDataFolder) {
    // PREFIX/bin/tidyfold and PREFIX/share/tidyfold/tidyfold.qch, as cmake --install lays out.
    QDir().mkpath(dir.filePath(QStringLiteral("prefix/bin")));
    const QString installed =
        makeFile(dir.filePath(QStringLiteral("prefix/share/tidyfold/tidyfold.qch")));
    application.HelpFile = QStringLiteral("/nonexistent/build/help/tidyfold.qch");
    application.Path = programFilesFolder(dir.filePath(QStringLiteral("prefix/bin")));
    help.Set_Help_File(form);
    EXPECT_EQ(QFileInfo(help.helpFile()).canonicalFilePath(),
              QFileInfo(installed).canonicalFilePath());

    // A program with no data folder beside it looks next to itself.
    QDir().mkpath(dir.filePath(QStringLiteral("alone")));
    EXPECT_EQ(programFilesFolder(dir.filePath(QStringLiteral("alone"))),
              dir.filePath(QStringLiteral("alone")));
}

TEST_F(HtmlHelp, NoHelpFileAnywhereIsSaidAndTheViewerIsNeverCalled) {
    application.HelpFile = QStringLiteral("/nonexistent/tidyfold.qch");
    application.Path = dir.path();
    help.Set_Help_File(form);
    EXPECT_EQ(help.helpFile(), QString());
    EXPECT_EQ(application.HelpFile, QString());

    help.Show_Help();
    ASSERT_EQ(prompter.shown().size(), 1U);
    EXPECT_EQ(prompter.last().text, QStringLiteral("Help file not found."));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);
    EXPECT_TRUE(viewer.calls.isEmpty());
}

TEST_F(HtmlHelp, AFileTheViewerCannotOpenIsNamed) {
    application.HelpFile = makeFile(dir.filePath(QStringLiteral("broken.qch")));
    help.Set_Help_File(form);
    viewer.opens = false;
    help.Show_Help();
    ASSERT_EQ(prompter.shown().size(), 1U);
    EXPECT_EQ(prompter.last().text, QStringLiteral("Help file ") + application.HelpFile +
                                        QStringLiteral(" could not be opened"));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);
}

TEST_F(HtmlHelp, TransferModesPassOverControlsWithoutTheProperties) {
    help.Transfer_WhatsThisHelpIDs(form, QStringLiteral("COPY"));
    EXPECT_EQ(form.at(0).tag, QStringLiteral("1010"));
    EXPECT_EQ(form.at(1).tag, QStringLiteral("keep"));
    EXPECT_EQ(form.at(2).tag, QStringLiteral("1201"));

    help.Transfer_WhatsThisHelpIDs(form, QStringLiteral("ZERO"));
    EXPECT_EQ(form.at(0).id, 0);
    EXPECT_EQ(form.at(1).id, 77);
    EXPECT_EQ(form.at(2).id, 0);

    form.at(2).tag = QStringLiteral("Turbo");
    help.Transfer_WhatsThisHelpIDs(form, QStringLiteral("GET"));
    EXPECT_EQ(form.at(0).id, 1010);
    EXPECT_EQ(form.at(2).id, 0);  // a tag that is no number

    help.Transfer_WhatsThisHelpIDs(form, QStringLiteral("copy"));  // modes are exact
    EXPECT_EQ(form.at(2).tag, QStringLiteral("Turbo"));
}

TEST_F(HtmlHelp, WhatsThisOpensTheClickedControlsTopicAndClearsTheIdentifiersAgain) {
    application.HelpFile = makeFile(dir.filePath(QStringLiteral("tidyfold.qch")));
    help.Set_Help_File(form);
    help.Initialize_WhatsThis_Help(form);
    EXPECT_EQ(form.at(2).id, 0);
    EXPECT_EQ(form.at(2).tag, QStringLiteral("1201"));

    form.clicked = 2;
    help.Activate_WhatsThis_Help(form);
    EXPECT_EQ(form.idsDuringMode[QStringLiteral("chkTurbo")], 1201);
    EXPECT_EQ(viewer.calls, QStringList{QStringLiteral("topic:%1:1201").arg(application.HelpFile)});
    EXPECT_EQ(form.at(0).id, 0);
    EXPECT_EQ(form.at(2).id, 0);

    form.clicked.reset();  // left with Escape
    help.Activate_WhatsThis_Help(form);
    EXPECT_EQ(viewer.calls.size(), 1);
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(HtmlHelp, WhatsThisWithoutAHelpFileSaysSo) {
    application.HelpFile = QStringLiteral("/nonexistent/tidyfold.qch");
    help.Set_Help_File(form);
    help.Initialize_WhatsThis_Help(form);
    form.clicked = 0;
    help.Activate_WhatsThis_Help(form);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("Help file not found.")});
    EXPECT_TRUE(viewer.calls.isEmpty());
}

}  // namespace
}  // namespace tf::testing
