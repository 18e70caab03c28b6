#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QCheckBox>
#include <QDateEdit>
#include <QFile>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolTip>
#include <QTreeView>
#include <algorithm>

#include "app/widgets/folder_tree_model.h"
#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "cache/item_cache.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"
#include "store/store_locator.h"
#include "tests/support/box_answerer.h"
#include "tests/support/qt_printers.h"
#include "tests/support/screenshot.h"
#include "tests/support/temp_home.h"
#include "tests/support/tree_view_clicks.h"

namespace tf::testing {
namespace {

class MainWindowWidgets : public ::testing::Test {
  protected:
    QString sampleStore(int stores) {
        const QString path = home.file(QStringLiteral("sample%1.tidystore").arg(stores));
        store::local::SampleOptions options;
        options.stores = stores;
        options.items = 300;
        store::local::writeSampleStoreFile(path, options);
        return path;
    }

    TempHome home;
    BoxAnswerer answerer;
};

TEST_F(MainWindowWidgets, OpensOnAStoreAndShowsItsTree) {
    store::StoreApplicationSource source({sampleStore(1)}, home.file(QStringLiteral("unused")));
    frmMessageBox messageWindow;
    messageWindow.show();
    frmRemoveItems window(messageWindow, source);
    // Watches every change the tree build makes to the view's model.
    QAbstractItemModel* model = window.folderView()->model();
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    ASSERT_TRUE(window.load());
    EXPECT_EQ(answerer.texts(), QStringList{QStringLiteral("All Folders Loaded")});

    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(messageWindow.isVisible());
    ASSERT_EQ(model->rowCount(), 1);
    const QModelIndex root = model->index(0, 0);
    EXPECT_TRUE(root.data().toString().startsWith(QStringLiteral("Personal Folders - (")));
    EXPECT_GE(model->rowCount(root), 10);
    // The start folder is selected in the view and shown.
    const QModelIndex current = window.folderView()->currentIndex();
    ASSERT_TRUE(current.isValid());
    EXPECT_TRUE(current.data().toString().startsWith(QStringLiteral("Inbox - (")));
    EXPECT_TRUE(window.folderView()->isExpanded(root));
    EXPECT_EQ(window.findChild<QWidget*>(QStringLiteral("cmddebug"))->isVisible(), false);

    // Collapsing the root in the view recounts it over the whole store.
    const QString expandedCaption = root.data().toString();
    window.folderView()->collapse(root);
    EXPECT_NE(root.data().toString(), expandedCaption);
    EXPECT_FALSE(window.logic().tree.node(1).Expanded);

    window.close();
    EXPECT_TRUE(window.logic().Unloaded);
    EXPECT_TRUE(window.logic().flags.StopCaching);
}

TEST_F(MainWindowWidgets, SeveralStoresShowUnderOutlook) {
    store::StoreApplicationSource source({sampleStore(2)}, home.file(QStringLiteral("unused")));
    frmMessageBox messageWindow;
    frmRemoveItems window(messageWindow, source);
    ASSERT_TRUE(window.load());
    QAbstractItemModel* model = window.folderView()->model();
    const QModelIndex root = model->index(0, 0);
    EXPECT_TRUE(root.data().toString().startsWith(QStringLiteral("Outlook - (")));
    EXPECT_EQ(model->rowCount(root), 2);
    window.close();
}

TEST_F(MainWindowWidgets, ADamagedNamedStoreIsReportedAndTheProgramEnds) {
    const QString broken = home.file(QStringLiteral("broken.tidystore"));
    QFile file(broken);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, '\x5a'));
    file.close();
    const QString defaultStore = home.file(QStringLiteral("default.tidystore"));

    store::StoreApplicationSource source({broken}, defaultStore);
    frmMessageBox messageWindow;
    frmRemoveItems window(messageWindow, source);
    EXPECT_FALSE(window.load());
    EXPECT_EQ(answerer.texts(),
              QStringList{QStringLiteral("Unable to initialize Outlook.  Please try again.")});
    // Attaching and starting both tried the named store, and both reasons name it.
    const QStringList reasons = window.logic().session.startFailures;
    ASSERT_EQ(reasons.size(), 2);
    EXPECT_TRUE(reasons[0].contains(broken));
    EXPECT_TRUE(reasons[1].contains(broken));
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(QFile::exists(defaultStore));
}

TEST_F(MainWindowWidgets, QuitAsksAndClosesEverything) {
    store::StoreApplicationSource source({sampleStore(1)}, home.file(QStringLiteral("unused")));
    frmMessageBox messageWindow;
    frmRemoveItems window(messageWindow, source);
    ASSERT_TRUE(window.load());
    window.findChild<QAction*>(QStringLiteral("mnuQuit"))->trigger();
    EXPECT_EQ(answerer.texts(), (QStringList{QStringLiteral("All Folders Loaded"),
                                             QStringLiteral("Quit Tidyfold?")}));
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.logic().Unloaded);
}

TEST_F(MainWindowWidgets, TheFileMenuSavesAndOpensCleaningsWithTipsAndWhatsThis) {
    store::StoreApplicationSource source({sampleStore(1)}, home.file(QStringLiteral("unused")));
    frmMessageBox messageWindow;
    frmRemoveItems window(messageWindow, source);
    QMenu* file = window.findChild<QMenu*>(QStringLiteral("mnuFile"));
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->toolTipsVisible());
    const std::pair<const char*, const char*> actions[] = {
        {"mnuSaveCleaning", "&Save Cleaning As…"}, {"mnuOpenCleaning", "Open Clea&ning…"}};
    for (const auto& [name, text] : actions) {
        QAction* action = window.findChild<QAction*>(QLatin1String(name));
        ASSERT_NE(action, nullptr) << name;
        EXPECT_TRUE(file->actions().contains(action)) << name;
        EXPECT_EQ(action->text(), QString::fromUtf8(text));
        EXPECT_FALSE(action->toolTip().isEmpty());
        EXPECT_NE(action->toolTip(), action->text());  // a tip of its own, not the caption
        EXPECT_TRUE(action->whatsThis().contains(QStringLiteral("Saved cleanings"))) << name;
    }
}

// The column of the grid view headed with the word, -1 if none.
// Clicks a check box on its indicator, as a user would.
void tick(QCheckBox* box) {
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
}

int columnHeaded(const QAbstractItemModel& model, const QString& word) {
    for (int col = 0; col < model.columnCount(); ++col) {
        if (model.headerData(col, Qt::Horizontal).toString() == word) {
            return col;
        }
    }
    return -1;
}

QStringList columnTexts(const QAbstractItemModel& model, int col) {
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row) {
        texts << model.index(row, col).data().toString();
    }
    return texts;
}

TEST_F(MainWindowWidgets, TheGridListsTheStartFolderNewestFirstAndSortsByAClickedHeader) {
    store::StoreApplicationSource source({sampleStore(1)}, home.file(QStringLiteral("unused")));
    frmMessageBox messageWindow;
    frmRemoveItems window(messageWindow, source);
    QAbstractItemModel* grid = window.itemsView()->model();
    QAbstractItemModelTester tester(grid, QAbstractItemModelTester::FailureReportingMode::Fatal);
    ASSERT_TRUE(window.load());

    const RemoveItemsLogic& logic = window.logic();
    const FolderData& inbox = logic.records[logic.flags.CurrentNodeIndex];
    ASSERT_EQ(grid->rowCount(), static_cast<int>(inbox.ItemCache.size()));
    ASSERT_GT(grid->rowCount(), 10);
    const int date = columnHeaded(*grid, QStringLiteral("Date"));
    const int type = columnHeaded(*grid, QStringLiteral("Type"));
    ASSERT_GE(date, 0);
    ASSERT_GE(type, 0);
    EXPECT_GE(columnHeaded(*grid, QStringLiteral("Sender")), 0);
    EXPECT_FALSE(window.itemsView()->isColumnHidden(date));
    EXPECT_TRUE(window.itemsView()->isColumnHidden(0));

    QStringList dates = columnTexts(*grid, date);
    QStringList sorted = dates;
    std::sort(sorted.begin(), sorted.end(), std::greater<>());
    EXPECT_EQ(dates, sorted);

    // Unread items stand out in bold; read ones do not.
    int bold = 0;
    for (int row = 0; row < grid->rowCount(); ++row) {
        const int key = ItemsGrid::itemOfKey(grid->index(row, 0).data().toString());
        const bool unread = inbox.ItemCache[static_cast<std::size_t>(key - 1)].Unread != 0;
        const QFont font = grid->index(row, date).data(Qt::FontRole).value<QFont>();
        EXPECT_EQ(font.bold(), unread) << "row " << row;
        bold += unread ? 1 : 0;
    }
    EXPECT_GT(bold, 0);

    QHeaderView* header = window.itemsView()->horizontalHeader();
    header->sectionClicked(type);
    QStringList types = columnTexts(*grid, type);
    sorted = types;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(types, sorted);
    header->sectionClicked(type);
    types = columnTexts(*grid, type);
    std::sort(sorted.begin(), sorted.end(), std::greater<>());
    EXPECT_EQ(types, sorted);
    window.close();
}

TEST_F(MainWindowWidgets, ASubjectTypedAndEnteredFiltersTheGrid) {
    store::StoreApplicationSource source({sampleStore(1)}, home.file(QStringLiteral("unused")));
    frmMessageBox messageWindow;
    frmRemoveItems window(messageWindow, source);
    ASSERT_TRUE(window.load());
    QAbstractItemModel* grid = window.itemsView()->model();
    const int before = grid->rowCount();

    auto* filterOn = window.findChild<QCheckBox*>(QStringLiteral("chkSelectSubject"));
    auto* subject = window.findChild<QLineEdit*>(QStringLiteral("txtSelectSubject"));
    auto* showUnselected = window.findChild<QCheckBox*>(QStringLiteral("chkShowUnselectedItems"));
    EXPECT_FALSE(subject->isEnabled());
    tick(filterOn);
    EXPECT_TRUE(subject->isEnabled());
    // Hide what the filter leaves out, then type a subject's start and press Enter.
    tick(showUnselected);
    EXPECT_EQ(window.logic().controls.value(Control::chkShowUnselectedItems), 0);
    // The Inbox's folder is not marked, so nothing is selected and nothing shows.
    EXPECT_EQ(grid->rowCount(), 0);
    tick(showUnselected);
    EXPECT_EQ(grid->rowCount(), before);

    subject->setFocus();
    QTest::keyClicks(subject, QStringLiteral("invoice"));
    EXPECT_EQ(window.logic().controls[Control::txtSelectSubject].caption,
              QStringLiteral("invoice"));
    QTest::keyClick(subject, Qt::Key_Return);
    // With both show options on the rows stay and only their marks follow the filter; the
    // folder is unmarked, so none is selected.
    EXPECT_EQ(grid->rowCount(), before);
    for (int row = 0; row < grid->rowCount(); ++row) {
        EXPECT_EQ(grid->index(row, 1).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
    }
    window.close();
}

}  // namespace
}  // namespace tf::testing

namespace tf::testing {
namespace {

void clickRow(QTableView& view, int row, Qt::KeyboardModifiers keys = {}) {
    const QRect cell = view.visualRect(view.model()->index(row, 2));
    QTest::mouseClick(view.viewport(), Qt::LeftButton, keys, cell.center());
}

class MarkingWidgets : public MainWindowWidgets {
  protected:
    void SetUp() override {
        storePath = sampleStore(1);
        source = std::make_unique<store::StoreApplicationSource>(
            QStringList{storePath}, home.file(QStringLiteral("unused")));
        window = std::make_unique<frmRemoveItems>(messageWindow, *source);
        ASSERT_TRUE(window->load());
        window->resize(1180, 760);
        tree = window->folderView();
        grid = window->itemsView();
    }
    void TearDown() override { window->close(); }
    int nodeOf(const QModelIndex& index) const { return static_cast<int>(index.internalId()); }
    const TreeNode& treeNode(const QModelIndex& index) const {
        return window->logic().tree.node(nodeOf(index));
    }

    QString storePath;
    std::unique_ptr<store::StoreApplicationSource> source;
    frmMessageBox messageWindow;
    std::unique_ptr<frmRemoveItems> window;
    QTreeView* tree = nullptr;
    QTableView* grid = nullptr;
};

TEST_F(MarkingWidgets, AMouseTickMarksAFolderAndAForbiddenOneIsRefused) {
    const QModelIndex inbox = folderIndex(*tree->model(), QStringLiteral("Inbox"));
    ASSERT_TRUE(inbox.isValid());
    tickInView(*tree, inbox);
    EXPECT_TRUE(treeNode(inbox).Checked);
    EXPECT_TRUE(treeNode(inbox).Bold);
    EXPECT_EQ(inbox.data(Qt::CheckStateRole).toInt(), Qt::Checked);
    const int marked = window->logic().gridLogic.Get_Rows_Selected_Count();
    EXPECT_GT(marked, 0);
    EXPECT_TRUE(window->findChild<QPushButton*>(QStringLiteral("cmdRun"))->isEnabled());
    screenshot(QStringLiteral("tick-folders"));

    // Delete Folders asks to unmark the Inbox (answered Yes); a default folder is then refused.
    tick(window->findChild<QCheckBox*>(QStringLiteral("chkDeleteFolders")));
    ASSERT_FALSE(treeNode(inbox).Checked);
    tickInView(*tree, inbox);
    EXPECT_FALSE(treeNode(inbox).Checked);
    EXPECT_EQ(inbox.data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
    EXPECT_EQ(answerer.texts().last(),
              QStringLiteral("Cannot mark a default folder while \" Delete Folders\" is marked."));
}

TEST_F(MarkingWidgets, TheSpaceBarTicksTheCurrentNodeThroughTheSameRules) {
    const QModelIndex drafts = folderIndex(*tree->model(), QStringLiteral("Drafts"));
    ASSERT_TRUE(drafts.isValid());
    tree->setFocus();
    tree->setCurrentIndex(drafts);
    QTest::keyClick(tree, Qt::Key_Space);
    EXPECT_TRUE(treeNode(drafts).Checked);
    EXPECT_TRUE(treeNode(drafts).Bold);
    EXPECT_EQ(window->logic().flags.CurrentNodeIndex, nodeOf(drafts));
    EXPECT_EQ(window->findChild<QLabel*>(QStringLiteral("lblCurrentFolder"))->text(),
              QStringLiteral("Current Folder: Drafts"));
    QTest::keyClick(tree, Qt::Key_Space);
    EXPECT_FALSE(treeNode(drafts).Checked);
}

TEST_F(MarkingWidgets, SelectByRowPicksRowsWithPlainShiftAndCtrlClicks) {
    tickInView(*tree, folderIndex(*tree->model(), QStringLiteral("Inbox")));
    tick(window->findChild<QCheckBox*>(QStringLiteral("chkSelectByRow")));
    ASSERT_EQ(window->logic().controls.value(Control::chkSelectByRow), 1);
    ASSERT_GE(grid->model()->rowCount(), 8);

    clickRow(*grid, 1);
    clickRow(*grid, 4, Qt::ShiftModifier);
    clickRow(*grid, 6, Qt::ControlModifier);
    const ItemsGrid& rows = window->logic().grid;
    for (int r = 1; r < rows.Rows(); ++r) {
        const bool picked = (r >= 2 && r <= 5) || r == 7;  // model row + 1
        EXPECT_EQ(rows.row(r).mark, picked ? '1' : '0') << r;
        EXPECT_EQ(grid->model()->index(r - 1, 1).data(Qt::CheckStateRole).toInt(),
                  picked ? Qt::Checked : Qt::Unchecked);
        EXPECT_EQ(grid->model()->index(r - 1, 2).data(Qt::BackgroundRole).isValid(), picked);
    }
    screenshot(QStringLiteral("select-by-row"));
}

TEST_F(MarkingWidgets, EveryControlShowsItsTooltip) {
    for (const ControlTooltip& tip : controlTooltips()) {
        auto* widget = window->findChild<QWidget*>(controlName(tip.control));
        ASSERT_NE(widget, nullptr) << tip.control;
        EXPECT_EQ(widget->toolTip(), QString::fromLatin1(tip.text).replace(QStringLiteral("\r\n"),
                                                                           QStringLiteral("\n")))
            << tip.control;
    }
    // Hovering shows it.
    auto* run = window->findChild<QPushButton*>(QStringLiteral("cmdRun"));
    QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), run->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(run, &hover);
    EXPECT_EQ(QToolTip::text(), QStringLiteral("Start cleaning."));
    screenshot(QStringLiteral("tooltip"));
}

// The whole way through, on the real widgets: tick a folder, filter by date, press Clean, answer
// the questions, and find the store changed as the summary says; then open an item.
TEST_F(MarkingWidgets, CleaningATickedFolderByDateMovesItsOlderItems) {
    const auto inboxItems = [&](const QDate& before) {
        const outlook::ItemsPtr items = store::local::openLocalStores(storePath)
                                            .at(0)
                                            ->GetDefaultFolder(outlook::olFolderInbox)
                                            ->Items();
        long older = 0;
        for (long i = 1; i <= items->Count(); ++i) {
            older += toQDate(Get_Item_Date(*items->Item(i))) <= before ? 1 : 0;
        }
        return std::make_pair(items->Count(), older);
    };
    const QDate cutoff = QDate::currentDate().addYears(-3);
    const auto [total, older] = inboxItems(cutoff);
    ASSERT_GT(older, 1);
    ASSERT_LT(older, total);

    tickInView(*tree, folderIndex(*tree->model(), QStringLiteral("Inbox")));
    tick(window->findChild<QCheckBox*>(QStringLiteral("chkSelectDate")));
    // Unread items only go with Unread Items ticked; all of the older ones are to go.
    tick(window->findChild<QCheckBox*>(QStringLiteral("chkSelectUnread")));
    auto* date = window->findChild<QDateEdit*>(QStringLiteral("dtpCutoffDate"));
    date->setFocus();
    date->setDate(cutoff);
    QTest::keyClick(date, Qt::Key_Return);
    EXPECT_EQ(window->logic().gridLogic.Get_Rows_Selected_Count(), older);

    auto* run = window->findChild<QPushButton*>(QStringLiteral("cmdRun"));
    const qsizetype before = answerer.texts().size();
    QTest::mouseClick(run, Qt::LeftButton);
    const QString count = QString::number(older);
    EXPECT_EQ(answerer.texts().mid(before),
              QStringList({count + QStringLiteral(" items in 1 folder identified for cleaning."),
                           QStringLiteral("Move items in \"Personal Folders\\Inbox\" folder to "
                                          "\"Deleted Items\" folder?"),
                           QStringLiteral(" ") + count +
                               QStringLiteral(" items were moved to the \"Deleted Items\" "
                                              "folder.")}));
    EXPECT_EQ(inboxItems(cutoff), std::make_pair(total - older, 0L));
    EXPECT_EQ(run->text(), QStringLiteral("&Clean"));
    EXPECT_TRUE(tree->isEnabled());
    // The grid shows what the Inbox holds now.
    EXPECT_EQ(grid->model()->rowCount(), total - older);
    screenshot(QStringLiteral("clean-done"));

    const QRect row = grid->visualRect(grid->model()->index(1, 2));
    // As a real double click arrives: a press and release, then the double click.
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, row.center());
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, row.center());
    frmItem* item = window->itemWindow();
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->isVisible());
    const GridRow& shown = window->logic().grid.row(2);
    EXPECT_TRUE(item->windowTitle().startsWith(
        window->logic().gridLogic.cell(shown, kFieldSubject) + QStringLiteral(" - ")));
    EXPECT_TRUE(item->findChild<QPlainTextEdit*>(QStringLiteral("txtBody"))->isReadOnly());
    screenshot(QStringLiteral("item-window"));
    item->close();
}

}  // namespace
}  // namespace tf::testing
