#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QTimer>
#include <QTreeView>

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
    EXPECT_TRUE(answerer.texts().isEmpty())
        << answerer.texts().join(QStringLiteral("|")).toStdString();

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
    EXPECT_TRUE(window.logic().StopCaching);
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
    EXPECT_EQ(answerer.texts(), QStringList{QStringLiteral("Quit Tidyfold?")});
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.logic().Unloaded);
}

}  // namespace
}  // namespace tf::testing

