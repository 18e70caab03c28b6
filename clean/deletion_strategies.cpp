#include "clean/deletion_strategies.h"

#include <set>

#include "cache/item_cache.h"
#include "common/numbers.h"
#include "tree/deleted_items.h"

namespace tf {

namespace {

const QString kFolderPrefix = QStringLiteral("Folder - ");

// Lets the stores commit a strategy's changes in groups instead of one by one; each change stays
// atomic, so a killed run leaves every item changed or where it was. finish() commits the rest
// and reports a failure; leaving early commits what it can.
class ChangeGroup {
  public:
    explicit ChangeGroup(outlook::NameSpacePtr nameSpace) : nameSpace_(std::move(nameSpace)) {
        if (nameSpace_) {
            nameSpace_->beginChanges();
        }
    }
    ~ChangeGroup() {
        try {
            finish();
        } catch (...) {
            // Already on the way out of a failure that is being reported.
        }
    }
    ChangeGroup(const ChangeGroup&) = delete;
    ChangeGroup& operator=(const ChangeGroup&) = delete;
    void finish() {
        if (const outlook::NameSpacePtr nameSpace = std::exchange(nameSpace_, nullptr)) {
            nameSpace->endChanges();
        }
    }

  private:
    outlook::NameSpacePtr nameSpace_;
};

}  // namespace

DeletionStrategies::DeletionStrategies(WindowParts parts, FolderTreeBuilder& builder,
                                       const ItemFilters& filters, GridLogic& grid,
                                       RunChecks& checks, CleaningStatus& status, RunState& state)
    : w_(parts),
      builder_(builder),
      filters_(filters),
      grid_(grid),
      checks_(checks),
      status_(status),
      state_(state) {}

void DeletionStrategies::beginRun() {
    processError_.emplace(w_.prompter, w_.errors.current);
    placeIndex_ = 0;
}

void DeletionStrategies::failed(const QString& process, const QString& item) {
    state_.NotAllDeleted = true;
    if (processError_) {
        processError_->DisplayProcessingError(process, item);
    }
}

template <typename Loop>
void DeletionStrategies::inChangeGroup(const QString& procedure, Loop&& loop) {
    const bool ran = w_.errors.run(procedure, [&](Procedure&) {
        ChangeGroup group(builder_.nameSpace());
        loop();
        group.finish();
    });
    noteUnfinished(ran);
}

bool DeletionStrategies::tally(Outcome outcome, int folder, const QString& process,
                               const QString& item) {
    if (outcome == Outcome::Deleted) {
        ++state_.ProcessedCount;
        ++w_.records[folder].DeletedCount;
        return true;
    }
    if (outcome == Outcome::Failed) {
        failed(process, item);
    }
    return false;
}

void DeletionStrategies::noteUnfinished(bool ran) {
    // The failure was reported where it arose; the summary must still say that not all went.
    if (!ran) {
        state_.NotAllDeleted = true;
    }
}

void DeletionStrategies::refuse(const QString& why) {
    w_.errors.current.set(Failure(err::kAutomation, why));
}

const DeletionStrategies::Place& DeletionStrategies::placeOf(int index) {
    if (placeIndex_ != index) {
        placeIndex_ = 0;  // stays unknown if a read below fails
        const FolderData& record = w_.records[index];
        Place place;
        place.folderID = record.Folder->EntryID();
        place.storeID = record.Folder->StoreID();
        const int deletedItems = record.DeletedItemsIndex;
        if (deletedItems > 0 && deletedItems <= w_.records.upperBoundIndex() &&
            w_.records[deletedItems].Folder) {
            place.deletedItemsID = w_.records[deletedItems].Folder->EntryID();
        }
        place_ = std::move(place);
        placeIndex_ = index;
    }
    return place_;
}

DeletionStrategies::Outcome DeletionStrategies::Delete_Current_Item(const outlook::ItemPtr& item,
                                                                    int index, QString entryID) {
    Procedure procedure(w_.errors.stack, QStringLiteral("Delete_Current_Item"));
    const Place* place = nullptr;
    QString parentID;
    QString parentName;
    if (!w_.errors.attempt([&] {
            place = &placeOf(index);
            const outlook::FolderPtr parent = item->Parent();
            parentID = parent->EntryID();
            parentName = parent->Name();
            if (entryID.isEmpty()) {
                entryID = item->EntryID();
            }
        })) {
        return Outcome::Failed;
    }
    // The user chose items of this folder; one that has since gone elsewhere is not touched.
    if (parentID != place->folderID) {
        refuse(
            QStringLiteral("The item has left the folder it was listed in and was not "
                           "touched."));
        return Outcome::Failed;
    }
    // Goes by the folder's name: an item in a folder of the user's that is called "Deleted Items"
    // is deleted once, which moves it into the store's own, where it can still be recovered.
    const bool inDeletedItems = parentName == DeletedItemsFolders::kName;
    const bool inStoresDeletedItems =
        !place->deletedItemsID.isEmpty() && parentID == place->deletedItemsID;
    // A delete in the store's "Deleted Items" is for good, which only Permanent Delete asks for.
    if ((inDeletedItems || inStoresDeletedItems) && !on(Control::chkPermanentDelete)) {
        refuse(
            QStringLiteral("The item lies in \"Deleted Items\", where a delete is final, and "
                           "Permanent Delete is off."));
        return Outcome::Failed;
    }
    int answer = Prompter::No;
    if (!w_.errors.attempt([&] { answer = checks_.Confirm_Current_Item(*item); })) {
        return Outcome::Failed;
    }
    if (answer == Prompter::Cancel) {
        w_.flags.Processing = false;
        return Outcome::Kept;
    }
    if (answer != Prompter::Yes) {
        return Outcome::Kept;
    }
    if (!w_.errors.attempt([&] { item->Delete(); })) {
        return Outcome::Failed;
    }
    // A permanent delete is a move to "Deleted Items" and a delete from there.
    if (on(Control::chkPermanentDelete) && !inDeletedItems && !w_.errors.attempt([&] {
            builder_.nameSpace()->GetItemFromID(entryID, place->storeID)->Delete();
        })) {
        return Outcome::Failed;
    }
    return Outcome::Deleted;
}

void DeletionStrategies::Delete_All_Items(const outlook::FolderPtr& folder, int index) {
    inChangeGroup(QStringLiteral("Delete_All_Items"), [&] {
        w_.records[index].DeletedCount = 0;
        const QString name = folder->Name();
        const outlook::ItemsPtr items = folder->Items();
        const bool forGood = on(Control::chkPermanentDelete);
        if (!forGood &&
            (w_.records[index].DeletedItemsIndex == index || name == DeletedItemsFolders::kName)) {
            // Each delete there would be final, which only Permanent Delete asks for.
            refuse(
                QStringLiteral("Items in \"Deleted Items\" are deleted only with Permanent "
                               "Delete on."));
            failed(QStringLiteral("Turbo Delete - Unable to delete item"), kFolderPrefix + name);
            return;
        }
        long checked = 0;
        for (long i = items->Count(); i >= 1 && !stopped(); --i) {
            ++checked;
            const bool removed = w_.errors.attempt([&] {
                if (forGood) {
                    items->Remove(i);
                } else {
                    items->Item(i)->Delete();
                }
            });
            tally(removed ? Outcome::Deleted : Outcome::Failed, index,
                  QStringLiteral("Turbo Delete - Unable to delete item"), kFolderPrefix + name);
            // The status follows the run's own count, so its figures are whole hundreds of the
            // run; a stretch of failures still yields, so Cancel stays usable.
            if (removed && state_.ProcessedCount % 100 == 0) {
                status_.Display_Cleaning_Status(name, checked, w_.records[index].DeletedCount,
                                                state_.ProcessedCount);
                w_.yield.yield();
            } else if (!removed && checked % 100 == 0) {
                w_.yield.yield();
            }
        }
    });
}

void DeletionStrategies::Delete_Selected_Items_By_MAPIFolder(const outlook::FolderPtr& folder,
                                                             int index, int node) {
    inChangeGroup(QStringLiteral("Delete_Selected_Items_By_MAPIFolder"), [&] {
        w_.records[index].DeletedCount = 0;
        const QString name = folder->Name();
        const outlook::ItemsPtr items = folder->Items();
        long checked = 0;
        for (long i = items->Count(); i >= 1 && !stopped(); --i) {
            ++checked;
            outlook::ItemPtr item;
            QString subject;
            bool selected = false;
            const bool read = w_.errors.attempt([&] {
                item = items->Item(i);
                subject = item->Subject();
                ItemData fields;
                fields.ItemClass = static_cast<std::int32_t>(item->Class());
                fields.ItemDate = Get_Item_Date(*item);
                fields.Subject = subject;
                fields.Unread = Check_Unread(*item) ? kTrue : std::int16_t{0};
                selected = filters_.selects(w_.tree.node(node).Checked, fields);
            });
            if (!read) {
                failed(QStringLiteral("Filtered Delete - Set Object"), kFolderPrefix + name);
            } else if (selected) {
                tally(Delete_Current_Item(item, index), index,
                      QStringLiteral("Filtered Delete - ") + subject, kFolderPrefix + name);
            }
            w_.yield.yield();
            if (checked % 100 == 0) {
                status_.Display_Cleaning_Status(name, checked, w_.records[index].DeletedCount,
                                                state_.ProcessedCount);
            }
        }
        status_.Display_Cleaning_Status(name, checked, w_.records[index].DeletedCount,
                                        state_.ProcessedCount);
    });
}

void DeletionStrategies::Delete_Filtered_Items_By_FolderData_Array(int node, int index) {
    inChangeGroup(QStringLiteral("Delete_Filtered_Items_By_FolderData_Array"), [&] {
        w_.records[index].DeletedCount = 0;
        const QString name = w_.records[index].Folder->Name();
        const QString storeID = placeOf(index).storeID;
        const int cached = std::min<int>(w_.records[index].CachedCount,
                                         static_cast<int>(w_.records[index].ItemCache.size()));
        for (int i = 1; i <= cached && !stopped(); ++i) {
            // Looked up afresh each time: a yield may have run a handler that touched the
            // records.
            if (filters_.Check_Filtered_Record(node, index, i)) {
                const ItemData data = w_.records[index].ItemCache[static_cast<std::size_t>(i - 1)];
                outlook::ItemPtr item;
                Outcome outcome = Outcome::Failed;
                if (w_.errors.attempt([&] {
                        item = builder_.nameSpace()->GetItemFromID(data.EntryID, storeID);
                    })) {
                    outcome = Delete_Current_Item(item, index, data.EntryID);
                }
                if (tally(outcome, index, QStringLiteral("Filtered Delete - ") + data.Subject,
                          kFolderPrefix + name)) {
                    w_.records[index].ItemCache[static_cast<std::size_t>(i - 1)].ItemClass =
                        ItemData::kHole;
                }
            }
            w_.yield.yield();
            if (i % 100 == 0) {
                status_.Display_Cleaning_Status(name, i, w_.records[index].DeletedCount,
                                                state_.ProcessedCount);
            }
        }
        w_.status.setText(1, QString());
        w_.status.setText(2, QString());
    });
}

void DeletionStrategies::Delete_Filtered_Items_By_Row() {
    inChangeGroup(QStringLiteral("Delete_Filtered_Items_By_Row"), [&] {
        w_.status.setText(1, QStringLiteral("Cleaning Items"));
        RedrawOff redrawOff(w_.grid);
        long processed = 0;
        long cleaned = 0;
        std::set<int> touched;
        for (int r = w_.grid.Rows() - 1; r >= 1 && !stopped(); --r) {
            ++processed;
            const GridRow row = w_.grid.row(r);
            const bool known =
                row.mark == kRowMarked && row.folder >= 1 &&
                row.folder <= w_.records.upperBoundIndex() && row.item >= 1 &&
                static_cast<std::size_t>(row.item) <= w_.records[row.folder].ItemCache.size() &&
                w_.records[row.folder].Folder;
            const ItemData data =
                known ? w_.records[row.folder].ItemCache[static_cast<std::size_t>(row.item - 1)]
                      : ItemData{};
            if (known && !data.isHole()) {
                outlook::ItemPtr item;
                Outcome outcome = Outcome::Failed;
                if (w_.errors.attempt([&] {
                        item = builder_.nameSpace()->GetItemFromID(data.EntryID,
                                                                   placeOf(row.folder).storeID);
                    })) {
                    outcome = Delete_Current_Item(item, row.folder, data.EntryID);
                }
                if (tally(outcome, row.folder, QStringLiteral("Row Delete - ") + data.Subject,
                          kFolderPrefix + w_.records[row.folder].Folder->Name())) {
                    ++cleaned;
                    w_.records[row.folder]
                        .ItemCache[static_cast<std::size_t>(row.item - 1)]
                        .ItemClass = ItemData::kHole;
                    w_.grid.setMark(r, kRowUnmarked);
                    touched.insert(row.folder);
                    builder_.Set_Node_Text(row.folder);
                }
            }
            w_.yield.yield();
            if (r % 100 == 0) {
                status_.Display_Delete_By_Selected_Status(processed, cleaned);
            }
        }
        status_.Display_Delete_By_Selected_Status(processed, cleaned);
        // The rows of deleted items go; the user's other picks stay as they were.
        grid_.Remove_Filtered_Rows();
        if (!on(Control::chkPermanentDelete)) {
            for (const int folder : touched) {
                const int deletedItems = w_.records[folder].DeletedItemsIndex;
                if (deletedItems > 0) {
                    w_.records[deletedItems].Reload = true;
                }
            }
        }
    });
}

void DeletionStrategies::Delete_Selected_Folder(const outlook::FolderPtr& folder, int node) {
    Procedure procedure(w_.errors.stack, QStringLiteral("Delete_Selected_Folder"));
    QString name = w_.tree.node(node).Text;
    w_.errors.attempt([&] { name = folder->Name(); });
    outlook::FolderPtr parent;
    outlook::FoldersPtr siblings;
    const auto step = [&](const QString& label, const auto& call) {
        procedure.step(label);
        const bool done = w_.errors.attempt(call);
        procedure.endSteps();
        if (!done) {
            failed(QStringLiteral("Delete Folder - ") + label, kFolderPrefix + name);
            w_.tree.setChecked(node, false);
            builder_.Set_Node_Text(node);
        }
        return done;
    };
    const bool removed =
        step(QStringLiteral("Set Parent"),
             [&] {
                 parent = folder->Parent();
                 if (!parent) {
                     throw Failure(err::kObjectNotSet,
                                   QStringLiteral("The folder has no parent folder."));
                 }
             }) &&
        step(QStringLiteral("Set Collection"), [&] { siblings = parent->Folders(); }) &&
        step(QStringLiteral("Remove"), [&] {
            // Sub-folders go first; one still here was declined or failed, and removing its
            // parent would take it along.
            if (folder->Folders()->Count() > 0) {
                throw Failure(err::kAutomation,
                              QStringLiteral("The folder still holds folders that were not "
                                             "deleted, so it was kept."));
            }
            const QString id = folder->EntryID();
            for (long position = 1; position <= siblings->Count(); ++position) {
                if (siblings->Item(position)->EntryID() == id) {
                    siblings->Remove(position);
                    return;
                }
            }
            throw Failure(err::kAutomation,
                          QStringLiteral("The folder was not found in its parent folder."));
        });
    if (!removed) {
        return;
    }
    ++state_.ProcessedCount;
    // The folder is gone: its node leaves the tree, and its record holds nothing to load.
    std::vector<int> branch{node};
    while (!branch.empty()) {
        const int n = branch.back();
        branch.pop_back();
        FolderData& record = w_.records[builder_.Get_Node_Index(n)];
        w_.records.reset(builder_.Get_Node_Index(n));
        record.Folder = nullptr;
        record.Loaded = true;
        for (int child = w_.tree.Child(n); child != 0; child = w_.tree.Next(child)) {
            branch.push_back(child);
        }
    }
    const int parentNode = w_.tree.Parent(node);
    w_.tree.detach(node);
    // A collapsed folder's caption counts its sub-folders' items too.
    for (int above = parentNode; above != 0; above = w_.tree.Parent(above)) {
        builder_.Set_Node_Text(above);
    }
}

}  // namespace tf
