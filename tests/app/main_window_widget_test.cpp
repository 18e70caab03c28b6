#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <algorithm>

#include "app/widgets/folder_tree_model.h"
#include "app/widgets/main_window.h"
#include "app/widgets/message_window.h"
#include "store/local/sample_content.h"
#include "store/store_locator.h"
#include "tests/support/box_answerer.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

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
    ASSERT_EQ(answerer.texts().size(), 1);
    EXPECT_TRUE(answerer.texts().first().contains(broken));
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
    EXPECT_EQ(window.logic().controls.value(QStringLiteral("chkShowUnselectedItems")), 0);
    // The Inbox's folder is not marked, so nothing is selected and nothing shows.
    EXPECT_EQ(grid->rowCount(), 0);
    tick(showUnselected);
    EXPECT_EQ(grid->rowCount(), before);

    subject->setFocus();
    QTest::keyClicks(subject, QStringLiteral("invoice"));
    EXPECT_EQ(window.logic().controls[QStringLiteral("txtSelectSubject")].caption,
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
