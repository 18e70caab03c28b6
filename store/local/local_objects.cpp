#include "store/local/local_objects.h"

#include "common/failure.h"

namespace tf::store::local {

namespace {

using outlook::FolderPtr;
using outlook::FoldersPtr;
using outlook::ItemPtr;
using outlook::ItemsPtr;

FolderPtr makeFolder(const StoreFilePtr& file, const FolderRow& row);

class LocalItem : public outlook::Item {
  public:
    LocalItem(StoreFilePtr file, ItemRowPtr row) : file_(std::move(file)), row_(std::move(row)) {}

  protected:
    long doClass() const override { return row_->itemClass; }
    QString doSubject() const override { return row_->subject; }
    QString doEntryID() const override { return row_->entryId; }
    QString doBody() const override { return row_->body; }
    std::optional<QString> doSender() const override {
        if (!row_->hasSender) {
            return std::nullopt;
        }
        return row_->sender;
    }
    OleDate doReceivedTime() const override { return row_->received; }
    OleDate doLastModificationTime() const override { return row_->modified; }
    OleDate doDateCompleted() const override { return row_->completed; }
    OleDate doDueDate() const override { return row_->due; }
    OleDate doEnd() const override { return row_->end; }
    OleDate doStart() const override { return row_->start; }
    bool doUnRead() const override { return row_->unread; }

    FolderPtr doParent() const override {
        std::optional<qint64> folder = file_->folderOfItem(*row_);
        if (!folder) {
            itemGone();
        }
        std::optional<FolderRow> row = file_->folderById(*folder);
        if (!row) {
            itemGone();
        }
        return makeFolder(file_, *row);
    }

    void doDelete() override { file_->deleteItem(*row_); }

  private:
    StoreFilePtr file_;
    ItemRowPtr row_;
};

class LocalItems : public outlook::Items {
  public:
    LocalItems(StoreFilePtr file, qint64 folder) : file_(std::move(file)), folder_(folder) {}

  protected:
    long doCount() const override { return file_->count(folder_); }
    // The positions already read, so that a loop over Item(1..Count()) does not look for changes
    // made elsewhere at every item; rowAt looks when it reads the next page.
    long doLastIndex() const override { return file_->knownCount(folder_); }
    ItemPtr doItem(long index) const override {
        return std::make_shared<LocalItem>(file_, file_->rowAt(folder_, index - 1));
    }
    void doRemove(long index) override { file_->removeAt(folder_, index); }

  private:
    StoreFilePtr file_;
    qint64 folder_;
};

class LocalFolders : public outlook::Folders {
  public:
    LocalFolders(StoreFilePtr file, qint64 parent) : file_(std::move(file)), parent_(parent) {}

  protected:
    long doCount() const override { return file_->childCount(parent_); }
    FolderPtr doItem(long index) const override {
        std::optional<FolderRow> child = file_->childAt(parent_, index);
        if (!child) {
            outlook::indexOutOfBounds();
        }
        return makeFolder(file_, *child);
    }
    void doRemove(long index) override { file_->removeChild(parent_, index); }

  private:
    StoreFilePtr file_;
    qint64 parent_;
};

class LocalFolder : public outlook::MAPIFolder {
  public:
    LocalFolder(StoreFilePtr file, FolderRow row) : file_(std::move(file)), row_(std::move(row)) {}

    FolderPtr Parent() const override {
        const FolderRow now = file_->currentFolder(row_);
        if (now.parent == 0) {
            return nullptr;
        }
        std::optional<FolderRow> parent = file_->folderById(now.parent);
        if (!parent) {
            folderGone(row_.name);
        }
        return makeFolder(file_, *parent);
    }
    long DefaultItemType() const override { return row_.defaultType; }
    QString EntryID() const override { return row_.entryId; }
    FoldersPtr Folders() const override {
        file_->currentFolder(row_);
        return std::make_shared<LocalFolders>(file_, row_.id);
    }
    ItemsPtr Items() const override {
        file_->currentFolder(row_);
        return std::make_shared<LocalItems>(file_, row_.id);
    }
    QString Name() const override { return row_.name; }
    QString StoreID() const override { return file_->storeIds.at(row_.store); }

  private:
    StoreFilePtr file_;
    FolderRow row_;
};

FolderPtr makeFolder(const StoreFilePtr& file, const FolderRow& row) {
    return std::make_shared<LocalFolder>(file, row);
}

class LocalStore : public outlook::Store {
  public:
    LocalStore(StoreFilePtr file, qint64 id, qint64 topFolder)
        : file_(std::move(file)), id_(id), topFolder_(topFolder) {}

    FolderPtr TopFolder() const override {
        std::optional<FolderRow> top = file_->folderById(topFolder_);
        if (!top) {
            throw Failure(
                err::kAutomation,
                QStringLiteral("The store in %1 has lost its top folder.").arg(file_->location));
        }
        return makeFolder(file_, *top);
    }
    FolderPtr GetDefaultFolder(long folderType) const override {
        std::optional<FolderRow> folder = file_->defaultFolder(id_, folderType);
        if (!folder || folderType == 0) {
            throw Failure(
                err::kAutomation,
                QStringLiteral("The store has no default folder of type %1.").arg(folderType));
        }
        return makeFolder(file_, *folder);
    }
    ItemPtr GetItemFromID(const QString& entryID) const override {
        ItemRowPtr row = file_->itemByEntryId(id_, entryID);
        if (!row) {
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. An object could not be found: "
                                         "the item %1 is not in the store; it may have been "
                                         "deleted.")
                              .arg(entryID));
        }
        return std::make_shared<LocalItem>(file_, row);
    }
    void beginChanges() override { file_->beginChanges(); }
    void endChanges() override { file_->endChanges(); }
    QString StoreID() const override { return file_->storeIds.at(id_); }
    QString location() const override { return file_->location; }

  private:
    StoreFilePtr file_;
    qint64 id_;
    qint64 topFolder_;
};

}  // namespace

outlook::StorePtr makeLocalStore(StoreFilePtr file, qint64 id, qint64 topFolder) {
    return std::make_shared<LocalStore>(std::move(file), id, topFolder);
}

}  // namespace tf::store::local
