#include "tests/support/faulty_store.h"

#include "common/failure.h"
#include "outlook/constants.h"

namespace tf::testing {

namespace {

using FaultsPtr = std::shared_ptr<Faults>;

[[noreturn]] void injected(const char* what) {
    throw Failure(err::kAutomation,
                  QStringLiteral("The store failed to %1 (injected).").arg(QLatin1String(what)));
}

outlook::FolderPtr wrapFolder(outlook::FolderPtr inner, const FaultsPtr& faults);
outlook::ItemPtr wrapItem(outlook::ItemPtr inner, const FaultsPtr& faults);

class FaultyItem : public outlook::Item {
  public:
    FaultyItem(outlook::ItemPtr inner, FaultsPtr faults)
        : inner_(std::move(inner)), faults_(std::move(faults)) {}

  protected:
    long doClass() const override { return inner_->Class(); }
    QString doSubject() const override { return inner_->Subject(); }
    QString doEntryID() const override { return inner_->EntryID(); }
    QString doBody() const override { return inner_->Body(); }
    std::optional<QString> doSender() const override {
        return inner_->MAPIOBJECT()->property(outlook::PR_SENDER_NAME);
    }
    OleDate doReceivedTime() const override { return inner_->ReceivedTime(); }
    OleDate doLastModificationTime() const override { return inner_->LastModificationTime(); }
    OleDate doDateCompleted() const override { return inner_->DateCompleted(); }
    OleDate doDueDate() const override { return inner_->DueDate(); }
    OleDate doEnd() const override { return inner_->End(); }
    bool doUnRead() const override { return inner_->UnRead(); }
    outlook::FolderPtr doParent() const override { return wrapFolder(inner_->Parent(), faults_); }
    void doDelete() override {
        if (++faults_->deletes == faults_->failDeleteAt) {
            injected("delete the item");
        }
        inner_->Delete();
    }

  private:
    outlook::ItemPtr inner_;
    FaultsPtr faults_;
};

class FaultyItems : public outlook::Items {
  public:
    FaultyItems(outlook::ItemsPtr inner, FaultsPtr faults)
        : inner_(std::move(inner)), faults_(std::move(faults)) {}

  protected:
    long doCount() const override { return inner_->Count(); }
    outlook::ItemPtr doItem(long index) const override {
        return wrapItem(inner_->Item(index), faults_);
    }
    void doRemove(long index) override {
        if (++faults_->removes == faults_->failRemoveAt) {
            injected("remove the item");
        }
        inner_->Remove(index);
    }

  private:
    outlook::ItemsPtr inner_;
    FaultsPtr faults_;
};

class FaultyFolders : public outlook::Folders {
  public:
    FaultyFolders(outlook::FoldersPtr inner, FaultsPtr faults)
        : inner_(std::move(inner)), faults_(std::move(faults)) {}

  protected:
    long doCount() const override { return inner_->Count(); }
    outlook::FolderPtr doItem(long index) const override {
        return wrapFolder(inner_->Item(index), faults_);
    }
    void doRemove(long index) override { inner_->Remove(index); }

  private:
    outlook::FoldersPtr inner_;
    FaultsPtr faults_;
};

class FaultyFolder : public outlook::MAPIFolder {
  public:
    FaultyFolder(outlook::FolderPtr inner, FaultsPtr faults)
        : inner_(std::move(inner)), faults_(std::move(faults)) {}
    outlook::FolderPtr Parent() const override {
        if (!faults_->parentFailsFor.isEmpty() && inner_->Name() == faults_->parentFailsFor) {
            injected("find the parent folder");
        }
        return wrapFolder(inner_->Parent(), faults_);
    }
    long DefaultItemType() const override { return inner_->DefaultItemType(); }
    QString EntryID() const override { return inner_->EntryID(); }
    outlook::FoldersPtr Folders() const override {
        return std::make_shared<FaultyFolders>(inner_->Folders(), faults_);
    }
    outlook::ItemsPtr Items() const override {
        return std::make_shared<FaultyItems>(inner_->Items(), faults_);
    }
    QString Name() const override { return inner_->Name(); }
    QString StoreID() const override { return inner_->StoreID(); }

  private:
    outlook::FolderPtr inner_;
    FaultsPtr faults_;
};

outlook::FolderPtr wrapFolder(outlook::FolderPtr inner, const FaultsPtr& faults) {
    return inner ? std::make_shared<FaultyFolder>(std::move(inner), faults) : nullptr;
}

outlook::ItemPtr wrapItem(outlook::ItemPtr inner, const FaultsPtr& faults) {
    return inner ? std::make_shared<FaultyItem>(std::move(inner), faults) : nullptr;
}

class FaultyStore : public outlook::Store {
  public:
    FaultyStore(outlook::StorePtr inner, FaultsPtr faults)
        : inner_(std::move(inner)), faults_(std::move(faults)) {}
    outlook::FolderPtr TopFolder() const override {
        return wrapFolder(inner_->TopFolder(), faults_);
    }
    outlook::FolderPtr GetDefaultFolder(long folderType) const override {
        return wrapFolder(inner_->GetDefaultFolder(folderType), faults_);
    }
    outlook::ItemPtr GetItemFromID(const QString& entryID) const override {
        return wrapItem(inner_->GetItemFromID(entryID), faults_);
    }
    QString StoreID() const override { return inner_->StoreID(); }
    QString location() const override { return inner_->location(); }
    void beginChanges() override { inner_->beginChanges(); }
    void endChanges() override { inner_->endChanges(); }

  private:
    outlook::StorePtr inner_;
    FaultsPtr faults_;
};

}  // namespace

outlook::StorePtr faultyStore(outlook::StorePtr inner, std::shared_ptr<Faults> faults) {
    return std::make_shared<FaultyStore>(std::move(inner), std::move(faults));
}

}  // namespace tf::testing
