// The object model's behaviour that every backend shares, written against the interfaces only.
#include <QSet>
#include <QStringList>
#include <functional>

#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/item_window.h"
#include "outlook/mapi_utils.h"
#include "tests/conformance/backend.h"

namespace tf::conformance {

namespace {

using outlook::FolderPtr;
using outlook::ItemPtr;
using outlook::StorePtr;

QDateTime at(int year, int month, int day, int hour = 9) {
    return QDateTime(QDate(year, month, day), QTime(hour, 30));
}

FolderPtr child(const FolderPtr& parent, const QString& name) {
    auto folders = parent->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        FolderPtr f = folders->Item(i);
        if (f->Name() == name) {
            return f;
        }
    }
    return nullptr;
}

FolderPtr folderAt(const StorePtr& store, const QString& path) {
    FolderPtr f = store->TopFolder();
    for (const QString& name : path.split(QLatin1Char('/'))) {
        f = child(f, name);
        if (!f) {
            return nullptr;
        }
    }
    return f;
}

QStringList subjects(const FolderPtr& folder) {
    QStringList out;
    auto items = folder->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        out << items->Item(i)->Subject();
    }
    return out;
}

QStringList entryIds(const FolderPtr& folder) {
    QStringList out;
    auto items = folder->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        out << items->Item(i)->EntryID();
    }
    return out;
}

// Every folder below top, depth first, as "path" strings.
void walk(const FolderPtr& folder, const QString& prefix, QStringList& paths,
          std::vector<FolderPtr>& all) {
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        FolderPtr f = folders->Item(i);
        const QString path = prefix.isEmpty() ? f->Name() : prefix + QLatin1Char('/') + f->Name();
        paths << path;
        all.push_back(f);
        walk(f, path, paths, all);
    }
}

template <typename F>
void expectFailure(F&& call) {
    EXPECT_THROW(call(), Failure);
}

// The call fails with exactly this number and text.
template <typename F>
void expectFailure(F&& call, int number, const QString& description) {
    try {
        call();
        ADD_FAILURE() << "no failure, expected " << description.toStdString();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.number(), number);
        EXPECT_EQ(failure.description(), description);
    }
}

template <typename F>
void expectOutOfBounds(F&& call) {
    expectFailure(call, err::kAutomation, QStringLiteral("Array index out of bounds."));
}

template <typename F>
void expectNotSupported(F&& call) {
    expectFailure(call, err::kNotSupported,
                  QStringLiteral("Object doesn't support this property or method"));
}

FolderPtr topLevel(const StorePtr& store, const QString& name, long* index = nullptr) {
    auto folders = store->TopFolder()->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        if (folders->Item(i)->Name() == name) {
            if (index != nullptr) {
                *index = i;
            }
            return folders->Item(i);
        }
    }
    return nullptr;
}

class RecordingWindow : public outlook::ItemWindow {
  public:
    void show(const outlook::ItemContent& content) override { shown.push_back(content); }
    std::vector<outlook::ItemContent> shown;
};

}  // namespace

outlook::ItemFields fieldsOf(const MailSpec& mail) {
    outlook::ItemFields item;
    item.subject = mail.subject;
    item.sender = mail.sender;
    item.body = mail.body;
    item.received = toOleDate(mail.received);
    item.modified = item.received;
    item.unread = mail.unread;
    return item;
}

FolderPlace placeOf(const FolderSpec& folder) {
    const qsizetype cut = folder.path.lastIndexOf(QLatin1Char('/'));
    FolderPlace place;
    place.parent = cut < 0 ? QString() : folder.path.left(cut);
    place.name = folder.path.mid(cut + 1);
    if (cut < 0 && place.name == QLatin1String("Inbox")) {
        place.defaultFolder = outlook::olFolderInbox;
    } else if (cut < 0 && place.name == QLatin1String("Deleted Items")) {
        place.defaultFolder = outlook::olFolderDeletedItems;
    }
    return place;
}

StoreSpec standardStore() {
    StoreSpec spec;
    spec.name = QStringLiteral("Personal Folders");
    spec.folders = {
        {QStringLiteral("Deleted Items"),
         {{QStringLiteral("Old junk"), QStringLiteral("Spam Bot"), at(2019, 3, 1), false, {}}}},
        {QStringLiteral("Inbox"),
         {
             {QStringLiteral("Alpha"), QStringLiteral("José Müller"), at(2020, 1, 2), true,
              QStringLiteral("first")},
             {QStringLiteral("Beta"), QStringLiteral("Ann Jensen"), at(2021, 5, 6), false, {}},
             {QStringLiteral("Gamma"), QStringLiteral("李雷"), at(2022, 7, 8), true, {}},
             {QString(), QStringLiteral("Zoë"), at(2023, 9, 10), false, {}},
             {QStringLiteral("Epsilon"), QStringLiteral("Sam Taylor"), at(2024, 11, 12), false, {}},
         }},
        {QStringLiteral("Inbox/Projects"),
         {{QStringLiteral("Plan"), QStringLiteral("Ann Jensen"), at(2022, 1, 1), false, {}},
          {QStringLiteral("Schedule"), QStringLiteral("Ann Jensen"), at(2022, 1, 2), true, {}}}},
        {QStringLiteral("Inbox/Projects/Apollo"),
         {{QStringLiteral("Launch"),
           QStringLiteral("Mission Control"),
           at(2022, 2, 2),
           false,
           {}}}},
        {QStringLiteral("Archive"), {}},
        {QStringLiteral("Archive/Old Mail"), {}},
        {QStringLiteral("Archive/Old Mail/Inbox"),
         {{QStringLiteral("Ancient"), QStringLiteral("Ann Jensen"), at(2015, 6, 1), false, {}}}},
        {QStringLiteral("Sent Items"),
         {{QStringLiteral("Re: Alpha"), QStringLiteral("Me"), at(2020, 1, 3), false, {}}}},
    };
    return spec;
}

void ObjectModelConformance::SetUp() {
    ASSERT_TRUE(dir_.isValid());
    backend_ = GetParam().make();
    store_ = backend_->create(standardStore(), dir_.path());
    ASSERT_TRUE(store_);
}

TEST_P(ObjectModelConformance, FolderTreeHoldsTheDescribedFoldersInAStableOrder) {
    FolderPtr top = store_->TopFolder();
    EXPECT_EQ(top->Name(), QStringLiteral("Personal Folders"));
    EXPECT_EQ(top->Parent(), nullptr);

    QStringList paths;
    std::vector<FolderPtr> all;
    walk(top, QString(), paths, all);
    QStringList expected;
    for (const FolderSpec& f : standardStore().folders) {
        expected << f.path;
    }
    QStringList sortedPaths = paths;
    sortedPaths.sort();
    expected.sort();
    EXPECT_EQ(sortedPaths, expected);

    QStringList again;
    std::vector<FolderPtr> unused;
    walk(store_->TopFolder(), QString(), again, unused);
    EXPECT_EQ(again, paths);

    FolderPtr apollo = folderAt(store_, QStringLiteral("Inbox/Projects/Apollo"));
    ASSERT_TRUE(apollo);
    EXPECT_EQ(apollo->Parent()->Name(), QStringLiteral("Projects"));
    EXPECT_EQ(apollo->Parent()->Parent()->EntryID(), folderAt(store_, "Inbox")->EntryID());
    EXPECT_EQ(apollo->Parent()->Parent()->Parent()->EntryID(), top->EntryID());
}

TEST_P(ObjectModelConformance, IndexesAreOneBasedAndOutOfRangeFails) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    auto items = inbox->Items();
    ASSERT_EQ(items->Count(), 5);
    EXPECT_EQ(items->Item(1)->Subject(), QStringLiteral("Alpha"));
    EXPECT_EQ(items->Item(5)->Subject(), QStringLiteral("Epsilon"));
    expectFailure([&] { items->Item(0); });
    expectFailure([&] { items->Item(6); });
    expectFailure([&] { items->Item(-1); });
    expectFailure([&] { items->Remove(0); });
    expectFailure([&] { items->Remove(6); });
    EXPECT_EQ(items->Count(), 5);

    auto folders = inbox->Folders();
    ASSERT_EQ(folders->Count(), 1);
    EXPECT_EQ(folders->Item(1)->Name(), QStringLiteral("Projects"));
    expectFailure([&] { folders->Item(0); });
    expectFailure([&] { folders->Item(2); });
    expectFailure([&] { folders->Remove(0); });
    expectFailure([&] { folders->Remove(2); });
    EXPECT_EQ(folders->Count(), 1);
}

TEST_P(ObjectModelConformance, IdsAreUniqueAndFoldersCarryTheirStoreId) {
    ASSERT_FALSE(store_->StoreID().isEmpty());
    QStringList paths;
    std::vector<FolderPtr> all;
    walk(store_->TopFolder(), QString(), paths, all);
    QSet<QString> folderIds{store_->TopFolder()->EntryID()};
    QSet<QString> itemIds;
    long itemCount = 0;
    for (const FolderPtr& f : all) {
        EXPECT_EQ(f->StoreID(), store_->StoreID()) << f->Name().toStdString();
        EXPECT_FALSE(f->EntryID().isEmpty());
        folderIds.insert(f->EntryID());
        for (const QString& id : entryIds(f)) {
            EXPECT_FALSE(id.isEmpty());
            itemIds.insert(id);
            ++itemCount;
        }
    }
    EXPECT_EQ(folderIds.size(), static_cast<qsizetype>(all.size() + 1));
    EXPECT_EQ(itemIds.size(), itemCount);
    EXPECT_EQ(itemCount, 11);
}

TEST_P(ObjectModelConformance, DefaultFoldersAreTheTopLevelOnes) {
    FolderPtr inbox = store_->GetDefaultFolder(outlook::olFolderInbox);
    EXPECT_EQ(inbox->Name(), QStringLiteral("Inbox"));
    EXPECT_EQ(inbox->EntryID(), folderAt(store_, QStringLiteral("Inbox"))->EntryID());
    EXPECT_NE(inbox->EntryID(),
              folderAt(store_, QStringLiteral("Archive/Old Mail/Inbox"))->EntryID());
    FolderPtr deleted = store_->GetDefaultFolder(outlook::olFolderDeletedItems);
    EXPECT_EQ(deleted->Name(), QStringLiteral("Deleted Items"));
    EXPECT_EQ(deleted->Parent()->EntryID(), store_->TopFolder()->EntryID());
    expectFailure([&] { store_->GetDefaultFolder(9999); });
}

TEST_P(ObjectModelConformance, MailCarriesSenderUnreadAndDate) {
    const outlook::TidyMAPIUtils utils;
    auto items = folderAt(store_, QStringLiteral("Inbox"))->Items();
    const StoreSpec whole = standardStore();
    const FolderSpec& spec = whole.folders[1];
    ASSERT_EQ(items->Count(), static_cast<long>(spec.mails.size()));
    for (long i = 1; i <= items->Count(); ++i) {
        const MailSpec& mail = spec.mails[static_cast<std::size_t>(i - 1)];
        ItemPtr item = items->Item(i);
        SCOPED_TRACE(mail.subject.toStdString());
        EXPECT_EQ(item->Class(), outlook::olMail);
        EXPECT_EQ(item->Subject(), mail.subject);
        EXPECT_EQ(utils.HrGetOneProp(item->MAPIOBJECT(), outlook::PR_SENDER_NAME), mail.sender);
        EXPECT_EQ(item->UnRead(), mail.unread);
        EXPECT_NEAR(item->ReceivedTime(), toOleDate(mail.received), 1.0 / 86400);
        EXPECT_EQ(item->Parent()->Name(), QStringLiteral("Inbox"));
        EXPECT_THROW(item->DueDate(), Failure);
    }
}

TEST_P(ObjectModelConformance, DeleteMovesToTheEndOfDeletedItemsThenDeletesForGood) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    FolderPtr deleted = store_->GetDefaultFolder(outlook::olFolderDeletedItems);
    const long deletedBefore = deleted->Items()->Count();

    ItemPtr beta = inbox->Items()->Item(2);
    const QString betaId = beta->EntryID();
    beta->Delete();
    ItemPtr alpha = inbox->Items()->Item(1);
    const QString alphaId = alpha->EntryID();
    alpha->Delete();

    EXPECT_EQ(subjects(inbox),
              (QStringList{QStringLiteral("Gamma"), QString(), QStringLiteral("Epsilon")}));
    const QStringList inDeleted = entryIds(deleted);
    ASSERT_EQ(inDeleted.size(), deletedBefore + 2);
    EXPECT_EQ(inDeleted.at(deletedBefore), betaId);
    EXPECT_EQ(inDeleted.at(deletedBefore + 1), alphaId);

    // The EntryID survives the move.
    ItemPtr found = store_->GetItemFromID(betaId);
    EXPECT_EQ(found->Subject(), QStringLiteral("Beta"));
    EXPECT_EQ(found->Parent()->EntryID(), deleted->EntryID());
    EXPECT_EQ(beta->Parent()->EntryID(), deleted->EntryID());

    // From Deleted Items, Delete is for good.
    found->Delete();
    EXPECT_EQ(deleted->Items()->Count(), deletedBefore + 1);
    EXPECT_THROW(store_->GetItemFromID(betaId), Failure);
    EXPECT_EQ(store_->GetItemFromID(alphaId)->Subject(), QStringLiteral("Alpha"));
}

TEST_P(ObjectModelConformance, ItemsRemoveDeletesForGoodAndKeepsTheOrder) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    const long deletedBefore =
        store_->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count();
    auto items = inbox->Items();
    const QString gammaId = items->Item(3)->EntryID();
    items->Remove(3);
    EXPECT_EQ(items->Count(), 4);
    EXPECT_EQ(subjects(inbox), (QStringList{QStringLiteral("Alpha"), QStringLiteral("Beta"),
                                            QString(), QStringLiteral("Epsilon")}));
    items->Remove(4);
    items->Remove(1);
    EXPECT_EQ(subjects(inbox), (QStringList{QStringLiteral("Beta"), QString()}));
    EXPECT_THROW(store_->GetItemFromID(gammaId), Failure);
    EXPECT_EQ(store_->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(),
              deletedBefore);
}

TEST_P(ObjectModelConformance, StaleItemsFailClearlyAndTouchNothingElse) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    ItemPtr stale = inbox->Items()->Item(2);
    inbox->Items()->Remove(2);
    try {
        stale->Delete();
        ADD_FAILURE() << "Delete of a removed item succeeded";
    } catch (const Failure& failure) {
        EXPECT_FALSE(failure.description().isEmpty());
    }
    EXPECT_THROW(stale->Parent(), Failure);
    EXPECT_EQ(subjects(inbox), (QStringList{QStringLiteral("Alpha"), QStringLiteral("Gamma"),
                                            QString(), QStringLiteral("Epsilon")}));
    EXPECT_EQ(store_->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 1);
}

TEST_P(ObjectModelConformance, FoldersRemoveTakesSubFoldersAndItems) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    FolderPtr projects = folderAt(store_, QStringLiteral("Inbox/Projects"));
    const QString launchId =
        folderAt(store_, QStringLiteral("Inbox/Projects/Apollo"))->Items()->Item(1)->EntryID();
    const QString planId = projects->Items()->Item(1)->EntryID();
    inbox->Folders()->Remove(1);
    EXPECT_EQ(inbox->Folders()->Count(), 0);
    EXPECT_EQ(folderAt(store_, QStringLiteral("Inbox/Projects")), nullptr);
    EXPECT_THROW(store_->GetItemFromID(launchId), Failure);
    EXPECT_THROW(store_->GetItemFromID(planId), Failure);
    EXPECT_THROW(projects->Items(), Failure);
    EXPECT_EQ(subjects(inbox).size(), 5);

    // Removing a user folder at the top level leaves the others in place.
    auto top = store_->TopFolder()->Folders();
    const long before = top->Count();
    for (long i = 1; i <= top->Count(); ++i) {
        if (top->Item(i)->Name() == QLatin1String("Archive")) {
            top->Remove(i);
            break;
        }
    }
    EXPECT_EQ(top->Count(), before - 1);
    EXPECT_TRUE(folderAt(store_, QStringLiteral("Sent Items")));
    EXPECT_EQ(folderAt(store_, QStringLiteral("Archive")), nullptr);
}

TEST_P(ObjectModelConformance, ReopeningShowsTheSameState) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    inbox->Items()->Item(4)->Delete();
    inbox->Items()->Remove(1);
    const QStringList inboxIds = entryIds(inbox);
    const QStringList deletedIds =
        entryIds(store_->GetDefaultFolder(outlook::olFolderDeletedItems));
    const QString storeId = store_->StoreID();
    const QString inboxEntry = inbox->EntryID();

    StorePtr again = backend_->reopen(dir_.path());
    EXPECT_EQ(again->StoreID(), storeId);
    EXPECT_EQ(again->GetDefaultFolder(outlook::olFolderInbox)->EntryID(), inboxEntry);
    EXPECT_EQ(entryIds(again->GetDefaultFolder(outlook::olFolderInbox)), inboxIds);
    EXPECT_EQ(entryIds(again->GetDefaultFolder(outlook::olFolderDeletedItems)), deletedIds);
    EXPECT_EQ(deletedIds.size(), 2);
    EXPECT_EQ(again->GetItemFromID(deletedIds.last())->Subject(), QString());
}

TEST_P(ObjectModelConformance, EveryIndexOutsideOneToCountIsRefusedWithTheSameError) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    auto items = inbox->Items();
    const long count = items->Count();
    for (long index : {0L, -1L, count + 1}) {
        SCOPED_TRACE(index);
        expectOutOfBounds([&] { items->Item(index); });
        expectOutOfBounds([&] { items->Remove(index); });
    }
    auto folders = store_->TopFolder()->Folders();
    const long folderCount = folders->Count();
    for (long index : {0L, folderCount + 1}) {
        SCOPED_TRACE(index);
        expectOutOfBounds([&] { folders->Item(index); });
        expectOutOfBounds([&] { folders->Remove(index); });
    }
    // An emptied folder refuses index 1.
    auto empty = folderAt(store_, QStringLiteral("Archive/Old Mail"))->Items();
    ASSERT_EQ(empty->Count(), 0);
    expectOutOfBounds([&] { empty->Item(1); });
    expectOutOfBounds([&] { empty->Remove(1); });

    EXPECT_EQ(items->Count(), count);
    EXPECT_EQ(folders->Count(), folderCount);
    EXPECT_EQ(subjects(inbox).first(), QStringLiteral("Alpha"));
}

TEST_P(ObjectModelConformance, MailRefusesTheDatesItsClassLacks) {
    ItemPtr mail = folderAt(store_, QStringLiteral("Inbox"))->Items()->Item(1);
    ASSERT_EQ(mail->Class(), outlook::olMail);
    expectNotSupported([&] { mail->DueDate(); });
    expectNotSupported([&] { mail->DateCompleted(); });
    expectNotSupported([&] { mail->End(); });
    EXPECT_NEAR(mail->ReceivedTime(), toOleDate(at(2020, 1, 2)), 1.0 / 86400);
    EXPECT_FALSE(isNoDate(mail->LastModificationTime()));
}

TEST_P(ObjectModelConformance, MessageObjectAnswersSenderAndSubjectInBothForms) {
    auto items = folderAt(store_, QStringLiteral("Inbox"))->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        ItemPtr item = items->Item(i);
        SCOPED_TRACE(item->Subject().toStdString());
        const outlook::MapiObjectPtr message = item->MAPIOBJECT();
        ASSERT_TRUE(message);
        EXPECT_EQ(message->property(outlook::PR_SENDER_NAME_W),
                  message->property(outlook::PR_SENDER_NAME));
        EXPECT_EQ(message->property(outlook::PR_SUBJECT).value_or(QStringLiteral("<none>")),
                  item->Subject());
        EXPECT_EQ(message->property(outlook::PR_SUBJECT_W), message->property(outlook::PR_SUBJECT));
        // PR_MESSAGE_DELIVERY_TIME is not a property the window reads.
        EXPECT_FALSE(message->property(0x0E060040).has_value());
    }
    EXPECT_EQ(items->Item(3)->MAPIOBJECT()->property(outlook::PR_SENDER_NAME_W),
              std::optional<QString>(QStringLiteral("李雷")));
}

TEST_P(ObjectModelConformance, DisplayHandsTheItemsFieldsToTheWindowItIsGiven) {
    RecordingWindow window;
    ItemPtr alpha = folderAt(store_, QStringLiteral("Inbox"))->Items()->Item(1);
    alpha->Display(window);
    ASSERT_EQ(window.shown.size(), 1u);
    const outlook::ItemContent& content = window.shown[0];
    EXPECT_EQ(content.caption, QStringLiteral("Alpha - Message"));
    ASSERT_EQ(content.fields.size(), 4);
    EXPECT_EQ(content.fields[0], qMakePair(QStringLiteral("From"), QStringLiteral("José Müller")));
    EXPECT_EQ(content.fields[1], qMakePair(QStringLiteral("Subject"), QStringLiteral("Alpha")));
    EXPECT_EQ(content.fields[2],
              qMakePair(QStringLiteral("Received"), QStringLiteral("2020-01-02 09:30")));
    EXPECT_EQ(content.fields[3].first, QStringLiteral("Modified"));
    EXPECT_EQ(content.body.trimmed(), QStringLiteral("first"));
}

TEST_P(ObjectModelConformance, GroupedChangesShowAtOnceAndAreAllThereAfterTheGroup) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    FolderPtr deleted = store_->GetDefaultFolder(outlook::olFolderDeletedItems);
    const QStringList deletedBefore = entryIds(deleted);
    const QString alphaId = inbox->Items()->Item(1)->EntryID();
    const QString betaId = inbox->Items()->Item(2)->EntryID();
    const QString planId =
        folderAt(store_, QStringLiteral("Inbox/Projects"))->Items()->Item(1)->EntryID();

    store_->beginChanges();
    inbox->Items()->Item(2)->Delete();
    inbox->Items()->Remove(1);
    // What the store shows inside the group is what it will hold after it.
    EXPECT_EQ(subjects(inbox),
              (QStringList{QStringLiteral("Gamma"), QString(), QStringLiteral("Epsilon")}));
    EXPECT_EQ(entryIds(deleted), deletedBefore + QStringList{betaId});
    EXPECT_EQ(store_->GetItemFromID(betaId)->Parent()->EntryID(), deleted->EntryID());
    EXPECT_THROW(store_->GetItemFromID(alphaId), Failure);

    // Groups nest: the inner end commits nothing of its own.
    store_->beginChanges();
    folderAt(store_, QStringLiteral("Inbox/Projects"))->Items()->Item(1)->Delete();
    store_->GetItemFromID(betaId)->Delete();
    store_->endChanges();
    EXPECT_EQ(entryIds(deleted), deletedBefore + QStringList{planId});
    store_->endChanges();

    const QStringList inboxIds = entryIds(inbox);
    EXPECT_EQ(inboxIds.size(), 3);
    EXPECT_EQ(entryIds(deleted), deletedBefore + QStringList{planId});
    StorePtr again = backend_->reopen(dir_.path());
    EXPECT_EQ(entryIds(again->GetDefaultFolder(outlook::olFolderInbox)), inboxIds);
    EXPECT_EQ(entryIds(again->GetDefaultFolder(outlook::olFolderDeletedItems)),
              deletedBefore + QStringList{planId});
    EXPECT_THROW(again->GetItemFromID(alphaId), Failure);
    EXPECT_THROW(again->GetItemFromID(betaId), Failure);
}

TEST_P(ObjectModelConformance, AFailedChangeInAGroupLeavesItsItemsAndTheOthersTakeEffect) {
    FolderPtr inbox = folderAt(store_, QStringLiteral("Inbox"));
    FolderPtr deleted = store_->GetDefaultFolder(outlook::olFolderDeletedItems);
    const long deletedBefore = deleted->Items()->Count();
    const QString alphaId = inbox->Items()->Item(1)->EntryID();
    ItemPtr stale = inbox->Items()->Item(4);
    long inboxIndex = 0;
    ASSERT_TRUE(topLevel(store_, QStringLiteral("Inbox"), &inboxIndex));

    store_->beginChanges();
    inbox->Items()->Item(1)->Delete();
    // A standard folder cannot be removed: it keeps its place, its items and sub-folders.
    const long topCount = store_->TopFolder()->Folders()->Count();
    EXPECT_THROW(store_->TopFolder()->Folders()->Remove(inboxIndex), Failure);
    EXPECT_EQ(store_->TopFolder()->Folders()->Count(), topCount);
    EXPECT_EQ(subjects(inbox), (QStringList{QStringLiteral("Beta"), QStringLiteral("Gamma"),
                                            QString(), QStringLiteral("Epsilon")}));
    // An item removed since it was read cannot be deleted; nothing else moves.
    inbox->Items()->Remove(3);
    EXPECT_THROW(stale->Delete(), Failure);
    inbox->Items()->Remove(1);
    store_->endChanges();

    const QStringList expected{QStringLiteral("Gamma"), QStringLiteral("Epsilon")};
    EXPECT_EQ(subjects(inbox), expected);
    EXPECT_EQ(deleted->Items()->Count(), deletedBefore + 1);
    EXPECT_EQ(subjects(folderAt(store_, QStringLiteral("Inbox/Projects"))).size(), 2);

    StorePtr again = backend_->reopen(dir_.path());
    EXPECT_EQ(subjects(again->GetDefaultFolder(outlook::olFolderInbox)), expected);
    EXPECT_EQ(again->GetItemFromID(alphaId)->Parent()->Name(), QStringLiteral("Deleted Items"));
    EXPECT_EQ(subjects(folderAt(again, QStringLiteral("Inbox/Projects"))).size(), 2);
    EXPECT_EQ(subjects(folderAt(again, QStringLiteral("Inbox/Projects/Apollo"))).size(), 1);
}

}  // namespace tf::conformance
