// How the window meets a person: the help that navigates, windows that fit the screen, a layout
// that stays readable when small, progress that can be read during a run, and the keyboard.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDateEdit>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpIndexWidget>
#include <QHelpSearchEngine>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSettings>
#include <QSignalSpy>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTableView>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QTreeView>
#include <cmath>
#include <functional>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "app/widgets/qt_prompter.h"
#include "app/widgets/screen_fit.h"
#include "outlook/item_window.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"
#include "store/store_locator.h"
#include "tests/support/box_answerer.h"
#include "tests/support/local_http_server.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"
#include "tests/support/tree_view_clicks.h"

namespace tf::testing {
namespace {

// Waits, running the events, until done() holds; false if it never did. (QtTest's QTRY macros
// report to QtTest, not to GoogleTest, and would let a test pass that should fail.)
bool eventually(const std::function<bool()>& done, int ms = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < ms) {
        QTest::qWait(20);
    }
    return done();
}

// WCAG's contrast ratio of two colours, 1 to 21.
double contrast(const QColor& a, const QColor& b) {
    const auto luminance = [](const QColor& c) {
        const auto channel = [](double v) {
            return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) +
               0.0722 * channel(c.blueF());
    };
    const double la = luminance(a);
    const double lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

// The colours a cell is drawn in: the model's own, else the view's palette for its state.
std::pair<QColor, QColor> cellColours(const QAbstractItemView& view, const QModelIndex& index) {
    const QPalette::ColorGroup group = view.isEnabled() ? QPalette::Active : QPalette::Disabled;
    const QVariant fore = index.data(Qt::ForegroundRole);
    const QVariant back = index.data(Qt::BackgroundRole);
    const QColor text =
        fore.isValid() ? fore.value<QBrush>().color() : view.palette().color(group, QPalette::Text);
    const QColor base =
        back.isValid() ? back.value<QBrush>().color() : view.palette().color(group, QPalette::Base);
    return {text, base};
}

std::string text(const QRect& r) {
    return QStringLiteral("%1,%2 %3x%4")
        .arg(r.x())
        .arg(r.y())
        .arg(r.width())
        .arg(r.height())
        .toStdString();
}

// Whether a window, frame and all, lies inside the screen's available area.
bool fitsScreen(const QWidget& window) {
    const QRect area = window.screen()->availableGeometry();
    return area.contains(window.frameGeometry());
}

class WindowReach : public ::testing::Test {
  protected:
    void SetUp() override {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                           home.file(QStringLiteral(".config")));
        server.serve(QStringLiteral("/tidyfoldhelp/index.html"),
                     "<html><body><h1>On-line help</h1>"
                     "<p><a href=\"folders.html\">The folder tree</a></p></body></html>");
        server.serve(QStringLiteral("/tidyfoldhelp/folders.html"),
                     "<html><body><h1>The folder tree</h1></body></html>");
        qputenv("TIDYFOLD_HELP_SITE", server.address().toLatin1());
    }
    void TearDown() override {
        if (window) {
            window->close();
        }
        window.reset();
        qunsetenv("TIDYFOLD_HELP_SITE");
    }
    void open(int stores = 1, int items = 300) {
        storePath = home.file(QStringLiteral("sample.tidystore"));
        store::local::SampleOptions options;
        options.stores = stores;
        options.items = items;
        store::local::writeSampleStoreFile(storePath, options);
        source = std::make_unique<store::StoreApplicationSource>(
            QStringList{storePath}, home.file(QStringLiteral("unused")));
        window = std::make_unique<frmRemoveItems>(messageWindow, *source);
        ASSERT_TRUE(window->load());
        QApplication::processEvents();
        tree = window->folderView();
        grid = window->itemsView();
    }
    template <typename T = QWidget>
    T* control(const char* name) const {
        return window->findChild<T*>(QString::fromLatin1(name));
    }
    void trigger(const char* action) { control<QAction>(action)->trigger(); }

    TempHome home;
    BoxAnswerer answerer;
    LocalHttpServer server;
    QString storePath;
    std::unique_ptr<store::StoreApplicationSource> source;
    frmMessageBox messageWindow;
    std::unique_ptr<frmRemoveItems> window;
    QTreeView* tree = nullptr;
    QTableView* grid = nullptr;
};

// --- the help viewer -----------------------------------------------------------------------

// Where the page draws the first link whose address ends with `ending`.
std::optional<std::pair<QPoint, QString>> linkOnPage(QTextBrowser& page, const QString& ending) {
    for (QTextBlock block = page.document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            const QString href = fragment.charFormat().anchorHref();
            if (fragment.charFormat().isAnchor() && href.endsWith(ending)) {
                QTextCursor cursor(page.document());
                cursor.setPosition(fragment.position() + 1);
                page.setTextCursor(cursor);
                page.ensureCursorVisible();
                QApplication::processEvents();
                return std::make_pair(page.cursorRect(cursor).center(), href);
            }
        }
    }
    return std::nullopt;
}

// Stands for the desktop's browser: records what it is asked to open.
class DesktopBrowser : public QObject {
    Q_OBJECT
  public:
    explicit DesktopBrowser(const QStringList& schemes) : schemes_(schemes) {
        for (const QString& scheme : schemes_) {
            QDesktopServices::setUrlHandler(scheme, this, "open");
        }
    }
    ~DesktopBrowser() override {
        for (const QString& scheme : schemes_) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    }
    QList<QUrl> opened;

  public slots:
    void open(const QUrl& url) { opened << url; }

  private:
    QStringList schemes_;
};

TEST_F(WindowReach, AClickOnALinkInTheManualOpensItsPageAndBackAndForwardReturn) {
    open();
    DesktopBrowser desktop({QStringLiteral("qthelp"), QStringLiteral("https")});
    trigger("mnuHelpContents");
    frmHelpViewer* viewer = window->helpViewer();
    ASSERT_TRUE(viewer->isVisible());
    const QUrl start = viewer->currentPage();
    ASSERT_TRUE(start.toString().endsWith(QStringLiteral("/index.html")));

    const auto link = linkOnPage(*viewer->page(), QStringLiteral("safety-checks.html"));
    ASSERT_TRUE(link.has_value());
    QTest::mouseClick(viewer->page()->viewport(), Qt::LeftButton, {}, link->first);
    ASSERT_TRUE(eventually(
        [&] {
            return viewer->currentPage().toString().endsWith(QStringLiteral("/safety-checks.html"));
        },
        2000));
    EXPECT_EQ(viewer->currentPage().scheme(), QStringLiteral("qthelp"));
    EXPECT_TRUE(viewer->page()->toPlainText().contains(QStringLiteral("16383")));
    // The contents show which page this is.
    auto* contents = qobject_cast<QHelpContentWidget*>(viewer->contents());
    ASSERT_NE(contents, nullptr);
    ASSERT_TRUE(eventually([&] {
        const QModelIndexList selected = contents->selectionModel()->selectedIndexes();
        return selected.size() == 1 && selected.first().data().toString() == "Safety checks";
    }));
    // The manual's own page never goes to the desktop's browser; a web link does.
    EXPECT_EQ(desktop.opened, QList<QUrl>());
    emit viewer->page()->anchorClicked(QUrl(QStringLiteral("https://tidyfold.org/")));
    EXPECT_EQ(desktop.opened, QList<QUrl>{QUrl(QStringLiteral("https://tidyfold.org/"))});
    EXPECT_TRUE(viewer->currentPage().toString().endsWith(QStringLiteral("/safety-checks.html")));

    auto* back = viewer->findChild<QAction*>(QStringLiteral("helpBack"));
    auto* forward = viewer->findChild<QAction*>(QStringLiteral("helpForward"));
    ASSERT_NE(back, nullptr);
    ASSERT_NE(forward, nullptr);
    EXPECT_TRUE(back->isEnabled());
    EXPECT_FALSE(forward->isEnabled());
    back->trigger();
    EXPECT_EQ(viewer->currentPage(), start);
    EXPECT_TRUE(forward->isEnabled());
    forward->trigger();
    EXPECT_TRUE(viewer->currentPage().toString().endsWith(QStringLiteral("/safety-checks.html")));
    // Alt+Left goes back as in any browser.
    viewer->page()->setFocus();
    QTest::keyClick(viewer->page(), Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(viewer->currentPage(), start);
}

TEST_F(WindowReach, TheHelpViewerHasAnIndexAndAFullTextSearch) {
    open();
    trigger("mnuHelpContents");
    frmHelpViewer* viewer = window->helpViewer();
    auto* index = viewer->findChild<QHelpIndexWidget*>(QStringLiteral("helpIndex"));
    auto* filter = viewer->findChild<QLineEdit*>(QStringLiteral("helpIndexFilter"));
    ASSERT_NE(index, nullptr);
    ASSERT_NE(filter, nullptr);
    ASSERT_TRUE(eventually([&] { return index->model()->rowCount() > 5; }, 5000));
    filter->setFocus();
    QTest::keyClicks(filter, QStringLiteral("Turbo"));
    ASSERT_TRUE(eventually([&] { return index->model()->rowCount() >= 1; }, 2000));
    QTest::keyClick(filter, Qt::Key_Return);
    ASSERT_TRUE(eventually(
        [&] { return viewer->currentPage().toString().endsWith(QStringLiteral("/turbo.html")); },
        2000));

    auto* query = viewer->findChild<QLineEdit*>(QStringLiteral("helpSearchText"));
    ASSERT_NE(query, nullptr);
    QHelpSearchEngine* search = viewer->findChild<QHelpSearchEngine*>();
    ASSERT_NE(search, nullptr);
    QSignalSpy finished(search, &QHelpSearchEngine::searchingFinished);
    query->setFocus();
    QTest::keyClicks(query, QStringLiteral("16383"));
    QTest::keyClick(query, Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return finished.count() > 0; }, 15000));
    ASSERT_GT(search->searchResultCount(), 0);
    EXPECT_NE(viewer->findChild<QWidget*>(QStringLiteral("helpSearchResults")), nullptr);
}

TEST_F(WindowReach, HelpWindowsCloseWithEscapeAndCtrlW) {
    open();
    trigger("mnuHelpContents");
    frmHelpViewer* viewer = window->helpViewer();
    ASSERT_TRUE(viewer->isVisible());
    QTest::keyClick(viewer->page(), Qt::Key_Escape);
    EXPECT_FALSE(viewer->isVisible());
    trigger("mnuHelpContents");
    ASSERT_TRUE(viewer->isVisible());
    QTest::keyClick(viewer->page(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(viewer->isVisible());

    trigger("mnuOnlineHelp");
    QPointer<frmHelpBrowser> browser = window->helpBrowser();
    ASSERT_NE(browser, nullptr);
    QTest::keyClick(browser->WebBrowser1(), Qt::Key_Escape);
    ASSERT_TRUE(eventually([&] { return browser == nullptr; }));
    trigger("mnuOnlineHelp");
    browser = window->helpBrowser();
    QTest::keyClick(browser->WebBrowser1(), Qt::Key_W, Qt::ControlModifier);
    ASSERT_TRUE(eventually([&] { return browser == nullptr; }));
}

TEST_F(WindowReach, TheOnlineHelpWindowGoesBackAndForward) {
    open();
    trigger("mnuOnlineHelp");
    frmHelpBrowser* browser = window->helpBrowser();
    WebBrowser* page = browser->WebBrowser1();
    QSignalSpy loaded(page, &WebBrowser::pageLoaded);
    ASSERT_TRUE(eventually([&] { return loaded.count() == 1; }, 5000));
    emit page->anchorClicked(QUrl(QStringLiteral("folders.html")));
    ASSERT_TRUE(eventually([&] { return loaded.count() == 2; }, 5000));
    auto* back = browser->findChild<QAction*>(QStringLiteral("browserBack"));
    auto* forward = browser->findChild<QAction*>(QStringLiteral("browserForward"));
    ASSERT_NE(back, nullptr);
    ASSERT_NE(forward, nullptr);
    EXPECT_FALSE(forward->isEnabled());
    back->trigger();
    ASSERT_TRUE(eventually([&] { return loaded.count() == 3; }, 5000));
    EXPECT_TRUE(page->address().path().endsWith(QStringLiteral("/index.html")));
    EXPECT_TRUE(forward->isEnabled());
    EXPECT_FALSE(back->isEnabled());
    forward->trigger();
    ASSERT_TRUE(eventually([&] { return loaded.count() == 4; }, 5000));
    EXPECT_TRUE(page->address().path().endsWith(QStringLiteral("/folders.html")));
    // The page lies under the buttons and fills the rest of the window.
    EXPECT_EQ(page->width(), browser->width());
    EXPECT_EQ(page->geometry().bottom(), browser->height() - 1);
}

// --- sizes -----------------------------------------------------------------------------------

TEST(ScreenFit, AWindowWantedLargerThanTheAreaIsShrunkFrameAndAll) {
    // A 1366x768 screen less a 32-pixel panel, a title bar of 28 and borders of 1.
    const QRect area(0, 0, 1366, 736);
    const QMargins frame(1, 28, 1, 1);
    const QRect placed =
        fitWithin(QRect(QPoint(0, 0), QSize(1180, 760)), QSize(800, 560), area, frame);
    EXPECT_TRUE(area.contains(placed.marginsAdded(frame)));
    EXPECT_EQ(placed.width(), 1180);
    EXPECT_EQ(placed.height(), 736 - 29);
    // A window placed off the edge comes back onto the screen.
    const QRect moved =
        fitWithin(QRect(QPoint(900, 600), QSize(600, 400)), QSize(100, 100), area, frame);
    EXPECT_TRUE(area.contains(moved.marginsAdded(frame)));
    EXPECT_EQ(moved.size(), QSize(600, 400));
    // Never below the minimum, even when the screen is smaller still.
    const QRect tiny =
        fitWithin(QRect(0, 0, 1180, 760), QSize(800, 560), QRect(0, 0, 640, 480), frame);
    EXPECT_EQ(tiny.size(), QSize(800, 560));
}

TEST_F(WindowReach, TheFirstSizeFitsTheScreen) {
    open();
    EXPECT_TRUE(fitsScreen(*window))
        << text(window->frameGeometry()) << " in " << text(window->screen()->availableGeometry());
    // A help browser whose saved size is larger than the screen opens within it.
    Registry_Routines settings;
    settings.Save_Setting(302, QStringLiteral("60000"));
    settings.Save_Setting(303, QStringLiteral("90000"));
    trigger("mnuOnlineHelp");
    ASSERT_NE(window->helpBrowser(), nullptr);
    QApplication::processEvents();
    EXPECT_TRUE(fitsScreen(*window->helpBrowser())) << text(window->helpBrowser()->frameGeometry());
    trigger("mnuHelpContents");
    EXPECT_TRUE(fitsScreen(*window->helpViewer()));
}

// Every pair of visible option controls, and every control against its own natural size.
void expectOptionsReadable(QWidget& options) {
    QList<QWidget*> controls;
    for (QWidget* w : options.findChildren<QWidget*>()) {
        const QString name = w->objectName();
        if (w->isVisibleTo(&options) &&
            (name.startsWith(QStringLiteral("chk")) || name.startsWith(QStringLiteral("txt")) ||
             name.startsWith(QStringLiteral("dtp")) || name.startsWith(QStringLiteral("lbl")))) {
            controls << w;
        }
    }
    ASSERT_GE(controls.size(), 20);
    for (QWidget* a : controls) {
        const QRect ra(a->mapTo(&options, QPoint(0, 0)), a->size());
        EXPECT_GE(a->height(), a->minimumSizeHint().height()) << a->objectName().toStdString();
        EXPECT_GE(a->width(), std::min(a->sizeHint().width(), 120))
            << a->objectName().toStdString();
        for (QWidget* b : controls) {
            if (a < b) {
                const QRect rb(b->mapTo(&options, QPoint(0, 0)), b->size());
                EXPECT_FALSE(ra.intersects(rb))
                    << a->objectName().toStdString() << " " << b->objectName().toStdString();
            }
        }
    }
}

TEST_F(WindowReach, AtItsMinimumSizeNothingOverlapsAndTheOptionsScroll) {
    open();
    window->resize(window->minimumSize());
    QApplication::processEvents();
    EXPECT_EQ(window->size(), window->minimumSize());
    expectOptionsReadable(*control("frmOptions"));
    // The panes and the label over them stay apart, and the list shows a few rows.
    const QStringList panes = {QStringLiteral("trvFolders"), QStringLiteral("grdItems"),
                               QStringLiteral("frmOptions"), QStringLiteral("cmdRun"),
                               QStringLiteral("lblCurrentFolder")};
    for (const QString& a : panes) {
        for (const QString& b : panes) {
            if (a < b) {
                EXPECT_FALSE(window->findChild<QWidget*>(a)->geometry().intersects(
                    window->findChild<QWidget*>(b)->geometry()))
                    << a.toStdString() << " " << b.toStdString();
            }
        }
    }
    EXPECT_GE(grid->viewport()->height(), 5 * grid->verticalHeader()->defaultSectionSize());
    EXPECT_GE(grid->viewport()->width(), 200);
    // Whatever does not fit scrolls into view.
    auto* scroll = control("frmOptions")->findChild<QScrollArea*>();
    ASSERT_NE(scroll, nullptr);
    QCheckBox* last = control("frmOptions")->findChildren<QCheckBox*>().last();
    scroll->ensureWidgetVisible(last);
    QApplication::processEvents();
    EXPECT_TRUE(scroll->viewport()->rect().contains(
        QRect(last->mapTo(scroll->viewport(), QPoint(0, 0)), last->size())));
    EXPECT_GE(window->minimumHeight(), 400);
}

// --- during a run -----------------------------------------------------------------------------

TEST_F(WindowReach, ProgressAndTheListStayReadableDuringARun) {
    open(1, 600);
    tickInView(*tree, folderIndex(*tree->model(), QStringLiteral("Inbox")));
    const int rows = grid->model()->rowCount();
    ASSERT_GT(rows, 20);
    // Before the run: every row against its background, marked or not.
    for (int row = 0; row < rows; ++row) {
        const auto [text, base] = cellColours(*grid, grid->model()->index(row, 4));
        ASSERT_GE(contrast(text, base), 4.5) << "row " << row << " before the run";
    }

    bool seen = false;
    bool statusEnabled = false;
    QString status;
    double worst = 21;
    int deletedRows = 0;
    int blankDeleted = 0;
    QTimer watch;
    watch.setInterval(0);
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!window->logic().flags.Processing || seen) {
            return;
        }
        const QString text =
            window->statusBar()->findChild<QLabel*>(QStringLiteral("sbPanel1"))->text();
        if (!text.startsWith(QStringLiteral("Cleaning"))) {
            return;
        }
        const ItemsGrid& g = window->logic().grid;
        int gone = 0;
        for (int r = 1; r < g.Rows(); ++r) {
            gone += window->logic().gridLogic.cell(g.row(r), kFieldType).isEmpty() ? 1 : 0;
        }
        if (gone < 3) {
            return;  // look once some items have gone
        }
        seen = true;
        status = text;
        statusEnabled =
            window->statusBar()->isEnabled() &&
            window->statusBar()->findChild<QLabel*>(QStringLiteral("sbPanel1"))->isEnabled();
        for (int row = 0; row < grid->model()->rowCount(); ++row) {
            for (int col = 2; col < grid->model()->columnCount(); ++col) {
                const QModelIndex index = grid->model()->index(row, col);
                if (grid->isColumnHidden(col)) {
                    continue;
                }
                const auto [fore, back] = cellColours(*grid, index);
                worst = std::min(worst, contrast(fore, back));
            }
            if (window->logic()
                    .gridLogic.cell(window->logic().grid.row(row + 1), kFieldType)
                    .isEmpty()) {
                ++deletedRows;
                blankDeleted += grid->model()->index(row, 2).data().toString().isEmpty() ? 1 : 0;
            }
        }
    });
    watch.start();
    QTest::mouseClick(control<QPushButton>("cmdRun"), Qt::LeftButton);
    watch.stop();
    ASSERT_TRUE(seen);
    EXPECT_TRUE(statusEnabled) << status.toStdString();
    EXPECT_GE(worst, 4.5);
    EXPECT_GT(deletedRows, 0);
    EXPECT_EQ(blankDeleted, 0);
}

// --- the keyboard -----------------------------------------------------------------------------

TEST_F(WindowReach, TabLeavesTheListInOneStepAndReachesEveryOption) {
    open();
    window->activateWindow();
    QApplication::setActiveWindow(window.get());
    grid->setFocus();
    ASSERT_TRUE(grid->hasFocus());
    QTest::keyClick(grid, Qt::Key_Tab);
    EXPECT_FALSE(grid->hasFocus());
    EXPECT_FALSE(grid->isAncestorOf(QApplication::focusWidget()));

    // Tab from the tree walks through every option that can be used now; Space ticks one.
    tree->setFocus();
    QSet<QString> reached;
    for (int i = 0; i < 80; ++i) {
        QWidget* focus = QApplication::focusWidget();
        ASSERT_NE(focus, nullptr);
        reached << focus->objectName();
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    for (QCheckBox* box : control("frmOptions")->findChildren<QCheckBox*>()) {
        if (box->isEnabled()) {
            EXPECT_TRUE(reached.contains(box->objectName())) << box->objectName().toStdString();
        }
    }
    EXPECT_TRUE(reached.contains(QStringLiteral("cmdRun")) ||
                !control<QPushButton>("cmdRun")->isEnabled());
    auto* unread = control<QCheckBox>("chkSelectUnread");
    unread->setFocus();
    QTest::keyClick(unread, Qt::Key_Space);
    EXPECT_EQ(window->logic().controls.value(Control::chkSelectUnread), 1);
}

TEST_F(WindowReach, EnterOpensTheRowLastPressedAndSpacePressesTheFocusedRow) {
    open();
    const QRect first = grid->visualRect(grid->model()->index(0, 3));
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, first.center());
    grid->setFocus();
    const auto subjectOf = [&](int r) {
        return window->logic().gridLogic.cell(window->logic().grid.row(r), kFieldSubject).left(40);
    };
    // The arrow keys alone leave the row Enter opens where the mouse pressed it.
    QTest::keyClick(grid, Qt::Key_Down);
    QTest::keyClick(grid, Qt::Key_Down);
    QTest::keyClick(grid, Qt::Key_Return);
    frmItem* item = window->itemWindow();
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->windowTitle().startsWith(subjectOf(1))) << item->windowTitle().toStdString();
    item->close();
    // Space presses the focused row, so Enter then opens it.
    grid->setFocus();
    QTest::keyClick(grid, Qt::Key_Space);
    QTest::keyClick(grid, Qt::Key_Return);
    item = window->itemWindow();
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->windowTitle().startsWith(subjectOf(3))) << item->windowTitle().toStdString();
    item->close();
}

TEST_F(WindowReach, WithSelectByRowSpacePicksTheRowTheArrowKeysReached) {
    open();
    tickInView(*tree, folderIndex(*tree->model(), QStringLiteral("Inbox")));
    QTest::mouseClick(control<QCheckBox>("chkSelectByRow"), Qt::LeftButton, {},
                      QPoint(8, control("chkSelectByRow")->height() / 2));
    ASSERT_EQ(window->logic().controls.value(Control::chkSelectByRow), 1);
    grid->setFocus();
    grid->setCurrentIndex(grid->model()->index(0, 3));
    QTest::keyClick(grid, Qt::Key_Down);
    QTest::keyClick(grid, Qt::Key_Space);
    QTest::keyClick(grid, Qt::Key_Down);
    QTest::keyClick(grid, Qt::Key_Down);
    QTest::keyClick(grid, Qt::Key_Space, Qt::ShiftModifier);
    const ItemsGrid& rows = window->logic().grid;
    for (int r = 1; r < rows.Rows(); ++r) {
        EXPECT_EQ(rows.row(r).mark, r >= 2 && r <= 4 ? '1' : '0') << "row " << r;
    }
}

TEST_F(WindowReach, TheFocusedRowShowsAFrame) {
    open();
    window->activateWindow();
    QApplication::setActiveWindow(window.get());
    grid->setFocus();
    grid->setCurrentIndex(grid->model()->index(2, 3));
    const QRect row2 = grid->visualRect(grid->model()->index(2, 2))
                           .united(grid->visualRect(grid->model()->index(2, 5)));
    const QImage focused = grid->viewport()->grab().toImage();
    grid->setCurrentIndex(grid->model()->index(6, 3));
    const QImage elsewhere = grid->viewport()->grab().toImage();
    // Along the row's top edge, away from the current cell, the pictures differ.
    int differing = 0;
    for (int x = row2.left() + 2; x < row2.right() - 2; ++x) {
        for (int y : {row2.top(), row2.top() + 1, row2.bottom() - 1, row2.bottom()}) {
            differing += focused.pixel(x, y) != elsewhere.pixel(x, y) ? 1 : 0;
        }
    }
    EXPECT_GT(differing, row2.width());
}

// --- which store ------------------------------------------------------------------------------

TEST_F(WindowReach, TheStoreIsNamedWhereTheFolderIs) {
    open(2);
    auto* label = control<QLabel>("lblCurrentFolder");
    EXPECT_EQ(label->text(), QStringLiteral("Current Folder: Inbox"));
    auto* store = control<QLabel>("lblCurrentStore");
    ASSERT_NE(store, nullptr);
    EXPECT_TRUE(store->isVisible());
    EXPECT_TRUE(store->text().contains(QStringLiteral("Personal Folders")));
    EXPECT_TRUE(store->toolTip().contains(QStringLiteral("Personal Folders")));
    EXPECT_TRUE(store->toolTip().contains(QStringLiteral("Inbox")));

    // Both Inboxes listed together: each row says which store it comes from.
    const QModelIndex root = tree->model()->index(0, 0);
    QSet<QString> stores;
    for (int s = 0; s < 2; ++s) {
        tickInView(*tree, folderIndex(*tree->model(), QStringLiteral("Inbox"),
                                      tree->model()->index(s, 0, root)));
    }
    QTest::mouseClick(control<QCheckBox>("chkShowAllFolders"), Qt::LeftButton, {},
                      QPoint(8, control("chkShowAllFolders")->height() / 2));
    ASSERT_EQ(window->logic().controls.value(Control::chkShowAllFolders), 1);
    const int folderColumn = 2;
    ASSERT_EQ(grid->model()->headerData(folderColumn, Qt::Horizontal).toString(),
              QStringLiteral("Folder"));
    for (int row = 0; row < grid->model()->rowCount(); ++row) {
        const QModelIndex cell = grid->model()->index(row, folderColumn);
        EXPECT_TRUE(cell.data().toString().startsWith(QStringLiteral("Inbox")));
        const QString tip = cell.data(Qt::ToolTipRole).toString();
        EXPECT_TRUE(tip.contains(QStringLiteral("Inbox"))) << tip.toStdString();
        stores << cell.data().toString();
    }
    EXPECT_EQ(stores.size(), 2)
        << QStringList(stores.begin(), stores.end()).join('|').toStdString();
    // The system's own cell text is unchanged.
    EXPECT_EQ(window->logic().grid.TextMatrix(1, folderColumn), QStringLiteral("Inbox"));
}

// --- the item window --------------------------------------------------------------------------

TEST_F(WindowReach, AnAppointmentsWindowShowsItsStart) {
    open();
    const outlook::FolderPtr calendar =
        store::local::openLocalStores(storePath).at(0)->GetDefaultFolder(outlook::olFolderCalendar);
    const outlook::ItemsPtr items = calendar->Items();
    ASSERT_GT(items->Count(), 0);
    items->Item(1)->Display(window->itemWindows());
    frmItem* item = window->itemWindow();
    ASSERT_NE(item, nullptr);
    auto* start = item->findChild<QLabel*>(QStringLiteral("fieldStart"));
    auto* end = item->findChild<QLabel*>(QStringLiteral("fieldEnd"));
    ASSERT_NE(start, nullptr);
    ASSERT_NE(end, nullptr);
    EXPECT_NE(start->text(), QStringLiteral("None"));
    EXPECT_LT(start->text(), end->text());
    item->close();
}

TEST_F(WindowReach, AHugeSubjectGivesAWindowThatFitsTheScreen) {
    open();
    outlook::ItemContent content;
    const QString subject = QString(200 * 1024, QLatin1Char('x'));
    content.caption = subject + QStringLiteral(" - Mail");
    content.fields = {{QStringLiteral("From"), QStringLiteral("Ann")},
                      {QStringLiteral("Subject"), subject}};
    content.body = QStringLiteral("Hello");
    window->itemWindows().show(content);
    frmItem* item = window->itemWindow();
    ASSERT_NE(item, nullptr);
    QApplication::processEvents();
    EXPECT_TRUE(fitsScreen(*item)) << text(item->frameGeometry());
    EXPECT_LE(item->windowTitle().size(), 120);
    EXPECT_TRUE(item->windowTitle().endsWith(QStringLiteral(" - Mail")));
    auto* buttons = item->findChild<QDialogButtonBox*>();
    ASSERT_NE(buttons, nullptr);
    EXPECT_TRUE(item->rect().contains(buttons->geometry()));
    // The whole subject can still be had: selected and copied from its field.
    auto* field = item->findChild<QWidget*>(QStringLiteral("fieldSubject"));
    ASSERT_NE(field, nullptr);
    EXPECT_LE(field->width(), item->width());
    QTest::keyClick(item, Qt::Key_Escape);
    EXPECT_FALSE(item->isVisible());
}

// --- message boxes ----------------------------------------------------------------------------

TEST_F(WindowReach, MessageBoxesAreWideEnoughForTheirTitle) {
    open();
    int width = 0;
    int titleWidth = 0;
    QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box != nullptr) {
            width = box->width();
            QFont title = QApplication::font("QMdiSubWindowTitleBar");
            title.setBold(true);
            titleWidth = QFontMetrics(title).horizontalAdvance(box->windowTitle());
            box->done(QMessageBox::Ok);
        }
    });
    QtPrompter prompter;
    prompter.setParent(window.get());
    prompter.ask(QStringLiteral("All Folders Loaded"), Prompter::OkOnly, QString());
    // Room for the title and a window manager's buttons beside it.
    EXPECT_GE(width, titleWidth + 150);
    EXPECT_GE(width, 320);

    // A question naming a huge subject still fits the screen.
    QRect box;
    QRect area;
    QTimer::singleShot(0, [&] {
        if (auto* shown = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            box = shown->frameGeometry();
            area = shown->screen()->availableGeometry();
            shown->done(QMessageBox::Yes);
        }
    });
    prompter.ask(
        QStringLiteral("Delete \"") + QString(200 * 1024, QLatin1Char('x')) + QStringLiteral("\"?"),
        Prompter::YesNo, QString());
    EXPECT_LE(box.width(), area.width()) << text(box);
    EXPECT_LE(box.height(), area.height()) << text(box);
}

}  // namespace
}  // namespace tf::testing

#include "window_reach_widget_test.moc"
