// Positions in a folder stay right through long runs of deletes from either end and the middle,
// across several Items objects and across connections.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/local/local_store.h"
#include "store/local/sqlite_db.h"
#include "store/local/store_writer.h"

namespace tf::store::local {
namespace {

constexpr int kItems = 10'000;

class Positions : public ::testing::Test {
  protected:
    void SetUp() override {
        path_ = dir_.filePath(QStringLiteral("p.tfs"));
        StoreWriter writer(path_);
        const qint64 top = writer.addStore(QStringLiteral("Personal Folders"));
        writer.addFolder(top, QStringLiteral("Deleted Items"), outlook::olMailItem,
                         outlook::olFolderDeletedItems);
        const qint64 inbox = writer.addFolder(top, QStringLiteral("Inbox"), outlook::olMailItem,
                                              outlook::olFolderInbox);
        for (int i = 0; i < kItems; ++i) {
            ItemData item;
            item.subject = QString::number(i);
            item.sender = QStringLiteral("S");
            item.received = 45000 + i;
            writer.addItem(inbox, item);
        }
        writer.finish();
        store_ = openLocalStores(path_).at(0);
        inbox_ = store_->GetDefaultFolder(outlook::olFolderInbox);
        deleted_ = store_->GetDefaultFolder(outlook::olFolderDeletedItems);
    }

    QTemporaryDir dir_;
    QString path_;
    outlook::StorePtr store_;
    outlook::FolderPtr inbox_;
    outlook::FolderPtr deleted_;
};

TEST_F(Positions, LongRunsOfDeletesKeepEveryPositionRight) {
    auto items = inbox_->Items();
    auto other = inbox_->Items();
    ASSERT_EQ(items->Count(), kItems);
    for (long i = 1; i <= kItems; i += 997) {
        EXPECT_EQ(items->Item(i)->Subject(), QString::number(i - 1));
    }
    // From the front, past the point where the position index compacts itself.
    for (int n = 0; n < 6000; ++n) {
        ASSERT_EQ(items->Item(1)->Subject(), QString::number(n));
        items->Remove(1);
    }
    EXPECT_EQ(other->Count(), kItems - 6000);
    EXPECT_EQ(other->Item(1)->Subject(), QStringLiteral("6000"));
    // From the back, as moves to Deleted Items.
    for (int n = 0; n < 200; ++n) {
        items->Item(items->Count())->Delete();
    }
    auto trash = deleted_->Items();
    ASSERT_EQ(trash->Count(), 200);
    for (long i = 1; i <= 200; ++i) {
        EXPECT_EQ(trash->Item(i)->Subject(), QString::number(kItems - i));
    }
    // From the middle.
    items->Remove(100);
    other->Item(100)->Delete();
    EXPECT_EQ(items->Item(99)->Subject(), QStringLiteral("6098"));
    EXPECT_EQ(items->Item(100)->Subject(), QStringLiteral("6101"));
    EXPECT_EQ(trash->Item(201)->Subject(), QStringLiteral("6100"));
    EXPECT_EQ(items->Count(), kItems - 6000 - 200 - 2);
    EXPECT_EQ(items->Item(items->Count())->Subject(), QString::number(kItems - 201));
    EXPECT_THROW(items->Item(items->Count() + 1), Failure);
    EXPECT_EQ(checkStoreFile(path_), QStringList());
}

TEST_F(Positions, ChangesByAnotherConnectionAreSeen) {
    auto items = inbox_->Items();
    ASSERT_EQ(items->Item(1)->Subject(), QStringLiteral("0"));
    const QString firstId = items->Item(1)->EntryID();
    auto elsewhere = openLocalStores(path_).at(0);
    elsewhere->GetDefaultFolder(outlook::olFolderInbox)->Items()->Remove(1);
    EXPECT_EQ(items->Count(), kItems - 1);
    EXPECT_EQ(items->Item(1)->Subject(), QStringLiteral("1"));
    EXPECT_THROW(store_->GetItemFromID(firstId), Failure);
}

TEST_F(Positions, TheCheckerReportsBrokenFiles) {
    EXPECT_EQ(checkStoreFile(path_), QStringList());
    {
        Database db(path_, Database::Mode::ReadWrite);
        db.exec("UPDATE items SET folder = 424242 WHERE seq = 5");
        db.exec("UPDATE folders SET parent = 777 WHERE name = 'Inbox'");
    }
    const QStringList problems = checkStoreFile(path_);
    EXPECT_EQ(problems.size(), 2) << problems.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(problems.join(QLatin1Char('\n')).contains(QStringLiteral("does not exist")));
    EXPECT_FALSE(checkStoreFile(dir_.filePath(QStringLiteral("none.tfs"))).isEmpty());
}

}  // namespace
}  // namespace tf::store::local
