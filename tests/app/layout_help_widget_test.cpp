#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QHelpContentWidget>
#include <QHelpEngineCore>
#include <QHelpLink>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "help/help_topics.h"
#include "store/local/sample_content.h"
#include "store/store_locator.h"
#include "tests/support/box_answerer.h"
#include "tests/support/local_http_server.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::testing {
namespace {

constexpr double kTwips = 15.0;

// Saves a picture of a window when TIDYFOLD_SCREENSHOTS names a folder, so that a run under a
// real (virtual) display leaves pictures to look at.
void screenshot(QWidget* window, const QString& name) {
    const QString folder = qEnvironmentVariable("TIDYFOLD_SCREENSHOTS");
    if (!folder.isEmpty()) {
        QDir().mkpath(folder);
        QApplication::processEvents();
        window->grab().save(folder + QLatin1Char('/') + name + QStringLiteral(".png"));
    }
}

// The main window opened on a small sample store, with the on-line manual served locally.
class LayoutAndHelp : public ::testing::Test {
  protected:
    void SetUp() override {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                           home.file(QStringLiteral(".config")));
        server.serve(QStringLiteral("/tidyfoldhelp/index.html"),
                     "<html><body><h1>Tidyfold on-line help</h1>"
                     "<p>Start with <a href=\"folders.html\">the folder tree</a>.</p>"
                     "</body></html>");
        server.serve(QStringLiteral("/tidyfoldhelp/folders.html"),
                     "<html><body><h1>The folder tree</h1></body></html>");
        server.serve(QStringLiteral("/"), "<html><body><h1>Tidyfold home</h1></body></html>");
        qputenv("TIDYFOLD_HELP_SITE", server.address().toLatin1());

        const QString path = home.file(QStringLiteral("sample.tidystore"));
        store::local::SampleOptions options;
        options.items = 200;
        store::local::writeSampleStoreFile(path, options);
        source = std::make_unique<store::StoreApplicationSource>(
            QStringList{path}, home.file(QStringLiteral("unused")));
        window = std::make_unique<frmRemoveItems>(messageWindow, *source);
        ASSERT_TRUE(window->load());
        QApplication::processEvents();
        messagesAtLoad = answerer.texts().size();
    }
    void TearDown() override {
        window.reset();
        qunsetenv("TIDYFOLD_HELP_SITE");
    }

    QWidget* control(const char* name) const {
        return window->findChild<QWidget*>(QString::fromLatin1(name));
    }
    void trigger(const char* action) {
        window->findChild<QAction*>(QString::fromLatin1(action))->trigger();
    }
    // Presses the bar at its left edge, moves the pointer `by` pixels and lets go.
    void drag(QWidget* bar, int by) {
        const QPoint grip(0, bar->height() / 2);
        QTest::mousePress(bar, Qt::LeftButton, {}, grip);
        QMouseEvent move(QEvent::MouseMove, QPointF(grip + QPoint(by, 0)),
                         bar->mapToGlobal(QPointF(grip + QPoint(by, 0))), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(bar, &move);
        QTest::mouseRelease(bar, Qt::LeftButton, {}, grip);  // the bar is under the pointer now
        QApplication::processEvents();
    }
    // The message boxes shown since the window had loaded.
    QStringList newMessages() const { return answerer.texts().mid(messagesAtLoad); }
    bool waitForPage(WebBrowser* browser) {
        QSignalSpy loaded(browser, &WebBrowser::pageLoaded);
        return loaded.wait(5000);
    }

    TempHome home;
    BoxAnswerer answerer;
    LocalHttpServer server;
    std::unique_ptr<store::StoreApplicationSource> source;
    frmMessageBox messageWindow;
    std::unique_ptr<frmRemoveItems> window;
    qsizetype messagesAtLoad = 0;
};

TEST_F(LayoutAndHelp, DraggingTheFirstBarMovesTheBoundaryBetweenTreeAndList) {
    QWidget* tree = control("trvFolders");
    QWidget* grid = control("grdItems");
    QWidget* bar = control("picSlider");
    const int treeWidth = tree->width();
    const int gridRight = grid->geometry().right();
    const int windowWidth = window->width();
    screenshot(window.get(), QStringLiteral("1-main-window"));

    drag(bar, 120);
    EXPECT_EQ(tree->width(), treeWidth + 120);
    EXPECT_EQ(bar->x(), tree->geometry().right() + 1);
    EXPECT_EQ(grid->x(), bar->geometry().right() + 1);
    EXPECT_EQ(grid->geometry().right(), gridRight);
    EXPECT_EQ(window->width(), windowWidth);
    // The label starts over the list and reaches to the options' right edge.
    QWidget* label = control("lblCurrentFolder");
    EXPECT_EQ(label->x(), grid->x() + 5);
    EXPECT_EQ(label->geometry().right(), control("frmOptions")->geometry().right());
    screenshot(window.get(), QStringLiteral("2-first-bar-dragged"));

    // A later resize of the window keeps the tree's new width.
    window->resize(window->width() + 40, window->height());
    QApplication::processEvents();
    EXPECT_EQ(tree->width(), treeWidth + 120);

    // Past the tree's left edge the tree collapses.
    drag(bar, -2000);
    EXPECT_EQ(tree->width(), 0);
    EXPECT_EQ(bar->x(), tree->x());
}

TEST_F(LayoutAndHelp, DraggingTheSecondBarWidensTheWindowAndKeepsTheOptions) {
    QWidget* grid = control("grdItems");
    QWidget* options = control("frmOptions");
    QWidget* bar = control("picSlider2");
    const int gridWidth = grid->width();
    const int optionsWidth = options->width();
    const int windowWidth = window->width();

    drag(bar, -150);
    EXPECT_EQ(window->width(), windowWidth - 150);
    EXPECT_EQ(grid->width(), gridWidth - 150);
    EXPECT_EQ(options->width(), optionsWidth);
    EXPECT_EQ(options->x(), bar->geometry().right() + 1);
    EXPECT_EQ(control("cmdRun")->x(), options->x());
    EXPECT_EQ(control("lblCurrentFolder")->geometry().right(), options->geometry().right());
    screenshot(window.get(), QStringLiteral("3-second-bar-dragged"));

    // The window cannot shrink below its minimum: the bar stops where the window could follow.
    drag(bar, -5000);
    EXPECT_EQ(window->width(), window->minimumWidth());
    EXPECT_EQ(options->x(), bar->geometry().right() + 1);
    EXPECT_EQ(options->geometry().right(), window->width() - 7);
    EXPECT_EQ(grid->x() + grid->width(), bar->x());
}

TEST_F(LayoutAndHelp, HelpOpensTheManualAtItsContents) {
    trigger("mnuHelpContents");
    frmHelpViewer* viewer = window->helpViewer();
    ASSERT_TRUE(viewer->isVisible()) << newMessages().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(viewer->currentPage().toString().endsWith(QStringLiteral("/doc/index.html")))
        << viewer->currentPage().toString().toStdString();
    EXPECT_TRUE(viewer->page()->toPlainText().contains(QStringLiteral("Cleaning in five steps")));
    auto* contents = qobject_cast<QHelpContentWidget*>(viewer->contents());
    ASSERT_NE(contents, nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(contents->model()->rowCount() > 0, 5000);
    screenshot(viewer, QStringLiteral("4-help-viewer"));

    // A link inside the manual opens its page.
    viewer->page()->setSource(QUrl(QStringLiteral("safety-checks.html")));
    EXPECT_TRUE(viewer->page()->toPlainText().contains(QStringLiteral("16383")));
    EXPECT_EQ(newMessages(), QStringList());
}

TEST(Manual, EveryTopicTheWindowKnowsIsInTheHelpFile) {
    TempHome home;
    const QString helpFile = tidyfoldApplication().HelpFile;
    QHelpEngineCore engine(home.file(QStringLiteral("topics.qhc")));
    engine.setReadOnly(false);
    ASSERT_TRUE(engine.setupData());
    ASSERT_TRUE(engine.registerDocumentation(helpFile)) << engine.error().toStdString();
    for (const HelpTopic& topic : helpTopics()) {
        const QList<QHelpLink> links =
            engine.documentsForIdentifier(QString::number(topic.contextId));
        ASSERT_EQ(links.size(), 1) << topic.contextId;
        EXPECT_EQ(links.first().url.fileName(), topic.page) << topic.contextId;
        EXPECT_FALSE(engine.fileData(links.first().url).isEmpty()) << topic.contextId;
    }
}

TEST_F(LayoutAndHelp, WhatsThisThenAClickOpensThatControlsTopic) {
    QTimer::singleShot(50, [this] { QTest::mouseClick(control("chkTurbo"), Qt::LeftButton); });
    trigger("mnuWhatsThis");
    frmHelpViewer* viewer = window->helpViewer();
    ASSERT_TRUE(viewer->isVisible());
    EXPECT_TRUE(viewer->currentPage().toString().endsWith(QStringLiteral("/turbo.html")))
        << viewer->currentPage().toString().toStdString();
    // The click only asked for help: the option itself is unchanged.
    EXPECT_FALSE(qobject_cast<QAbstractButton*>(control("chkTurbo"))->isChecked());
    EXPECT_EQ(window->logic().controls[Control::chkTurbo].whatsThisHelpID, 0);
    // The contents show which page this is.
    auto* contents = qobject_cast<QHelpContentWidget*>(viewer->contents());
    QTRY_VERIFY_WITH_TIMEOUT(contents->currentIndex().data().toString() == QLatin1String("Turbo"),
                             5000);
    screenshot(viewer, QStringLiteral("5-whats-this-turbo"));

    // The tree's viewport takes the click; the tree's own topic opens.
    QTimer::singleShot(50, [this] {
        auto* tree = qobject_cast<QAbstractScrollArea*>(control("trvFolders"));
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, QPoint(20, 20));
    });
    trigger("mnuWhatsThis");
    EXPECT_TRUE(viewer->currentPage().toString().endsWith(QStringLiteral("/folder-tree.html")));

    // Esc leaves the mode without opening anything.
    const QUrl shown = viewer->currentPage();
    QTimer::singleShot(50, [this] { QTest::keyClick(window.get(), Qt::Key_Escape); });
    trigger("mnuWhatsThis");
    EXPECT_EQ(viewer->currentPage(), shown);
    EXPECT_EQ(newMessages(), QStringList());
}

TEST_F(LayoutAndHelp, OnlineHelpShowsTheIndexPageFromTheSite) {
    trigger("mnuOnlineHelp");
    frmHelpBrowser* browser = window->helpBrowser();
    ASSERT_NE(browser, nullptr);
    ASSERT_TRUE(waitForPage(browser->WebBrowser1()));
    EXPECT_TRUE(browser->isVisible());
    EXPECT_TRUE(
        browser->WebBrowser1()->toPlainText().contains(QStringLiteral("Tidyfold on-line help")));
    EXPECT_EQ(server.requested(), QStringList{QStringLiteral("/tidyfoldhelp/index.html")});
    // The page fills the window below Back and Forward.
    EXPECT_EQ(browser->WebBrowser1()->width(), browser->width());
    EXPECT_GT(browser->WebBrowser1()->y(), 0);
    EXPECT_EQ(browser->WebBrowser1()->geometry().bottom(), browser->height() - 1);
    screenshot(browser, QStringLiteral("6-online-help"));

    // A link is followed in the same window.
    emit browser->WebBrowser1()->anchorClicked(QUrl(QStringLiteral("folders.html")));
    ASSERT_TRUE(waitForPage(browser->WebBrowser1()));
    EXPECT_TRUE(browser->WebBrowser1()->toPlainText().contains(QStringLiteral("The folder tree")));

    // A page the site does not have is said so, in the window.
    browser->WebBrowser1()->Navigate(QUrl(server.address() + QStringLiteral("/missing.html")));
    QSignalSpy loaded(browser->WebBrowser1(), &WebBrowser::pageLoaded);
    ASSERT_TRUE(loaded.wait(5000));
    EXPECT_FALSE(loaded.first().at(1).toBool());
    EXPECT_TRUE(browser->WebBrowser1()->toPlainText().contains(
        QStringLiteral("This page could not be shown")));
}

TEST_F(LayoutAndHelp, TheHelpBrowserKeepsItsSizeBetweenOpenings) {
    trigger("mnuOnlineHelp");
    QPointer<frmHelpBrowser> browser = window->helpBrowser();
    ASSERT_TRUE(waitForPage(browser->WebBrowser1()));
    browser->resize(700, 520);
    QApplication::processEvents();
    const int top = browser->WebBrowser1()->y();
    EXPECT_EQ(browser->WebBrowser1()->size(), QSize(700, 520 - top));
    browser->closeBrowser();
    QTRY_VERIFY(browser == nullptr);
    Registry_Routines settings;
    EXPECT_EQ(settings.Get_Setting(302), QString::number(520 * 15));
    EXPECT_EQ(settings.Get_Setting(303), QString::number(700 * 15));

    trigger("mnuOnlineHelp");
    browser = window->helpBrowser();
    EXPECT_EQ(browser->size(), QSize(700, 520));
    EXPECT_EQ(browser->WebBrowser1()->size(), QSize(700, 520 - top));
}

TEST_F(LayoutAndHelp, AboutShowsTheVersionAndOpensTheHomePage) {
    trigger("mnuAbout");
    frmAbout* about = window->aboutWindow();
    ASSERT_NE(about, nullptr);
    EXPECT_TRUE(about->isVisible());
    EXPECT_FALSE(about->isModal());
    EXPECT_EQ(about->windowTitle(), QStringLiteral("About Tidyfold"));
    EXPECT_EQ(about->txtVersionNumber()->text(), QStringLiteral(TIDYFOLD_VERSION));
    EXPECT_EQ(about->findChild<QLabel*>(QStringLiteral("lblHeading"))->text(),
              QStringLiteral("Tidyfold"));
    screenshot(about, QStringLiteral("7-about"));

    QTest::mouseClick(about->findChild<QPushButton*>(QStringLiteral("cmdHomePage")),
                      Qt::LeftButton);
    ASSERT_NE(window->helpBrowser(), nullptr);
    ASSERT_TRUE(waitForPage(window->helpBrowser()->WebBrowser1()));
    EXPECT_TRUE(window->helpBrowser()->WebBrowser1()->toPlainText().contains(
        QStringLiteral("Tidyfold home")));

    QTest::mouseClick(about->findChild<QPushButton*>(QStringLiteral("ok_button")), Qt::LeftButton);
    QTRY_VERIFY(window->aboutWindow() == nullptr);
    // The browser opened from it stays open.
    EXPECT_TRUE(window->helpBrowser()->isVisible());
}

}  // namespace
}  // namespace tf::testing
