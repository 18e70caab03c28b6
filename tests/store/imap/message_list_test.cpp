// One folder's message rows: positions, lookups by EntryID and removals stay consistent however
// the room for the rows was made.
#include "store/imap/message_list.h"

#include <gtest/gtest.h>

#include <vector>

namespace tf::store::imap {
namespace {

MessageRow row(int n) {
    MessageRow out;
    out.uid = static_cast<std::uint32_t>(n);
    out.id = QStringLiteral("id-%1").arg(n);
    out.subject = QStringLiteral("Report %1").arg(n);
    return out;
}

// Every position names the row the plain vector `expected` has there, and every row's position
// is found back from its EntryID.
void expectSame(const MessageList& list, const std::vector<int>& expected) {
    ASSERT_EQ(list.count(), static_cast<long>(expected.size()));
    for (std::size_t p = 0; p < expected.size(); ++p) {
        const QString id = QStringLiteral("id-%1").arg(expected[p]);
        ASSERT_EQ(list.at(static_cast<long>(p)).id, id) << "at " << p;
        ASSERT_EQ(list.positionOf(id), static_cast<long>(p));
        ASSERT_NE(list.find(id), nullptr);
    }
}

TEST(MessageList, RowsAddedIntoReservedRoomAndBeyondKeepTheirPositions) {
    for (const std::size_t room : {std::size_t{0}, std::size_t{1}, std::size_t{500}}) {
        MessageList list;
        list.reserve(room);
        std::vector<int> expected;
        // Exactly the room, then past it, so both the reserved and the grown list are used.
        for (int n = 1; n <= 700; ++n) {
            list.append(row(n));
            expected.push_back(n);
        }
        expectSame(list, expected);
        // Every third removed, from the middle outwards in no particular order.
        for (int n = 699; n >= 3; n -= 3) {
            list.erase(QStringLiteral("id-%1").arg(n));
            std::erase(expected, n);
        }
        expectSame(list, expected);
        EXPECT_EQ(list.find(QStringLiteral("id-3")), nullptr);
        EXPECT_EQ(list.positionOf(QStringLiteral("id-3")), -1);
        // Rows added after removals go to the end.
        list.append(row(1000));
        expected.push_back(1000);
        expectSame(list, expected);
    }
}

TEST(MessageList, ReservingLessThanItHoldsOrAfterClearingChangesNothingItHolds) {
    MessageList list;
    std::vector<int> expected;
    for (int n = 1; n <= 50; ++n) {
        list.append(row(n));
        expected.push_back(n);
    }
    list.reserve(10);
    expectSame(list, expected);
    list.reserve(5000);
    expectSame(list, expected);
    list.clear();
    list.reserve(20);
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(list.find(QStringLiteral("id-1")), nullptr);
    list.append(row(7));
    expectSame(list, {7});
}

TEST(MessageList, AnEntryIdIsListedOnce) {
    MessageList list;
    list.reserve(2);
    list.append(row(1));
    list.append(row(1));
    list.append(row(2));
    expectSame(list, {1, 2});
}

}  // namespace
}  // namespace tf::store::imap
