#include "tests/support/memory_store.h"

#include <QStringList>
#include <algorithm>

#include "common/failure.h"

namespace tf::testing {

namespace {

using outlook::FolderPtr;
using outlook::ItemPtr;

class MemoryItem : public outlook::Item {
  public:
    MemoryItem(std::shared_ptr<const MemoryStore> store, std::shared_ptr<MemoryItemData> data,
               MemoryStore::Folder folder)
        : store_(std::move(store)), data_(std::move(data)), folder_(std::move(folder)) {}

  protected:
    long doClass() const override { return data_->spec.itemClass; }
    QString doSubject() const override { return data_->spec.subject; }
    QString doEntryID() const override { return data_->entryID; }
    QString doBody() const override { return data_->spec.body; }
    // An empty sender is no sender at all.
    std::optional<QString> doSender() const override {
        if (data_->spec.sender.isEmpty()) {
            return std::nullopt;
        }
        return data_->spec.sender;
    }
    OleDate doReceivedTime() const override { return data_->spec.received; }
    OleDate doLastModificationTime() const override { return data_->spec.modified; }
    OleDate doDateCompleted() const override { return data_->spec.completed; }
    OleDate doDueDate() const override { return data_->spec.due; }
    OleDate doEnd() const override { return data_->spec.end; }
    bool doUnRead() const override { return data_->spec.unread; }
    FolderPtr doParent() const override { return store_->wrap(holder()); }
    void doDelete() override {
        const MemoryStore::Folder from = holder();
        auto& items = from->items;
        items.erase(std::find(items.begin(), items.end(), data_));
        const MemoryStore::Folder deleted = store_->deletedItems();
        if (deleted && deleted != from) {
            deleted->items.push_back(data_);
            folder_ = deleted;
        }
    }

  private:
    MemoryStore::Folder holder() const {
        const auto& items = folder_->items;
        if (std::find(items.begin(), items.end(), data_) == items.end()) {
            throw Failure(err::kAutomation, QStringLiteral("The item has been moved or deleted."));
        }
        return folder_;
    }

    std::shared_ptr<const MemoryStore> store_;
    std::shared_ptr<MemoryItemData> data_;
    MemoryStore::Folder folder_;
};

class MemoryItems : public outlook::Items {
  public:
    MemoryItems(std::shared_ptr<const MemoryStore> store, MemoryStore::Folder folder)
        : store_(std::move(store)), folder_(std::move(folder)) {}

  protected:
    long doCount() const override {
        store_->countCalled();
        return static_cast<long>(folder_->items.size());
    }
    ItemPtr doItem(long index) const override {
        const auto& item = folder_->items[static_cast<std::size_t>(index - 1)];
        ++item->fetched;
        return store_->wrap(item, folder_);
    }
    void doRemove(long index) override {
        folder_->items.erase(folder_->items.begin() + (index - 1));
    }

  private:
    std::shared_ptr<const MemoryStore> store_;
    MemoryStore::Folder folder_;
};

class MemoryFolders : public outlook::Folders {
  public:
    MemoryFolders(std::shared_ptr<const MemoryStore> store, MemoryStore::Folder folder)
        : store_(std::move(store)), folder_(std::move(folder)) {}

  protected:
    long doCount() const override { return static_cast<long>(folder_->folders.size()); }
    FolderPtr doItem(long index) const override {
        return store_->wrap(folder_->folders[static_cast<std::size_t>(index - 1)]);
    }
    void doRemove(long index) override {
        const auto doomed = folder_->folders.begin() + (index - 1);
        if ((*doomed)->defaultFolderType != 0) {
            outlook::standardFolderNotRemovable((*doomed)->name);
        }
        folder_->folders.erase(doomed);
    }

  private:
    std::shared_ptr<const MemoryStore> store_;
    MemoryStore::Folder folder_;
};

class MemoryFolder : public outlook::MAPIFolder {
  public:
    MemoryFolder(std::shared_ptr<const MemoryStore> store, MemoryStore::Folder data)
        : store_(std::move(store)), data_(std::move(data)) {}
    FolderPtr Parent() const override {
        checkAttached();
        const MemoryStore::Folder parent = data_->parent.lock();
        return parent ? store_->wrap(parent) : nullptr;
    }
    long DefaultItemType() const override { return data_->defaultItemType; }
    QString EntryID() const override {
        checkIds();
        return data_->entryID;
    }
    outlook::FoldersPtr Folders() const override {
        checkAttached();
        return std::make_shared<MemoryFolders>(store_, data_);
    }
    outlook::ItemsPtr Items() const override {
        checkAttached();
        return std::make_shared<MemoryItems>(store_, data_);
    }
    QString Name() const override { return data_->name; }
    QString StoreID() const override {
        checkIds();
        return store_->StoreID();
    }

  private:
    // A folder object of a folder that has since been removed fails, as on a real store.
    void checkAttached() const {
        if (!store_->contains(data_)) {
            throw Failure(err::kAutomation, QStringLiteral("The folder has been deleted."));
        }
    }
    void checkIds() const {
        checkAttached();
        if (store_->identifiersBroken(data_.get())) {
            throw Failure(err::kAutomation, QStringLiteral("The identifiers cannot be read."));
        }
    }

    std::shared_ptr<const MemoryStore> store_;
    MemoryStore::Folder data_;
};

}  // namespace

std::shared_ptr<MemoryStore> MemoryStore::create(const QString& name, const QString& storeID) {
    std::shared_ptr<MemoryStore> store(new MemoryStore());
    store->storeID_ = storeID;
    store->top_ = std::make_shared<MemoryFolderData>();
    store->top_->name = name;
    store->top_->entryID = store->nextEntryID();
    return store;
}

std::shared_ptr<MemoryStore> MemoryStore::withDefaultFolders(const QString& name,
                                                             const QString& storeID) {
    auto store = create(name, storeID);
    const struct {
        const char* name;
        long itemType;
        long folderType;
    } defaults[] = {{"Calendar", outlook::olAppointmentItem, outlook::olFolderCalendar},
                    {"Contacts", outlook::olContactItem, outlook::olFolderContacts},
                    {"Deleted Items", outlook::olMailItem, outlook::olFolderDeletedItems},
                    {"Drafts", outlook::olMailItem, outlook::olFolderDrafts},
                    {"Inbox", outlook::olMailItem, outlook::olFolderInbox},
                    {"Journal", outlook::olJournalItem, outlook::olFolderJournal},
                    {"Notes", outlook::olNoteItem, outlook::olFolderNotes},
                    {"Outbox", outlook::olMailItem, outlook::olFolderOutbox},
                    {"Sent Items", outlook::olMailItem, outlook::olFolderSentMail},
                    {"Tasks", outlook::olTaskItem, outlook::olFolderTasks}};
    for (const auto& d : defaults) {
        store->addFolder(store->top(), QString::fromLatin1(d.name), d.itemType, d.folderType);
    }
    return store;
}

QString MemoryStore::nextEntryID() {
    return QStringLiteral("%1%2").arg(storeID_).arg(nextId_++, 8, 16, QLatin1Char('0')).toUpper();
}

MemoryStore::Folder MemoryStore::addFolder(const Folder& parent, const QString& name,
                                           long defaultItemType, long defaultFolderType) {
    auto folder = std::make_shared<MemoryFolderData>();
    folder->name = name;
    folder->entryID = nextEntryID();
    folder->defaultItemType = defaultItemType;
    folder->defaultFolderType = defaultFolderType;
    folder->parent = parent;
    parent->folders.push_back(folder);
    return folder;
}

MemoryStore::Folder MemoryStore::folder(const QString& path) const {
    Folder at = top_;
    for (const QString& name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        const auto it = std::find_if(at->folders.begin(), at->folders.end(),
                                     [&](const Folder& f) { return f->name == name; });
        if (it == at->folders.end()) {
            return nullptr;
        }
        at = *it;
    }
    return at;
}

std::shared_ptr<MemoryItemData> MemoryStore::addItem(const Folder& folder,
                                                     const MemoryItemSpec& spec) {
    auto item = std::make_shared<MemoryItemData>();
    item->entryID = nextEntryID();
    item->spec = spec;
    folder->items.push_back(item);
    return item;
}

void MemoryStore::addItems(const Folder& folder, int count, const MemoryItemSpec& spec) {
    for (int i = 0; i < count; ++i) {
        MemoryItemSpec numbered = spec;
        if (numbered.subject.isEmpty()) {
            numbered.subject = QStringLiteral("%1 item %2").arg(folder->name).arg(i + 1);
        }
        addItem(folder, numbered);
    }
}

outlook::FolderPtr MemoryStore::wrap(const Folder& folder) const {
    return std::make_shared<MemoryFolder>(shared_from_this(), folder);
}

outlook::ItemPtr MemoryStore::wrap(const std::shared_ptr<MemoryItemData>& item,
                                   const Folder& in) const {
    return std::make_shared<MemoryItem>(shared_from_this(), item, in);
}

bool MemoryStore::contains(const Folder& folder) const {
    Folder at = folder;
    while (at != top_) {
        const Folder parent = at->parent.lock();
        if (!parent || std::find(parent->folders.begin(), parent->folders.end(), at) ==
                           parent->folders.end()) {
            return false;
        }
        at = parent;
    }
    return true;
}

bool MemoryStore::identifiersBroken(const MemoryFolderData* folder) const {
    return std::any_of(brokenIds_.begin(), brokenIds_.end(),
                       [&](const Folder& f) { return f.get() == folder; });
}

namespace {
MemoryStore::Folder findByType(const MemoryStore::Folder& at, long folderType) {
    if (at->defaultFolderType == folderType) {
        return at;
    }
    for (const auto& child : at->folders) {
        if (auto found = findByType(child, folderType)) {
            return found;
        }
    }
    return nullptr;
}

std::pair<std::shared_ptr<MemoryItemData>, MemoryStore::Folder> findItem(
    const MemoryStore::Folder& at, const QString& entryID) {
    for (const auto& item : at->items) {
        if (item->entryID == entryID) {
            return {item, at};
        }
    }
    for (const auto& child : at->folders) {
        auto found = findItem(child, entryID);
        if (found.first) {
            return found;
        }
    }
    return {nullptr, nullptr};
}
}  // namespace

MemoryStore::Folder MemoryStore::deletedItems() const {
    return findByType(top_, outlook::olFolderDeletedItems);
}

outlook::FolderPtr MemoryStore::GetDefaultFolder(long folderType) const {
    const Folder found = defaultFoldersBroken_ ? nullptr : findByType(top_, folderType);
    if (!found) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The default folder %1 does not exist.").arg(folderType));
    }
    return wrap(found);
}

outlook::ItemPtr MemoryStore::GetItemFromID(const QString& entryID) const {
    const auto [item, folder] = findItem(top_, entryID);
    if (!item) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The item %1 could not be found.").arg(entryID));
    }
    return wrap(item, folder);
}

}  // namespace tf::testing
