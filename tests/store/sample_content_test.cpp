// What the sample content generator writes.
#include "store/local/sample_content.h"

#include <gtest/gtest.h>

#include <QSet>
#include <QTemporaryDir>
#include <functional>

#include "outlook/constants.h"
#include "outlook/mapi_utils.h"
#include "store/local/local_store.h"

namespace tf::store::local {
namespace {

using outlook::FolderPtr;

// One line per item: where it lies and what it holds; ids left out, as they differ per file.
QStringList describe(const FolderPtr& folder, const QString& path) {
    QStringList lines;
    const outlook::TidyMAPIUtils utils;
    auto items = folder->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        auto item = items->Item(i);
        lines << QStringLiteral("%1|%2|%3|%4|%5|%6|%7")
                     .arg(path)
                     .arg(item->Class())
                     .arg(item->Subject(),
                          utils.HrGetOneProp(item->MAPIOBJECT(), outlook::PR_SENDER_NAME))
                     .arg(item->LastModificationTime(), 0, 'f', 6)
                     .arg(item->UnRead())
                     .arg(item->Body());
    }
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        FolderPtr f = folders->Item(i);
        lines << describe(f, path + QLatin1Char('/') + f->Name());
    }
    return lines;
}

class SampleContent : public ::testing::Test {
  protected:
    QStringList write(const QString& name, quint64 seed, int stores = 1, qint64 items = -1) {
        SampleOptions options;
        options.seed = seed;
        options.stores = stores;
        options.items = items;
        options.now = now_;
        const QString path = dir_.filePath(name);
        writeSampleStoreFile(path, options);
        EXPECT_EQ(checkStoreFile(path), QStringList());
        QStringList lines;
        for (const auto& store : openLocalStores(path)) {
            lines << describe(store->TopFolder(), store->TopFolder()->Name());
        }
        return lines;
    }

    QTemporaryDir dir_;
    const QDateTime now_{QDate(2024, 6, 15), QTime(12, 0)};
};

TEST_F(SampleContent, StoresHaveTheStandardFoldersAndNestedFoldersOfTheUser) {
    write(QStringLiteral("a.tfs"), 1, 3);
    auto stores = openLocalStores(dir_.filePath(QStringLiteral("a.tfs")));
    ASSERT_EQ(stores.size(), 3u);
    EXPECT_EQ(stores[0]->TopFolder()->Name(), QStringLiteral("Personal Folders"));
    EXPECT_EQ(stores[1]->TopFolder()->Name(), QStringLiteral("Archive Folders"));
    EXPECT_NE(stores[0]->StoreID(), stores[1]->StoreID());
    EXPECT_NE(stores[1]->StoreID(), stores[2]->StoreID());

    const struct {
        long type;
        const char* name;
        long itemType;
    } standard[] = {{9, "Calendar", 1}, {10, "Contacts", 2}, {3, "Deleted Items", 0},
                    {16, "Drafts", 0},  {6, "Inbox", 0},     {11, "Journal", 4},
                    {12, "Notes", 5},   {4, "Outbox", 0},    {5, "Sent Items", 0},
                    {13, "Tasks", 3}};
    for (const auto& store : stores) {
        QStringList topNames;
        auto top = store->TopFolder()->Folders();
        for (long i = 1; i <= top->Count(); ++i) {
            topNames << top->Item(i)->Name();
        }
        for (const auto& s : standard) {
            FolderPtr f = store->GetDefaultFolder(s.type);
            EXPECT_EQ(f->Name(), QString::fromLatin1(s.name));
            EXPECT_EQ(f->DefaultItemType(), s.itemType) << s.name;
            EXPECT_EQ(f->Parent()->EntryID(), store->TopFolder()->EntryID());
            EXPECT_TRUE(topNames.contains(QString::fromLatin1(s.name)));
        }
        EXPECT_TRUE(topNames.contains(QStringLiteral("Archive")));
        EXPECT_GT(store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 0);
    }
}

TEST_F(SampleContent, ContentCoversEveryClassAndTenYears) {
    const QStringList lines = write(QStringLiteral("b.tfs"), 3, 2);
    EXPECT_EQ(lines.size(), 2 * kDefaultItemsPerStore);
    QSet<long> classes;
    QSet<QString> paths;
    bool nonAscii = false;
    bool emptySubject = false;
    int unread = 0;
    double oldest = 1e9;
    double newest = 0;
    const double now = toOleDate(now_);
    for (const QString& line : lines) {
        const QStringList parts = line.split(QLatin1Char('|'));
        paths.insert(parts[0]);
        classes.insert(parts[1].toLong());
        emptySubject |= parts[2].isEmpty();
        for (QChar ch : parts[3]) {
            nonAscii |= ch.unicode() > 127;
        }
        unread += parts[5] == QLatin1String("1") ? 1 : 0;
        const double modified = parts[4].toDouble();
        oldest = std::min(oldest, modified);
        newest = std::max(newest, modified);
    }
    EXPECT_EQ(classes,
              (QSet<long>{26, 40, 42, 43, 44, 45, 46, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 69}));
    EXPECT_TRUE(paths.contains(QStringLiteral("Personal Folders/Archive/Old Mail/Inbox")));
    EXPECT_TRUE(paths.contains(QStringLiteral("Archive Folders/Inbox/Projects/Apollo")));
    EXPECT_TRUE(paths.contains(QStringLiteral("Personal Folders/Inbox/Receipts")));
    EXPECT_TRUE(nonAscii);
    EXPECT_TRUE(emptySubject);
    EXPECT_GT(unread, 0);
    EXPECT_LT(unread, lines.size());
    EXPECT_LT(oldest, now - 9 * 365);
    EXPECT_GT(oldest, now - 3651);
    EXPECT_GT(newest, now - 365);
    EXPECT_LE(newest, now + 1);
}

TEST_F(SampleContent, TheSeedDecidesTheContent) {
    const QStringList first = write(QStringLiteral("c1.tfs"), 11, 1, 250);
    const QStringList again = write(QStringLiteral("c2.tfs"), 11, 1, 250);
    const QStringList other = write(QStringLiteral("c3.tfs"), 12, 1, 250);
    EXPECT_EQ(first.size(), 250);
    EXPECT_EQ(first, again);
    EXPECT_NE(first, other);
    EXPECT_EQ(write(QStringLiteral("c4.tfs"), 11, 1, 0).size(), 0);
}

}  // namespace
}  // namespace tf::store::local
