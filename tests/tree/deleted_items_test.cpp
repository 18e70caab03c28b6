#include "tree/deleted_items.h"

#include <gtest/gtest.h>

#include "tests/support/window_fixture.h"

namespace tf::testing {
namespace {

class DeletedItemsTest : public WindowFixture {
  protected:
    // The Deleted Items index recorded for every node under (and including) a store's node.
    std::set<int> indexesUnder(int storeNode) const {
        std::set<int> found{logic.records[storeNode].DeletedItemsIndex};
        for (int n = logic.tree.Child(storeNode); n != 0; n = logic.tree.Next(n)) {
            const std::set<int> below = indexesUnder(n);
            found.insert(below.begin(), below.end());
        }
        return found;
    }
};

TEST_F(DeletedItemsTest, OneStoreRecordsItsDeletedItemsInEveryFolder) {
    auto s = storeWithInbox(1);
    s->addFolder(s->folder(QStringLiteral("Inbox")), QStringLiteral("Projects"));
    open({s});
    ASSERT_TRUE(logic.Form_Load());
    const int deleted = node(QStringLiteral("Deleted Items"));
    ASSERT_NE(deleted, 0);
    EXPECT_EQ(indexesUnder(1), std::set<int>{deleted});
}

TEST_F(DeletedItemsTest, SeveralStoresEachGetTheirOwnAndAStoreWithoutOneGetsNothing) {
    auto english = storeWithInbox(1, QStringLiteral("Mine"), QStringLiteral("S1"));
    auto other = MemoryStore::create(QStringLiteral("Andere"), QStringLiteral("S2"));
    other->addFolder(other->top(), QStringLiteral("Posteingang"));
    // Below the top level the name does not make a store's Deleted Items folder.
    const auto nested = other->addFolder(other->folder(QStringLiteral("Posteingang")),
                                         QStringLiteral("Deleted Items"));
    auto third = storeWithInbox(1, QStringLiteral("Third"), QStringLiteral("S3"));
    open({english, other, third});
    ASSERT_TRUE(logic.Form_Load());

    std::vector<int> stores;
    for (int n = logic.tree.Child(1); n != 0; n = logic.tree.Next(n)) {
        stores.push_back(n);
    }
    ASSERT_EQ(stores.size(), 3u);
    std::map<QString, std::set<int>> byStore;
    for (const int store : stores) {
        byStore[logic.records[store].Folder->Name()] = indexesUnder(store);
    }
    EXPECT_EQ(byStore[QStringLiteral("Andere")], std::set<int>{0});
    ASSERT_EQ(byStore[QStringLiteral("Mine")].size(), 1u);
    ASSERT_EQ(byStore[QStringLiteral("Third")].size(), 1u);
    const int mine = *byStore[QStringLiteral("Mine")].begin();
    const int third_ = *byStore[QStringLiteral("Third")].begin();
    EXPECT_NE(mine, third_);
    EXPECT_EQ(logic.records[mine].Folder->StoreID(), QStringLiteral("S1"));
    EXPECT_EQ(logic.records[third_].Folder->StoreID(), QStringLiteral("S3"));
    EXPECT_EQ(logic.records[1].DeletedItemsIndex, 0);  // the virtual root has none

    int nestedNode = 0;
    for (int n = 1; n <= logic.tree.count(); ++n) {
        const auto& folder = logic.records[n].Folder;
        if (folder && folder->StoreID() == QStringLiteral("S2") &&
            folder->Name() == QStringLiteral("Deleted Items")) {
            nestedNode = n;
        }
    }
    ASSERT_NE(nestedNode, 0);
    EXPECT_TRUE(logic.deletedItems.Is_Deleted_Items_Folder(nestedNode));
    EXPECT_FALSE(logic.deletedItems.Is_Deleted_Items_Folder(1));
    (void)nested;
}

TEST_F(DeletedItemsTest, AMarkedDeletedItemsFolderIsAllowedOnlyWithPermanentDelete) {
    open({storeWithInbox(1)});
    ASSERT_TRUE(logic.Form_Load());
    const int deleted = node(QStringLiteral("Deleted Items"));
    const int inbox = node(QStringLiteral("Inbox"));
    EXPECT_TRUE(logic.deletedItems.Allow_Deleted_Items_Folder(deleted));
    logic.tree.setChecked(deleted, true);
    logic.tree.setChecked(inbox, true);
    EXPECT_FALSE(logic.deletedItems.Allow_Deleted_Items_Folder(deleted));
    EXPECT_TRUE(logic.deletedItems.Allow_Deleted_Items_Folder(inbox));
    logic.controls.update(Control::chkPermanentDelete, [](ControlState& c) { c.value = 1; });
    EXPECT_TRUE(logic.deletedItems.Allow_Deleted_Items_Folder(deleted));
}

TEST_F(DeletedItemsTest, AResetClearsTheIndexUntilTheFoldersAreAssignedAgain) {
    open({storeWithInbox(2)});
    ASSERT_TRUE(logic.Form_Load());
    const int deleted = node(QStringLiteral("Deleted Items"));
    ASSERT_EQ(record(QStringLiteral("Inbox")).DeletedItemsIndex, deleted);
    record(QStringLiteral("Inbox")).DeletedCount = 7;

    logic.tree.select(node(QStringLiteral("Inbox")));
    logic.mnuRefreshCurrent_Click();
    const FolderData& inbox = record(QStringLiteral("Inbox"));
    EXPECT_EQ(inbox.DeletedItemsIndex, 0);
    EXPECT_EQ(inbox.DeletedCount, 7);  // the field before the folder is the strategies' own
    EXPECT_TRUE(inbox.Folder);
    // The other folders keep theirs; only the reset record lost it.
    EXPECT_EQ(record(QStringLiteral("Sent Items")).DeletedItemsIndex, deleted);
    EXPECT_TRUE(inbox.Loaded);  // read again by the cache, which does not assign the index

    logic.deletedItems.Assigne_Deleted_Items_Folders();
    EXPECT_EQ(record(QStringLiteral("Inbox")).DeletedItemsIndex, deleted);
}

}  // namespace
}  // namespace tf::testing
