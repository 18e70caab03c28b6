// How file and folder names of a Maildir++ tree are read, and the order a folder's index keeps.
#include "store/maildir/maildir_names.h"

#include <gtest/gtest.h>

#include <random>

#include "store/maildir/message_index.h"
#include "tests/support/qt_printers.h"

namespace tf::store::maildir {
namespace {

TEST(MaildirNames, TheUniquePartIsEverythingBeforeTheInfo) {
    EXPECT_EQ(splitMessageName("1700000000.M1P2Q3.host:2,RS").unique, "1700000000.M1P2Q3.host");
    EXPECT_EQ(splitMessageName("1700000000.M1P2Q3.host:2,RS").info, ":2,RS");
    EXPECT_EQ(splitMessageName("1700000000.M1P2Q3.host").info, "");
    // A colon that does not start the info belongs to the name.
    EXPECT_EQ(splitMessageName("a:b:2,S").unique, "a:b");
    EXPECT_EQ(splitMessageName("a:b").unique, "a:b");
}

TEST(MaildirNames, EveryNameHasAnEntryIdThatLeadsBackToIt) {
    EXPECT_EQ(entryIdOf("1700000000.M1P2Q3.host"), QStringLiteral("1700000000.M1P2Q3.host"));
    EXPECT_EQ(entryIdOf("1700000000.caf\xc3\xa9"), QStringLiteral("1700000000.café"));
    for (const std::string name : {"1700000000.M1P2Q3.host,S=1234", "1700000000.caf\xc3\xa9",
                                   "latin1-caf\xe9", "100%.host", "%41", "bad\xff\xfe", ""}) {
        EXPECT_EQ(uniqueOf(entryIdOf(name)), name) << name;
    }
    EXPECT_NE(entryIdOf("%41"), entryIdOf("A"));
    EXPECT_NE(entryIdOf("latin1-caf\xe9"), entryIdOf("latin1-caf\xc3\xa9"));
}

TEST(MaildirNames, OnlyTheSFlagOfAVersionTwoInfoMeansSeen) {
    EXPECT_TRUE(isSeen(":2,S"));
    EXPECT_TRUE(isSeen(":2,FRS"));
    EXPECT_FALSE(isSeen(":2,"));
    EXPECT_FALSE(isSeen(":2,FR"));
    EXPECT_FALSE(isSeen(""));
    EXPECT_FALSE(isSeen(":1,S"));
}

TEST(MaildirNames, DeliveryOrderFollowsTheTimeInTheNameThenTheName) {
    EXPECT_EQ(deliveryMicros("1700000000.M250P7Q1.host"), 1700000000LL * 1000000 + 250);
    EXPECT_EQ(deliveryMicros("1700000000.12345_1.host"), 1700000000LL * 1000000);
    EXPECT_EQ(deliveryMicros("1700000000"), 1700000000LL * 1000000);
    EXPECT_FALSE(deliveryMicros("msg-17.host"));
    EXPECT_FALSE(deliveryMicros("17x.host"));
    EXPECT_FALSE(deliveryMicros("99999999999999999999.host"));

    // Numeric, not textual: 999 seconds came before 1000.
    EXPECT_TRUE(deliveredBefore("999.M1P1.host", "1000.M1P1.host"));
    EXPECT_TRUE(deliveredBefore("1000.M9P1.host", "1000.M10P1.host"));
    EXPECT_FALSE(deliveredBefore("1000.M10P1.host", "1000.M9P1.host"));
    // Untimed names come last; ties are broken by the name.
    EXPECT_TRUE(deliveredBefore("5000.host", "abc"));
    EXPECT_TRUE(deliveredBefore("abc", "abd"));
    EXPECT_FALSE(deliveredBefore("abc", "abc"));
}

TEST(MaildirNames, FolderDirectoriesNameAPathAndOddNamesAreNoFolders) {
    EXPECT_EQ(folderPathOf(".Projects"), QStringList{QStringLiteral("Projects")});
    EXPECT_EQ(folderPathOf(".Projects.2024.v1.5"),
              (QStringList{QStringLiteral("Projects"), QStringLiteral("2024"), QStringLiteral("v1"),
                           QStringLiteral("5")}));
    for (const char* odd :
         {"cur", "new", "tmp", ".", "..", "...", "..evil", ".a..b", ".a.", "Projects", ""}) {
        EXPECT_FALSE(folderPathOf(odd)) << odd;
    }
}

TEST(MaildirNames, ModifiedUtf7NamesAreShownDecoded) {
    EXPECT_EQ(decodeFolderName("Entw&APw-rfe"), QStringLiteral("Entwürfe"));
    EXPECT_EQ(decodeFolderName("Tom &- Jerry"), QStringLiteral("Tom & Jerry"));
    EXPECT_EQ(decodeFolderName("&ZeVnLIqe-"), QStringLiteral("日本語"));
    EXPECT_EQ(decodeFolderName("Caf\xc3\xa9"), QStringLiteral("Café"));
    // Not modified UTF-7 after all: shown as it stands.
    EXPECT_EQ(decodeFolderName("R&D"), QStringLiteral("R&D"));
    EXPECT_EQ(decodeFolderName("x&!!-y"), QStringLiteral("x&!!-y"));
}

std::vector<std::string> order(MessageIndex& index) {
    std::vector<std::string> names;
    for (long i = 0; i < index.count(); ++i) {
        names.push_back(index.at(i).unique);
    }
    return names;
}

IndexEntry entry(const std::string& unique, const std::string& info = {}) {
    IndexEntry out;
    out.unique = unique;
    out.info = info;
    return out;
}

std::vector<IndexEntry> listing(std::initializer_list<const char*> names) {
    std::vector<IndexEntry> out;
    for (const char* name : names) {
        out.push_back(entry(name, ":2,"));
    }
    return out;
}

TEST(MessageIndex, AFirstListingIsSortedByDelivery) {
    MessageIndex index;
    index.merge(listing({"300.a", "untimed", "100.b", "200.c"}));
    EXPECT_EQ(order(index), (std::vector<std::string>{"100.b", "200.c", "300.a", "untimed"}));
}

TEST(MessageIndex, RemovalsAnywhereKeepTheOrderOfTheRest) {
    MessageIndex index;
    index.merge(listing({"1.a", "2.b", "3.c", "4.d", "5.e", "6.f"}));
    index.erase("1.a");  // the head
    index.erase("6.f");  // the tail
    index.erase("3.c");  // a hole
    index.erase("nope");
    EXPECT_EQ(index.count(), 3);
    EXPECT_EQ(order(index), (std::vector<std::string>{"2.b", "4.d", "5.e"}));
    EXPECT_EQ(index.find("3.c"), nullptr);
    ASSERT_NE(index.find("4.d"), nullptr);
    index.erase("4.d");
    index.append(entry("0.moved-in"));
    EXPECT_EQ(order(index), (std::vector<std::string>{"2.b", "5.e", "0.moved-in"}));
    index.erase("2.b");
    index.erase("5.e");
    index.erase("0.moved-in");
    EXPECT_EQ(index.count(), 0);
    index.append(entry("9.z"));
    EXPECT_EQ(order(index), std::vector<std::string>{"9.z"});
}

TEST(MessageIndex, ARescanKeepsKnownPlacesAddsArrivalsAtTheEndAndDropsTheVanished) {
    MessageIndex index;
    index.merge(listing({"1.a", "2.b", "3.c"}));
    index.append(entry("0.moved-in", ":2,"));
    // Another program: 2.b gone, 1.a read (its flags changed), two deliveries.
    std::vector<IndexEntry> now = listing({"0.moved-in", "3.c", "5.new", "4.new"});
    now.push_back(entry("1.a", ":2,S"));
    index.merge(now);
    EXPECT_EQ(order(index),
              (std::vector<std::string>{"1.a", "3.c", "0.moved-in", "4.new", "5.new"}));
    EXPECT_EQ(index.find("1.a")->info, ":2,S");
    EXPECT_EQ(index.find("2.b"), nullptr);
}

TEST(MessageIndex, PositionsStayRightThroughThousandsOfRandomChanges) {
    MessageIndex index;
    std::vector<std::string> expected;
    std::mt19937 random(11);
    int next = 0;
    auto name = [&next] { return std::to_string(1000000 + next++) + ".host"; };
    for (int i = 0; i < 6000; ++i) {
        expected.push_back(name());
        index.append(entry(expected.back()));
    }
    for (int step = 0; step < 20000; ++step) {
        const unsigned action = random() % 10;
        if (action < 6 && !expected.empty()) {
            const std::size_t at = random() % expected.size();
            index.erase(expected[at]);
            expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(at));
        } else {
            expected.push_back(name());
            index.append(entry(expected.back()));
        }
        if (step % 1000 == 0 || expected.size() < 3) {
            ASSERT_EQ(order(index), expected) << "step " << step;
        }
    }
    ASSERT_EQ(order(index), expected);
    for (const std::string& each : expected) {
        ASSERT_NE(index.find(each), nullptr);
    }
}

}  // namespace
}  // namespace tf::store::maildir
