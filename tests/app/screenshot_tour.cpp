// Takes the pictures a person looks at before a release: the real window on a real (virtual)
// display, with a window manager's frames, driven through the states people meet.
//   tidyfold-screenshot-tour --store FILE --out DIR [--prefix PREFIX]
// Used by scripts/screenshots.sh; it answers every question itself.
#include <QAbstractItemModel>
#include <QAction>
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTableView>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QTreeView>
#include <functional>

#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "store/local/local_store.h"
#include "store/store_locator.h"
#include "tests/support/tour_answerer.h"
#include "tests/support/tree_view_clicks.h"

namespace {

using tf::testing::folderIndex;

QString outDir;
QString prefix;

void shot(const QString& name) {
    QApplication::processEvents();
    QTest::qWait(400);  // lets the window manager draw its frames
    QScreen* screen = QApplication::primaryScreen();
    const QPixmap picture = screen->grabWindow(0);
    const QString file = QDir(outDir).filePath(prefix + name + QStringLiteral(".png"));
    if (!picture.save(file)) {
        qWarning("could not save %s", qPrintable(file));
    } else {
        qInfo("saved %s", qPrintable(file));
    }
}

bool waitFor(const std::function<bool()>& done, int ms) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < ms) {
        QTest::qWait(20);
    }
    return done();
}

int countOf(const QModelIndex& index) {
    const QString caption = index.data().toString();
    const qsizetype open = caption.lastIndexOf(QStringLiteral("("));
    return caption.mid(open + 1).chopped(1).toInt();
}

// The largest folder of the first store whose items fit into its Deleted Items (which refuses
// to hold more than 16,383), so that the run is long enough to be seen.
QModelIndex folderToClean(const QAbstractItemModel& model) {
    const QModelIndex top = model.index(0, 0);
    const QModelIndex deleted = folderIndex(model, QStringLiteral("Deleted Items"));
    const int room = 16383 - (deleted.isValid() ? countOf(deleted) : 0);
    QModelIndex best;
    for (int row = 0; row < model.rowCount(top); ++row) {
        const QModelIndex folder = model.index(row, 0, top);
        const int count = countOf(folder);
        if (folder != deleted && count <= room && (!best.isValid() || count > countOf(best))) {
            best = folder;
        }
    }
    return best;
}

// Clicks the first link to `ending` on the help page, where it is drawn.
bool clickLink(QTextBrowser& page, const QString& ending) {
    for (QTextBlock block = page.document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.isAnchor() && format.anchorHref().endsWith(ending)) {
                QTextCursor cursor(page.document());
                cursor.setPosition(it.fragment().position() + 1);
                page.setTextCursor(cursor);
                page.ensureCursorVisible();
                QApplication::processEvents();
                QTest::mouseClick(page.viewport(), Qt::LeftButton, {},
                                  page.cursorRect(cursor).center());
                return true;
            }
        }
    }
    return false;
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tidyfold"));
    QCommandLineParser parser;
    const QCommandLineOption storeOption(QStringLiteral("store"), QStringLiteral("store file"),
                                         QStringLiteral("file"));
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("folder"),
                                       QStringLiteral("dir"));
    const QCommandLineOption nameOption(QStringLiteral("prefix"), QStringLiteral("prefix"),
                                        QStringLiteral("prefix"));
    parser.addOptions({storeOption, outOption, nameOption});
    parser.process(app);
    const QString storePath = parser.value(storeOption);
    outDir = parser.value(outOption);
    prefix = parser.value(nameOption);
    QDir().mkpath(outDir);
    // Yes or OK to every box, after a picture of the summary.
    tf::testing::TourAnswerer answerer([](const QString& text) {
        if (text.contains(QStringLiteral("were moved")) ||
            text.contains(QStringLiteral("were deleted"))) {
            shot(QStringLiteral("3-summary"));
        }
    });
    tf::store::StoreApplicationSource source({storePath}, storePath);
    tf::frmMessageBox messageWindow;
    messageWindow.show();
    tf::frmRemoveItems window(messageWindow, source);
    if (!window.load()) {
        return 1;
    }
    shot(QStringLiteral("1-main-window"));

    // A run: a large folder ticked, Clean pressed, every question answered Yes.
    QTreeView* tree = window.folderView();
    const QModelIndex inbox = folderToClean(*tree->model());
    // Ticked as a user does, on the check box the style draws.
    tree->scrollTo(inbox);
    QStyleOptionViewItem option;
    option.initFrom(tree);
    option.rect = tree->visualRect(inbox);
    option.features |= QStyleOptionViewItem::HasCheckIndicator;
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {},
                      tree->style()
                          ->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, tree)
                          .center());
    bool runShot = false;
    QTimer watch;
    watch.setInterval(0);
    QObject::connect(&watch, &QTimer::timeout, [&] {
        const QString status =
            window.statusBar()->findChild<QLabel*>(QStringLiteral("sbPanel1"))->text();
        if (!runShot && window.logic().flags.Processing &&
            status.startsWith(QStringLiteral("Cleaning")) &&
            QApplication::activeModalWidget() == nullptr) {
            runShot = true;
            shot(QStringLiteral("2-run"));
            // A picture is all that is wanted of a long run: Cancel stops it after the
            // current item, and the summary follows.
            QTimer::singleShot(0, &window, [&window] {
                window.findChild<QPushButton*>(QStringLiteral("cmdRun"))->click();
            });
        }
    });
    watch.start();
    window.findChild<QPushButton*>(QStringLiteral("cmdRun"))->click();
    watch.stop();
    QTest::qWait(300);

    // The manual, after following a link on its first page.
    window.findChild<QAction*>(QStringLiteral("mnuHelpContents"))->trigger();
    tf::frmHelpViewer* viewer = window.helpViewer();
    waitFor([&] { return viewer->isVisible(); }, 3000);
    QTest::qWait(500);
    if (clickLink(*viewer->page(), QStringLiteral("safety-checks.html"))) {
        waitFor([&] { return viewer->currentPage().toString().endsWith("safety-checks.html"); },
                3000);
    }
    shot(QStringLiteral("4-help-after-link"));
    viewer->close();

    // An appointment's own window.
    const auto stores = tf::store::local::openLocalStores(storePath);
    const tf::outlook::ItemsPtr calendar =
        stores.at(0)->GetDefaultFolder(tf::outlook::olFolderCalendar)->Items();
    if (calendar->Count() > 0) {
        calendar->Item(1)->Display(window.itemWindows());
        shot(QStringLiteral("5-appointment"));
        window.itemWindow()->close();
    }

    // The window at its least size.
    window.showNormal();
    window.resize(window.minimumSize());
    QTest::qWait(300);
    shot(QStringLiteral("6-minimum-size"));
    window.close();
    return 0;
}
