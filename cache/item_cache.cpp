#include "cache/item_cache.h"

#include "cache/item_filters.h"
#include "common/text.h"
#include "outlook/constants.h"

namespace tf {

namespace {
// How many items go to the grid in one batch.
constexpr int kBatch = 100;
}  // namespace

OleDate laterDate(OleDate a, OleDate b) {
    if (isNoDate(a)) {
        return b;
    }
    if (isNoDate(b)) {
        return a;
    }
    return a <= b ? b : a;
}

OleDate Get_Item_Date(const outlook::Item& item) {
    const long itemClass = item.Class();
    OleDate date = 0;
    if (itemClass == outlook::olMail || (itemClass >= outlook::olMeetingRequest &&
                                         itemClass <= outlook::olMeetingResponseTentative)) {
        date = item.ReceivedTime();
    } else if (itemClass == outlook::olAppointment || itemClass == outlook::olJournal) {
        date = item.End();
    } else if (itemClass == outlook::olTask) {
        date =
            laterDate(item.LastModificationTime(), laterDate(item.DateCompleted(), item.DueDate()));
    } else {
        date = item.LastModificationTime();
    }
    return datePart(date);
}

void Pack_Items_Array(FolderData& record) {
    std::vector<ItemData>& cache = record.ItemCache;
    const int cached = std::min<int>(record.CachedCount, static_cast<int>(cache.size()));
    int target = 1;
    for (int source = 1; source <= cached; ++source) {
        ItemData& from = cache[static_cast<std::size_t>(source - 1)];
        if (from.isHole()) {
            continue;
        }
        if (source != target) {
            cache[static_cast<std::size_t>(target - 1)] = std::move(from);
            from = ItemData{};
            from.ItemClass = ItemData::kHole;
        }
        ++target;
    }
    record.CachedCount = target - 1;
    record.GridCount = std::min(record.GridCount, record.CachedCount);
}

int ItemCacheLoader::Get_Next_Unloaded_Checked_Node() const {
    for (int node = 1; node <= w_.tree.count(); ++node) {
        const TreeNode& n = w_.tree.node(node);
        if (n.Checked && n.ForeColor == w_.colours.unloaded) {
            return node;
        }
    }
    return 0;
}

bool ItemCacheLoader::All_Folders_Cached() const {
    for (int node = 1; node <= w_.tree.count(); ++node) {
        if (!w_.records[builder_.Get_Node_Index(node)].Loaded) {
            return false;
        }
    }
    return true;
}

void ItemCacheLoader::Cache_Folder_Items() {
    w_.errors.run(QStringLiteral("Cache_Folder_Items"), [&](Procedure&) {
        WindowFlags& f = w_.flags;
        const bool wasLoading = std::exchange(f.Loading, true);
        f.StopCaching = false;
        f.InterruptCaching = false;
        f.AllFoldersCached = false;
        f.LoadFailed = false;
        MapiUtils.emplace();

        while (!f.InterruptCaching && !f.AllFoldersCached) {
            const int selected = w_.tree.selected();
            const int selectedFolder = selected != 0 ? builder_.Get_Node_Index(selected) : 0;
            if (selected != 0 && !Check_Cache_Status(selectedFolder, selected)) {
                Cache_Selected_Folder(selectedFolder, selected);
            } else if (const int marked = Get_Next_Unloaded_Checked_Node(); marked != 0) {
                Cache_Selected_Folder(builder_.Get_Node_Index(marked), marked);
            } else {
                for (int node = 1; node <= w_.tree.count(); ++node) {
                    const int folder = builder_.Get_Node_Index(node);
                    if (Check_Cache_Status(folder, node)) {
                        continue;
                    }
                    if (!Cache_Selected_Folder(folder, node)) {
                        break;
                    }
                    w_.yield.yield();
                }
            }
            if (f.StopCaching) {
                // Quit, unload or a full refresh: leave at once, the window is going away or
                // being rebuilt.
                f.Loading = wasLoading;
                return;
            }
            f.InterruptCaching = false;
            f.AllFoldersCached = All_Folders_Cached();
        }
        // Rows of folders other than the selected one came in unsorted.
        grid_.Set_Grid_Order();
        if (f.LoadFailed) {
            w_.prompter.ask(QStringLiteral("Not all items could be loaded."),
                            Prompter::OkOnly | Prompter::Critical);
        }
        w_.status.setText(1, QString());
        w_.status.setText(2, QString());
        MapiUtils.reset();
        f.Loading = wasLoading;
    });
}

bool ItemCacheLoader::Check_Cache_Status(int folder, int node) {
    FolderData& record = w_.records[folder];
    if (record.Loaded) {
        return true;
    }
    bool done = true;
    if (record.Folder) {
        const long count = record.Folder->Items()->Count();
        if (count == 0) {
            done = true;
        } else if (record.CachedCount == 0) {
            record.ItemCache.assign(static_cast<std::size_t>(count), ItemData{});
            done = false;
        } else {
            done = record.CachedCount == count;
        }
    }
    if (done) {
        // A folder broken off right after its last item still owes the grid that item's batch.
        if (record.GridCount < record.CachedCount) {
            Add_100_New_Rows(folder, node);
        }
        record.Loaded = true;
        w_.tree.setForeColor(node, w_.colours.loaded);
    }
    return done;
}

bool ItemCacheLoader::Cache_Selected_Folder(int folder, int node) {
    bool finished = false;
    const bool ran = w_.errors.run(QStringLiteral("Cache_Selected_Folder"), [&](Procedure& p) {
        FolderData& record = w_.records[folder];
        const QString name = record.Folder->Name();
        p.step(name);
        // A refresh of this folder while it loads resets its record; what this pass read then
        // belongs to the old contents and is left alone.
        const std::uint32_t resets = record.Resets;
        Display_Cache_Status(name, record.CachedCount);

        const outlook::ItemsPtr items = record.Folder->Items();
        const long count = items->Count();
        if (record.CachedCount == 0 && record.ItemCache.empty()) {
            // Reached as a marked folder, without the status check that sizes the cache.
            record.ItemCache.resize(static_cast<std::size_t>(count));
        }
        for (long i = record.CachedCount + 1; i <= count; ++i) {
            if (static_cast<std::size_t>(i) > record.ItemCache.size()) {
                // Arrived since the cache was sized.
                record.ItemCache.resize(static_cast<std::size_t>(i));
                builder_.Set_Node_Text(node);
            }
            if (Cache_Current_Item(static_cast<int>(i), folder, *items)) {
                w_.yield.yield();
                if (record.Resets != resets) {
                    p.endSteps();
                    return;
                }
                bool stop = w_.flags.InterruptCaching;
                const int selected = w_.tree.selected();
                if (!stop && selected != w_.flags.LastSelectedNode) {
                    w_.flags.LastSelectedNode = selected;
                    stop = selected != 0 && !w_.records[builder_.Get_Node_Index(selected)].Loaded;
                }
                if (stop) {
                    // Item i is read: the folder resumes after it, reading nothing twice.
                    record.CachedCount = static_cast<std::int32_t>(i);
                    p.endSteps();
                    return;
                }
            }
            if (i % kBatch == 0) {
                record.CachedCount = static_cast<std::int32_t>(i);
                w_.grid.setRedraw(false);
                Add_100_New_Rows(folder, node);
                w_.grid.setRedraw(true);
                Display_Cache_Status(name, i);
                if (record.Resets != resets) {
                    p.endSteps();
                    return;
                }
                if (w_.flags.InterruptCaching) {
                    p.endSteps();
                    return;
                }
            }
        }
        p.endSteps();
        if (record.ItemCache.size() > static_cast<std::size_t>(count)) {
            // Items went away between sizing and reading: the records past the end were never
            // read and stand for nothing.
            record.ItemCache.resize(static_cast<std::size_t>(count));
        }
        record.CachedCount = static_cast<std::int32_t>(record.ItemCache.size());
        w_.grid.setRedraw(false);
        Add_100_New_Rows(folder, node);
        if (record.GridCount > 0 && node == w_.tree.selected()) {
            // Rows arrive in the folder's own order; once the folder the user looks at is in,
            // the grid's order is put back. Sorting after every batch, or after every folder
            // of a large store, would cost more than the loading.
            grid_.Set_Grid_Order();
        }
        w_.grid.setRedraw(true);
        record.Loaded = true;
        w_.tree.setForeColor(node, w_.colours.loaded);
        finished = true;
    });
    if (!ran) {
        // The folder itself could not be read (the store went away, say). It is passed over
        // so that loading ends, and the user is told that not everything was loaded.
        w_.flags.LoadFailed = true;
        w_.records[folder].Loaded = true;
        w_.tree.setForeColor(node, w_.colours.loaded);
        return true;
    }
    return finished;
}

bool ItemCacheLoader::Cache_Current_Item(int index, int folder, const outlook::Items& items) {
    return w_.errors.run(QStringLiteral("Cache_Current_Item"), [&](Procedure&) {
        ItemData& record = w_.records[folder].ItemCache[static_cast<std::size_t>(index - 1)];
        const outlook::ItemPtr item = items.Item(index);
        record.ItemClass = static_cast<std::int32_t>(item->Class());
        record.Subject = item->Subject();
        record.ItemDate = Get_Item_Date(*item);
        record.Unread = Check_Unread(*item) ? -1 : 0;
        record.EntryID = item->EntryID();
        if (record.ItemClass == outlook::olMail) {
            record.SenderOrText =
                MapiUtils->HrGetOneProp(item->MAPIOBJECT(), outlook::PR_SENDER_NAME);
        } else {
            record.SenderOrText = item->Body().left(20);
        }
    });
}

void ItemCacheLoader::Add_100_New_Rows(int folder, int node) {
    const int selected = w_.tree.selected();
    const bool isSelected = selected != 0 && builder_.Get_Node_Index(selected) == folder;
    const bool showAll = w_.controls.value(Control::chkShowAllFolders) == 1;
    const bool add = isSelected ? (w_.tree.node(selected).Checked || !showAll)
                                : (showAll && w_.tree.node(node).Checked);
    if (add) {
        grid_.Add_Folder_Rows(folder, node, RowMarker::None);
    }
}

void ItemCacheLoader::Display_Cache_Status(const QString& folderName, long count) {
    w_.status.setText(
        1, QStringLiteral("Loading Folder \"") + Trim(folderName) + QStringLiteral("\""));
    w_.status.setText(2, QString::number(count));
    w_.yield.yield();
}

}  // namespace tf
