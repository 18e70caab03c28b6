// Grouped commits: within a group every change is still atomic by itself, a failed change is
// undone alone, and the group is in the file once it ends.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/local/local_store.h"
#include "store/local/store_writer.h"

namespace tf::store::local {
namespace {

class ChangeGroups : public ::testing::Test {
  protected:
    void SetUp() override {
        path_ = dir_.filePath(QStringLiteral("g.tfs"));
        StoreWriter writer(path_);
        const qint64 top = writer.addStore(QStringLiteral("Personal Folders"));
        writer.addFolder(top, QStringLiteral("Deleted Items"), outlook::olMailItem,
                         outlook::olFolderDeletedItems);
        const qint64 inbox = writer.addFolder(top, QStringLiteral("Inbox"), outlook::olMailItem,
                                              outlook::olFolderInbox);
        for (int i = 1; i <= 600; ++i) {
            ItemData item;
            item.subject = QString::number(i);
            writer.addItem(inbox, item);
        }
        writer.finish();
        store_ = openLocalStores(path_).at(0);
    }
    // Counts through a connection of their own, as another program sees the file.
    long countElsewhere(long folderType) const {
        return openLocalStores(path_).at(0)->GetDefaultFolder(folderType)->Items()->Count();
    }
    outlook::ItemsPtr inbox() const {
        return store_->GetDefaultFolder(outlook::olFolderInbox)->Items();
    }

    QTemporaryDir dir_;
    QString path_;
    outlook::StorePtr store_;
};

TEST_F(ChangeGroups, AFailedChangeIsUndoneAloneAndTheRestIsCommittedAtTheEnd) {
    store_->beginChanges();
    const outlook::ItemPtr stale = inbox()->Item(2);
    inbox()->Item(1)->Delete();
    inbox()->Remove(1);  // the item `stale` stands for, for good
    EXPECT_THROW(stale->Delete(), Failure);
    inbox()->Item(1)->Delete();
    EXPECT_EQ(inbox()->Count(), 597);
    EXPECT_EQ(countElsewhere(outlook::olFolderInbox), 600) << "nothing is committed yet";
    store_->endChanges();
    EXPECT_EQ(countElsewhere(outlook::olFolderInbox), 597);
    EXPECT_EQ(countElsewhere(outlook::olFolderDeletedItems), 2);
    EXPECT_TRUE(checkStoreFile(path_).isEmpty());
}

TEST_F(ChangeGroups, LongGroupsAreCommittedAsTheyGo) {
    store_->beginChanges();
    for (int i = 0; i < 300; ++i) {
        inbox()->Item(1)->Delete();
    }
    // At the latest after 256 changes a group is committed; a slow machine commits sooner, when
    // 200 ms have passed, so the count seen here depends on the machine's speed.
    EXPECT_GT(countElsewhere(outlook::olFolderDeletedItems), 0);
    store_->endChanges();
    EXPECT_EQ(countElsewhere(outlook::olFolderDeletedItems), 300);
}

TEST_F(ChangeGroups, WithoutAGroupEveryChangeIsCommittedAtOnce) {
    inbox()->Remove(1);
    EXPECT_EQ(countElsewhere(outlook::olFolderInbox), 599);
}

}  // namespace
}  // namespace tf::store::local
