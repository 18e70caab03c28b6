// Which properties each item class carries, the sender through the MAPI object, and what the
// item window is given.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <functional>
#include <map>
#include <set>

#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/item_window.h"
#include "outlook/mapi_utils.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"

namespace tf::store::local {
namespace {

using outlook::FolderPtr;
using outlook::ItemPtr;

void forEachItem(const FolderPtr& folder, const std::function<void(const ItemPtr&)>& visit) {
    auto items = folder->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        visit(items->Item(i));
    }
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        forEachItem(folders->Item(i), visit);
    }
}

class ItemProperties : public ::testing::Test {
  protected:
    void SetUp() override {
        SampleOptions options;
        options.items = 400;
        options.seed = 7;
        writeSampleStoreFile(dir_.filePath(QStringLiteral("s.tfs")), options);
        store_ = openLocalStores(dir_.filePath(QStringLiteral("s.tfs"))).at(0);
        forEachItem(store_->TopFolder(),
                    [this](const ItemPtr& item) { byClass_.emplace(item->Class(), item); });
    }

    QTemporaryDir dir_;
    outlook::StorePtr store_;
    std::multimap<long, ItemPtr> byClass_;
};

bool supported(const std::function<void()>& read) {
    try {
        read();
        return true;
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.number(), err::kNotSupported);
        EXPECT_EQ(failure.description(),
                  QStringLiteral("Object doesn't support this property or method"));
        return false;
    }
}

TEST_F(ItemProperties, EachClassCarriesItsOwnDates) {
    const std::set<long> received = {43, 45, 46, 53, 54, 55, 56, 57};
    const std::set<long> taskDates = {48, 49, 50, 51, 52};
    const std::set<long> end = {26, 42};
    const std::set<long> all = {26, 40, 42, 43, 44, 45, 46, 48, 49,
                                50, 51, 52, 53, 54, 55, 56, 57, 69};
    for (long c : all) {
        auto range = byClass_.equal_range(c);
        ASSERT_NE(range.first, range.second) << "no item of class " << c;
        for (auto it = range.first; it != range.second; ++it) {
            const ItemPtr& item = it->second;
            SCOPED_TRACE(c);
            EXPECT_EQ(supported([&] { item->ReceivedTime(); }), received.count(c) == 1);
            EXPECT_EQ(supported([&] { item->DueDate(); }), taskDates.count(c) == 1);
            EXPECT_EQ(supported([&] { item->DateCompleted(); }), taskDates.count(c) == 1);
            EXPECT_EQ(supported([&] { item->End(); }), end.count(c) == 1);
            EXPECT_FALSE(isNoDate(item->LastModificationTime()));
            if (received.count(c) == 1) {
                EXPECT_FALSE(isNoDate(item->ReceivedTime()));
            }
        }
    }
}

TEST_F(ItemProperties, TasksWithoutDatesGiveTheNoDateValue) {
    int withoutDue = 0;
    int withDue = 0;
    int completed = 0;
    auto range = byClass_.equal_range(outlook::olTask);
    for (auto it = range.first; it != range.second; ++it) {
        const OleDate due = it->second->DueDate();
        (isNoDate(due) ? withoutDue : withDue) += 1;
        if (isNoDate(due)) {
            EXPECT_EQ(due, kNoDate);
        }
        completed += isNoDate(it->second->DateCompleted()) ? 0 : 1;
    }
    EXPECT_GT(withoutDue, 0);
    EXPECT_GT(withDue, 0);
    EXPECT_GT(completed, 0);
}

TEST_F(ItemProperties, SenderComesFromTheMapiObjectOfMessagesOnly) {
    const outlook::TidyMAPIUtils utils;
    for (const auto& [c, item] : byClass_) {
        auto mapi = item->MAPIOBJECT();
        const QString sender = utils.HrGetOneProp(mapi, outlook::PR_SENDER_NAME);
        EXPECT_EQ(utils.HrGetOneProp(mapi, 0x0C1A001F), sender);
        const bool message = c == 43 || c == 45 || c == 46 || (c >= 49 && c <= 57);
        EXPECT_EQ(!sender.isEmpty(), message) << "class " << c;
        EXPECT_EQ(mapi->property(outlook::PR_SENDER_NAME).has_value(), message);
        EXPECT_EQ(utils.HrGetOneProp(mapi, 0x0C1A0003), QString());
    }
}

class RecordingWindow : public outlook::ItemWindow {
  public:
    void show(const outlook::ItemContent& content) override { shown.push_back(content); }
    std::vector<outlook::ItemContent> shown;
};

QString field(const outlook::ItemContent& content, const QString& label) {
    for (const auto& [name, value] : content.fields) {
        if (name == label) {
            return value;
        }
    }
    return QStringLiteral("<none>");
}

TEST_F(ItemProperties, DisplayHandsTheItemsFieldsToTheItemWindow) {
    RecordingWindow window;
    const ItemPtr mail = byClass_.find(outlook::olMail)->second;
    const ItemPtr task = byClass_.find(outlook::olTask)->second;
    const ItemPtr contact = byClass_.find(outlook::olContact)->second;
    mail->Display(window);
    task->Display(window);
    contact->Display(window);
    ASSERT_EQ(window.shown.size(), 3u);

    const outlook::ItemContent& m = window.shown[0];
    EXPECT_EQ(field(m, QStringLiteral("From")),
              outlook::TidyMAPIUtils().HrGetOneProp(mail->MAPIOBJECT(), outlook::PR_SENDER_NAME));
    EXPECT_EQ(field(m, QStringLiteral("Subject")), mail->Subject());
    EXPECT_TRUE(field(m, QStringLiteral("Received")).startsWith(formatDate(mail->ReceivedTime())));
    EXPECT_EQ(m.body, mail->Body());
    EXPECT_TRUE(m.caption.contains(QStringLiteral("Message")));

    EXPECT_EQ(field(window.shown[1], QStringLiteral("From")), QStringLiteral("<none>"));
    EXPECT_NE(field(window.shown[1], QStringLiteral("Due")), QStringLiteral("<none>"));
    EXPECT_EQ(field(window.shown[2], QStringLiteral("Name")), contact->Subject());
    EXPECT_EQ(field(window.shown[2], QStringLiteral("Received")), QStringLiteral("<none>"));
}

}  // namespace
}  // namespace tf::store::local
