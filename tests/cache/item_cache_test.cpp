#include "cache/item_cache.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/support/window_fixture.h"

namespace tf::testing {
namespace {

using outlook::ItemFields;

class ItemCache : public WindowFixture {
  protected:
    // How often each item of a folder was handed out by the store.
    static std::vector<int> reads(const MemoryStore::Folder& folder) {
        std::vector<int> counts;
        for (const auto& item : folder->items) {
            counts.push_back(item->fetched);
        }
        return counts;
    }
    bool loading(const QString& folderName) const {
        return logic.status.text(1) == QStringLiteral("Loading Folder \"%1\"").arg(folderName);
    }
};

TEST_F(ItemCache, HandsRowsToTheGridInBatchesOfAHundredAndAtTheEnd) {
    open({storeWithInbox(250)});
    std::set<int> rowCounts;
    yield.onEvery = [&] {
        if (loading(QStringLiteral("Inbox"))) {
            rowCounts.insert(logic.grid.Rows() - 1);
        }
    };
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_EQ(rowCounts, (std::set<int>{0, 100, 200}));
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 250);
    EXPECT_TRUE(record(QStringLiteral("Inbox")).Loaded);
    EXPECT_EQ(logic.grid.Rows() - 1, 250);
    EXPECT_EQ(logic.tree.node(node(QStringLiteral("Inbox"))).ForeColor, logic.colours.loaded);
    // The status bar is cleared when loading ends.
    EXPECT_EQ(logic.status.text(1), QString());
    EXPECT_EQ(logic.status.text(2), QString());
}

TEST_F(ItemCache, ASelectedUnloadedFolderGoesFirstAndTheBrokenOffFolderResumesAfterItsLastItem) {
    auto s = storeWithInbox(500);
    const auto archive = s->addFolder(s->top(), QStringLiteral("Archive"));
    s->addItems(archive, 30);
    open({s});
    std::vector<QString> order;
    yield.onEvery = [&] {
        const QString text = logic.status.text(1);
        if (!text.isEmpty() && (order.empty() || order.back() != text)) {
            order.push_back(text);
        }
    };
    yield.when(
        [&] {
            return record(QStringLiteral("Inbox")).ItemCache.size() == 500 &&
                   s->folder(QStringLiteral("Inbox"))->items[149]->fetched == 1;
        },
        [&] { logic.tree.select(node(QStringLiteral("Archive"))); });
    ASSERT_TRUE(logic.Form_Load());

    ASSERT_GE(order.size(), 3u);
    EXPECT_EQ(order[0], QStringLiteral("Loading Folder \"Inbox\""));
    EXPECT_EQ(order[1], QStringLiteral("Loading Folder \"Archive\""));
    EXPECT_EQ(order[2], QStringLiteral("Loading Folder \"Inbox\""));
    for (const int count : reads(s->folder(QStringLiteral("Inbox")))) {
        ASSERT_EQ(count, 1);
    }
    EXPECT_EQ(reads(archive), std::vector<int>(30, 1));
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 500);
    // Every item reached the cache, in the folder's order.
    const auto& cache = record(QStringLiteral("Inbox")).ItemCache;
    for (std::size_t i = 0; i < cache.size(); ++i) {
        ASSERT_EQ(cache[i].EntryID, s->folder(QStringLiteral("Inbox"))->items[i]->entryID);
    }
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("All Folders Loaded")});
}

TEST_F(ItemCache, SelectingAnAlreadyLoadedFolderDoesNotInterrupt) {
    auto s = storeWithInbox(300);
    open({s});
    // The store's top folder holds no items, so it counts as loaded from the start.
    yield.when([&] { return s->folder(QStringLiteral("Inbox"))->items[149]->fetched == 1; },
               [&] {
                   ASSERT_TRUE(logic.records[1].Loaded);
                   logic.tree.select(1);
               });
    bool brokenOff = false;
    yield.onEvery = [&] {
        const int cached = record(QStringLiteral("Inbox")).CachedCount;
        // A break leaves the count at the item reached; batches only ever leave hundreds.
        brokenOff = brokenOff || cached % 100 != 0;
    };
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_FALSE(brokenOff);
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 300);
    for (const auto& item : s->folder(QStringLiteral("Inbox"))->items) {
        ASSERT_EQ(item->fetched, 1);
    }
}

TEST_F(ItemCache, AnItemArrivingBetweenSizingAndReadingGrowsTheCacheByOne) {
    auto s = storeWithInbox(5);
    open({s});
    // The folder's status is shown after sizing and before the count is read again.
    yield.when([&] { return loading(QStringLiteral("Inbox")); },
               [&] { s->addItem(s->folder(QStringLiteral("Inbox")), {}); });
    ASSERT_TRUE(logic.Form_Load());
    const FolderData& inbox = record(QStringLiteral("Inbox"));
    EXPECT_EQ(inbox.ItemCache.size(), 6u);
    EXPECT_EQ(inbox.CachedCount, 6);
    EXPECT_EQ(logic.grid.Rows() - 1, 6);
    EXPECT_EQ(logic.tree.node(node(QStringLiteral("Inbox"))).Text, QStringLiteral("Inbox - (6)"));
}

TEST_F(ItemCache, ItemsGoneBetweenSizingAndReadingLeaveNoEmptyRecordsBehind) {
    auto s = storeWithInbox(5);
    open({s});
    yield.when([&] { return loading(QStringLiteral("Inbox")); },
               [&] { s->folder(QStringLiteral("Inbox"))->items.resize(3); });
    ASSERT_TRUE(logic.Form_Load());
    const FolderData& inbox = record(QStringLiteral("Inbox"));
    EXPECT_EQ(inbox.CachedCount, 3);
    EXPECT_EQ(inbox.ItemCache.size(), 3u);
    EXPECT_EQ(logic.grid.Rows() - 1, 3);
    for (const ItemData& item : inbox.ItemCache) {
        EXPECT_FALSE(item.EntryID.isEmpty());
    }
}

TEST_F(ItemCache, AnItemArrivingWhileTheFolderIsReadWaitsForTheNextLoad) {
    auto s = storeWithInbox(5);
    open({s});
    yield.when(
        [&] {
            return record(QStringLiteral("Inbox")).ItemCache.size() == 5 &&
                   s->folder(QStringLiteral("Inbox"))->items[2]->fetched == 1;
        },
        [&] { s->addItem(s->folder(QStringLiteral("Inbox")), {}); });
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 5);
    EXPECT_TRUE(record(QStringLiteral("Inbox")).Loaded);
    EXPECT_EQ(s->folder(QStringLiteral("Inbox"))->items[5]->fetched, 0);
}

TEST_F(ItemCache, AFolderBrokenOffAfterItsLastItemStillShowsThatBatch) {
    auto s = storeWithInbox(250);
    const auto archive = s->addFolder(s->top(), QStringLiteral("Archive"));
    s->addItems(archive, 3);
    open({s});
    // Broken off at the yield after its very last item, before the last 50 rows were handed
    // over; then the user goes straight back to it.
    yield.when([&] { return s->folder(QStringLiteral("Inbox"))->items[249]->fetched == 1; },
               [&] { logic.tree.select(node(QStringLiteral("Archive"))); });
    yield.when([&] { return loading(QStringLiteral("Archive")); },
               [&] { logic.tree.select(node(QStringLiteral("Inbox"))); });
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 250);
    EXPECT_EQ(logic.grid.Rows() - 1, 250);
    EXPECT_EQ(s->folder(QStringLiteral("Inbox"))->items[249]->fetched, 1);
}

TEST_F(ItemCache, QuitWhileLoadingLeavesAtOnce) {
    open({storeWithInbox(300)});
    yield.when([&] { return record(QStringLiteral("Inbox")).CachedCount == 100; },
               [&] {
                   prompter.answer(Prompter::Yes);
                   logic.mnuQuit_Click();
               });
    shell.onUnloadMain = [&] { logic.Form_Unload(); };
    logic.Form_Load();
    EXPECT_LT(record(QStringLiteral("Inbox")).CachedCount, 300);
    EXPECT_FALSE(logic.flags.AllFoldersCached);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("Quit Tidyfold?")});
}

TEST_F(ItemCache, RefreshCurrentReloadsTheFolderAndShowsItUnloadedUntilThen) {
    auto s = storeWithInbox(10);
    open({s});
    ASSERT_TRUE(logic.Form_Load());
    const int inbox = node(QStringLiteral("Inbox"));
    s->addItems(s->folder(QStringLiteral("Inbox")), 2);
    s->folder(QStringLiteral("Inbox"))->items[0]->spec.subject = QStringLiteral("Changed");

    std::vector<ColorRef> coloursWhileLoading;
    yield.onEvery = [&] { coloursWhileLoading.push_back(logic.tree.node(inbox).ForeColor); };
    logic.mnuRefreshCurrent_Click();

    ASSERT_FALSE(coloursWhileLoading.empty());
    EXPECT_EQ(coloursWhileLoading.front(), logic.colours.unloaded);
    EXPECT_EQ(logic.tree.node(inbox).ForeColor, logic.colours.loaded);
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 12);
    EXPECT_EQ(logic.grid.Rows() - 1, 12);
    EXPECT_TRUE(
        column(columnHeaded(QStringLiteral("Subject"))).contains(QStringLiteral("Changed")));
    EXPECT_FALSE(record(QStringLiteral("Inbox")).Reload);
}

TEST_F(ItemCache, RefreshCurrentDuringTheFoldersOwnLoadReadsItAgainFromTheStart) {
    auto s = storeWithInbox(300);
    open({s});
    bool pressed = false;
    yield.when([&] { return record(QStringLiteral("Inbox")).CachedCount == 100; },
               [&] {
                   s->folder(QStringLiteral("Inbox"))->items[0]->spec.subject =
                       QStringLiteral("Changed");
                   logic.mnuRefreshCurrent_Click();
                   pressed = true;
               });
    ASSERT_TRUE(logic.Form_Load());
    ASSERT_TRUE(pressed);
    const FolderData& inbox = record(QStringLiteral("Inbox"));
    EXPECT_EQ(inbox.CachedCount, 300);
    EXPECT_EQ(inbox.ItemCache[0].Subject, QStringLiteral("Changed"));
    EXPECT_EQ(logic.grid.Rows() - 1, 300);
    // The first hundred were read twice, once for each load; nothing else.
    EXPECT_EQ(s->folder(QStringLiteral("Inbox"))->items[0]->fetched, 2);
    EXPECT_EQ(s->folder(QStringLiteral("Inbox"))->items[299]->fetched, 1);
}

TEST_F(ItemCache, AMarkedFolderReloadedAfterItShrankKeepsNoStaleItems) {
    auto s = storeWithInbox(3);
    const auto archive = s->addFolder(s->top(), QStringLiteral("Archive"));
    s->addItems(archive, 10);
    open({s});
    ASSERT_TRUE(logic.Form_Load());
    mark(QStringLiteral("Archive"));
    archive->items.resize(6);
    // Reset while the Inbox stays selected: the marked folder is then loaded as a marked
    // folder, not through the selected folder's status check.
    record(QStringLiteral("Archive")).Reload = true;
    logic.reload.Reload_Marked_Folders();
    logic.cache.Cache_Folder_Items();
    const FolderData& reloaded = record(QStringLiteral("Archive"));
    EXPECT_EQ(reloaded.CachedCount, 6);
    EXPECT_EQ(reloaded.ItemCache.size(), 6u);
    EXPECT_TRUE(reloaded.Loaded);
}

TEST_F(ItemCache, RefreshCurrentOnTheVirtualRootOnlyRestartsLoading) {
    open({storeWithInbox(3, QStringLiteral("One"), QStringLiteral("S1")),
          storeWithInbox(4, QStringLiteral("Two"), QStringLiteral("S2"))});
    ASSERT_TRUE(logic.Form_Load());
    const int rows = logic.grid.Rows();
    logic.tree.select(1);
    logic.mnuRefreshCurrent_Click();
    EXPECT_EQ(logic.grid.Rows(), rows);
    for (int n = 1; n <= logic.tree.count(); ++n) {
        EXPECT_TRUE(logic.records[n].Loaded) << n;
    }
}

// Items of each class with the dates they carry.
class ItemDates : public ::testing::Test {
  protected:
    OleDate dateOf(const ItemFields& fields) {
        auto s = MemoryStore::create(QStringLiteral("S"), QStringLiteral("S"));
        const auto item = s->addItem(s->top(), fields);
        return Get_Item_Date(*s->wrap(item, s->top()));
    }
    static OleDate at(int y, int m, int d, double hours = 0) {
        return dateSerial(y, m, d) + hours / 24.0;
    }
};

TEST_F(ItemDates, EachClassIsDatedByItsOwnPropertyWithoutTheTimeOfDay) {
    ItemFields mail;
    mail.received = at(2003, 6, 30, 23.5);
    mail.modified = at(2010, 1, 1);
    EXPECT_EQ(dateOf(mail), at(2003, 6, 30));

    ItemFields meeting = mail;
    meeting.itemClass = outlook::olMeetingRequest;
    EXPECT_EQ(dateOf(meeting), at(2003, 6, 30));

    ItemFields appointment;
    appointment.itemClass = outlook::olAppointment;
    appointment.end = at(2004, 2, 29, 9);
    appointment.modified = at(2010, 1, 1);
    EXPECT_EQ(dateOf(appointment), at(2004, 2, 29));

    ItemFields contact;
    contact.itemClass = outlook::olContact;
    contact.modified = at(2001, 12, 31, 12);
    EXPECT_EQ(dateOf(contact), at(2001, 12, 31));
}

TEST_F(ItemDates, ATaskTakesTheLatestOfItsDatesAndTheEmptyDateGivesWay) {
    ItemFields task;
    task.itemClass = outlook::olTask;
    task.modified = at(2003, 4, 1);
    task.completed = at(2003, 5, 2);
    EXPECT_EQ(dateOf(task), at(2003, 5, 2));

    task.due = at(2003, 7, 1);
    EXPECT_EQ(dateOf(task), at(2003, 7, 1));

    task.completed = kNoDate;
    task.due = kNoDate;
    EXPECT_EQ(dateOf(task), at(2003, 4, 1));

    task.modified = kNoDate;
    EXPECT_EQ(dateOf(task), kNoDate);
    EXPECT_EQ(laterDate(kNoDate + 0.5, at(2000, 1, 1)), at(2000, 1, 1));
}

TEST_F(ItemCache, AMailKeepsItsSenderAndOtherItemsTheStartOfTheirText) {
    auto s = MemoryStore::withDefaultFolders(QStringLiteral("P"), QStringLiteral("S"));
    ItemFields mail;
    mail.sender = QStringLiteral("Ann Jensen");
    mail.body = QString();
    s->addItem(s->folder(QStringLiteral("Inbox")), mail);
    ItemFields note;
    note.itemClass = outlook::olNote;
    note.body = QStringLiteral("Buy milk, eggs, bread and coffee on the way home");
    note.unread = true;
    s->addItem(s->folder(QStringLiteral("Notes")), note);
    open({s});
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_EQ(record(QStringLiteral("Inbox")).ItemCache[0].SenderOrText,
              QStringLiteral("Ann Jensen"));
    const ItemData& cached = record(QStringLiteral("Notes")).ItemCache[0];
    EXPECT_EQ(cached.SenderOrText, QStringLiteral("Buy milk, eggs, brea"));
    EXPECT_EQ(cached.ItemClass, outlook::olNote);
    EXPECT_EQ(cached.Unread, -1);
}

TEST(PackItemsArray, ClosesTheHolesKeepsTheOrderAndTheArraysSize) {
    FolderData record;
    for (int i = 1; i <= 8; ++i) {
        ItemData item;
        item.ItemClass = 43;
        item.EntryID = QString::number(i);
        record.ItemCache.push_back(item);
    }
    record.CachedCount = 6;  // items 7 and 8 are not read yet
    record.GridCount = 6;
    for (const int hole : {1, 3, 4}) {
        record.ItemCache[static_cast<std::size_t>(hole - 1)].ItemClass = ItemData::kHole;
    }
    Pack_Items_Array(record);
    EXPECT_EQ(record.CachedCount, 3);
    EXPECT_EQ(record.GridCount, 3);
    ASSERT_EQ(record.ItemCache.size(), 8u);
    QStringList kept;
    for (int i = 0; i < 3; ++i) {
        kept << record.ItemCache[static_cast<std::size_t>(i)].EntryID;
    }
    EXPECT_EQ(kept, (QStringList{QStringLiteral("2"), QStringLiteral("5"), QStringLiteral("6")}));
    for (int i = 3; i < 6; ++i) {
        EXPECT_TRUE(record.ItemCache[static_cast<std::size_t>(i)].isHole()) << i;
    }
    EXPECT_EQ(record.ItemCache[6].EntryID, QStringLiteral("7"));

    FolderData noHoles = record;
    noHoles.CachedCount = 3;
    Pack_Items_Array(noHoles);
    EXPECT_EQ(noHoles.CachedCount, 3);
}

}  // namespace
}  // namespace tf::testing
