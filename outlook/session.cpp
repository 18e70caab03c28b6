#include "outlook/session.h"

#include <QStringList>
#include <exception>

#include "common/failure.h"

namespace tf::outlook {

namespace {

// The stores' top folders, in the order the stores were opened.
class StoreFolders : public outlook::Folders {
  public:
    explicit StoreFolders(std::shared_ptr<const Session> session) : session_(std::move(session)) {}

  protected:
    long doCount() const override { return static_cast<long>(session_->stores().size()); }
    FolderPtr doItem(long index) const override {
        return session_->stores()[static_cast<std::size_t>(index - 1)]->TopFolder();
    }
    void doRemove(long) override {
        throw Failure(err::kAutomation,
                      QStringLiteral("An information store cannot be deleted as a folder."));
    }

  private:
    std::shared_ptr<const Session> session_;
};

}  // namespace

Session::Session(std::vector<StorePtr> stores) : stores_(std::move(stores)) {}

FoldersPtr Session::Folders() const {
    return std::make_shared<StoreFolders>(shared_from_this());
}

FolderPtr Session::GetDefaultFolder(long folderType) const {
    if (stores_.empty()) {
        throw Failure(err::kAutomation, QStringLiteral("No information store is open."));
    }
    return stores_.front()->GetDefaultFolder(folderType);
}

ItemPtr Session::GetItemFromID(const QString& entryID, const QString& storeID) const {
    for (const StorePtr& store : stores_) {
        if (store->StoreID() == storeID) {
            return store->GetItemFromID(entryID);
        }
    }
    throw Failure(err::kAutomation,
                  QStringLiteral("The information store %1 is not open.").arg(storeID));
}

void Session::beginChanges() {
    for (const StorePtr& store : stores_) {
        store->beginChanges();
    }
}

QString Session::takeReadNotes() {
    QStringList notes;
    for (const StorePtr& store : stores_) {
        if (const QString note = store->takeReadNotes(); !note.isEmpty()) {
            notes << note;
        }
    }
    return notes.join(QStringLiteral("\r\n"));
}

void Session::endChanges() {
    // Every store gets its turn even when one fails; the first failure is passed on.
    std::exception_ptr first;
    for (const StorePtr& store : stores_) {
        try {
            store->endChanges();
        } catch (...) {
            if (!first) {
                first = std::current_exception();
            }
        }
    }
    if (first) {
        std::rethrow_exception(first);
    }
}

StorePtr sameStore(const std::vector<StorePtr>& stores, const Store& candidate) {
    const QString id = candidate.StoreID();
    const QString location = candidate.location();
    for (const StorePtr& store : stores) {
        if (store->StoreID() == id || store->location() == location) {
            return store;
        }
    }
    return nullptr;
}

SessionApplication::SessionApplication(std::vector<StorePtr> stores)
    : session_(std::make_shared<Session>(std::move(stores))) {}

NameSpacePtr SessionApplication::GetNamespace(const QString& type) {
    if (type != QLatin1String("MAPI")) {
        throw Failure(err::kAutomation, QStringLiteral("Unknown namespace type \"%1\".").arg(type));
    }
    return session_;
}

}  // namespace tf::outlook
