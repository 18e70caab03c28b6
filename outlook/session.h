#pragma once

#include <vector>

#include "outlook/object_model.h"

namespace tf::outlook {

// The "MAPI" namespace over the open stores. The first store is the default store.
class Session : public NameSpace, public std::enable_shared_from_this<Session> {
  public:
    explicit Session(std::vector<StorePtr> stores);

    FoldersPtr Folders() const override;
    FolderPtr GetDefaultFolder(long folderType) const override;
    ItemPtr GetItemFromID(const QString& entryID, const QString& storeID) const override;
    void beginChanges() override;
    void endChanges() override;
    QString takeReadNotes() override;

    const std::vector<StorePtr>& stores() const { return stores_; }
    // Stores opened or closed from the window; the folder tree follows at its next rebuild.
    void setStores(std::vector<StorePtr> stores) { stores_ = std::move(stores); }

  private:
    std::vector<StorePtr> stores_;
};

// The store among these that is the candidate under another name: the same StoreID (a copied
// store file carries its original's) or the same location (one file or folder named two ways).
// Two such stores would give the folder tree two nodes with one key.
StorePtr sameStore(const std::vector<StorePtr>& stores, const Store& candidate);

// The application object of a session: GetNamespace("MAPI") is the only call it knows.
class SessionApplication : public Application {
  public:
    explicit SessionApplication(std::vector<StorePtr> stores);
    NameSpacePtr GetNamespace(const QString& type) override;
    const std::shared_ptr<Session>& session() const { return session_; }

  private:
    std::shared_ptr<Session> session_;
};

}  // namespace tf::outlook
