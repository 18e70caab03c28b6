#include "clean/run_checks.h"

#include <QDate>

#include "common/numbers.h"
#include "common/text.h"

namespace tf {

namespace {

const QString kCrLf = QStringLiteral("\r\n");

// "1 item", "2 items": the word takes an "s" unless the count is 1.
QString counted(long count, const QString& word) {
    return QString::number(count) + word + (count == 1 ? QString() : QStringLiteral("s"));
}

}  // namespace

RunChecks::RunChecks(WindowParts parts, FolderTreeBuilder& builder, GridLogic& grid,
                     const ItemFilters& filters, const FolderMarking& marking, RunState& state)
    : today([] { return toOleDate(QDate::currentDate()); }),
      w_(parts),
      builder_(builder),
      grid_(grid),
      filters_(filters),
      marking_(marking),
      state_(state) {}

bool RunChecks::Check_Screen() {
    bool pass = false;
    w_.errors.run(QStringLiteral("Check_Screen"), [&](Procedure&) {
        if (!Confirm_Selection_Count() || !Check_Deleted_Items_Folder()) {
            return;
        }
        if (on(Control::chkTurbo)) {
            pass = w_.prompter.ask(QStringLiteral("CAUTION!") + kCrLf + kCrLf +
                                       QStringLiteral("Turbo selected.") + kCrLf +
                                       QStringLiteral("ALL items in selected folders will be "
                                                      "deleted.") +
                                       kCrLf + kCrLf + QStringLiteral("Do you wish to continue?"),
                                   Prompter::YesNo) == Prompter::Yes;
            return;
        }
        if (on(Control::chkDeleteFolders)) {
            pass =
                w_.prompter.ask(QStringLiteral("CAUTION!") + kCrLf + kCrLf +
                                    QStringLiteral("ALL selected FOLDERS and their content will "
                                                   "be permanantly deleted.") +
                                    kCrLf + kCrLf + QStringLiteral("Press Yes to delete folders?"),
                                Prompter::YesNo) == Prompter::Yes;
            return;
        }
        // Anything but a plain Yes (a box closed with Escape, say) stops the run.
        if (on(Control::chkPermanentDelete) &&
            w_.prompter.ask(QStringLiteral("Permanently delete items in selected folders?"),
                            Prompter::YesNo) != Prompter::Yes) {
            return;
        }
        const OleDate cutoff = w_.controls[Control::dtpCutoffDate].date;
        if (on(Control::chkSelectDate) && datePart(cutoff) >= today() &&
            w_.prompter.ask(QStringLiteral("Selecting the date ") + formatDate(cutoff) +
                                QStringLiteral(" may result in ") +
                                QStringLiteral("all items in selected folders being deleted.  "
                                               "Continue?"),
                            Prompter::YesNo) != Prompter::Yes) {
            return;
        }
        QString inputErrors;
        if (on(Control::chkSelectSubject) &&
            w_.controls[Control::txtSelectSubject].caption.isEmpty()) {
            inputErrors = QStringLiteral("Subject required!");
        }
        if (on(Control::chkSelectType)) {
            bool anyType = false;
            for (const TypeBox& box : kTypeBoxes) {
                anyType = anyType || on(box.control);
            }
            if (!anyType) {
                inputErrors += kCrLf + QStringLiteral("No item type selected!");
            }
        }
        if (!inputErrors.isEmpty()) {
            w_.prompter.ask(inputErrors, Prompter::OkOnly | Prompter::Critical);
            return;
        }
        pass = true;
    });
    return pass;
}

long RunChecks::countMarkedItems(long& folders) const {
    long total = 0;
    folders = 0;
    for (int node = 1; node <= w_.tree.count(); ++node) {
        const int index = builder_.Get_Node_Index(node);
        const FolderData& record = w_.records[index];
        if (!w_.tree.node(node).Checked || !record.Folder) {
            continue;
        }
        ++folders;
        // Turbo wins over Delete Folders, here as in the gate and the walk.
        if (on(Control::chkTurbo)) {
            total += record.Folder->Items()->Count();
        } else if (on(Control::chkDeleteFolders)) {
            ++total;
        } else {
            const int cached =
                std::min<int>(record.CachedCount, static_cast<int>(record.ItemCache.size()));
            for (int item = 1; item <= cached; ++item) {
                total += filters_.Check_Filtered_Record(node, index, item) ? 1 : 0;
            }
        }
    }
    return total;
}

bool RunChecks::Confirm_Selection_Count() {
    bool go = false;
    w_.errors.run(QStringLiteral("Confirm_Selection_Count"), [&](Procedure&) {
        QString text;
        if (on(Control::chkSelectByRow)) {
            state_.SelectedTotal = grid_.Get_Rows_Selected_Count();
            text = counted(state_.SelectedTotal, QStringLiteral(" item")) +
                   QStringLiteral(" identified for cleaning");
        } else {
            long folders = 0;
            state_.SelectedTotal = countMarkedItems(folders);
            if (on(Control::chkDeleteFolders) && !on(Control::chkTurbo)) {
                text = counted(state_.SelectedTotal, QStringLiteral(" folder")) +
                       QStringLiteral(" identified for deletion.");
            } else {
                text = counted(state_.SelectedTotal, QStringLiteral(" item")) +
                       QStringLiteral(" in ") + counted(folders, QStringLiteral(" folder")) +
                       QStringLiteral(" identified for cleaning.");
            }
        }
        w_.prompter.ask(text, Prompter::OkOnly);
        // The count says what was counted; the warning that follows says it may not be all.
        if (!on(Control::chkSelectByRow) && !marking_.Check_Selected_Folders()) {
            const QString warning =
                QStringLiteral("Warning!  Not all marked folders have be fully loaded.") + kCrLf +
                QStringLiteral("These folders may be cleaned but not all items to be") + kCrLf +
                QStringLiteral("cleaned have been displayed or counted.") + kCrLf + kCrLf +
                QStringLiteral("Press OK to continue with cleaning.");
            go = w_.prompter.ask(warning, Prompter::OkCancel) == Prompter::Ok;
            return;
        }
        go = true;
    });
    return go;
}

bool RunChecks::Check_Deleted_Items_Folder() {
    bool fits = false;
    w_.errors.run(QStringLiteral("Check_Deleted_Items_Folder"), [&](Procedure&) {
        if (on(Control::chkPermanentDelete)) {
            fits = true;
            return;
        }
        bool overflowed = false;
        const int first = builder_.severalStores() ? w_.tree.Child(1) : 1;
        for (int store = first; store != 0 && store <= w_.tree.count();
             store = w_.tree.Next(store)) {
            const int deletedItems = w_.records[builder_.Get_Node_Index(store)].DeletedItemsIndex;
            if (deletedItems <= 0 || !w_.records[deletedItems].Folder) {
                continue;
            }
            const std::int32_t selected =
                on(Control::chkSelectByRow)
                    ? grid_.Get_Rows_Selected_Count(deletedItems)
                    : toInt32(
                          static_cast<double>(builder_.Get_Folder_Item_Count(store, true, true)));
            const std::int32_t inDeletedItems =
                toInt32(static_cast<double>(w_.records[deletedItems].Folder->Items()->Count()));
            const std::int32_t combined = checkedAdd(selected, inDeletedItems);
            if (combined <= kDeletedItemsLimit) {
                continue;
            }
            overflowed = true;
            const QString tabs = QStringLiteral("\t\t");
            w_.prompter.ask(
                QStringLiteral("Deleted Items Folder Overflow: ") + kCrLf + kCrLf +
                    QStringLiteral("     Deleted Items Folder:") + tabs + Str(inDeletedItems) +
                    kCrLf + QStringLiteral("     Selected total:") + tabs + Str(selected) + kCrLf +
                    QStringLiteral("     Combined:") + tabs + Str(combined) + kCrLf +
                    QStringLiteral("     Total Allowed:") + tabs + QStringLiteral(" 16383") +
                    kCrLf + kCrLf + QStringLiteral("You must either: ") + kCrLf +
                    QStringLiteral("   - Delete items from the Deleted Items Folder OR ") + kCrLf +
                    QStringLiteral("   - Select fewer items to delete OR ") + kCrLf +
                    QStringLiteral("   - Check the Permanent Delete box"),
                Prompter::OkOnly | Prompter::Critical);
        }
        fits = !overflowed;
    });
    return fits;
}

QString RunChecks::verb() const {
    return on(Control::chkPermanentDelete) ? QStringLiteral("Delete") : QStringLiteral("Move");
}

QString RunChecks::destination() const {
    return on(Control::chkPermanentDelete) ? QStringLiteral("?")
                                           : QStringLiteral(" to \"Deleted Items\" folder?");
}

QString RunChecks::folderPath(int node) const {
    QStringList names;
    for (int n = node; n != 0; n = w_.tree.Parent(n)) {
        const outlook::FolderPtr& folder = w_.records[builder_.Get_Node_Index(n)].Folder;
        if (folder) {
            names.prepend(folder->Name());
        }
    }
    return names.join(QLatin1Char('\\'));
}

bool RunChecks::Confirm_Current_Folder(int node) {
    bool go = false;
    w_.errors.run(QStringLiteral("Confirm_Current_Folder"), [&](Procedure&) {
        if (!on(Control::chkConfirmFolders)) {
            go = true;
            return;
        }
        const QString question = verb() + QStringLiteral(" items in ") + QStringLiteral("\"") +
                                 folderPath(node) + QStringLiteral("\"") +
                                 QStringLiteral(" folder") + destination();
        go = w_.prompter.ask(question, Prompter::YesNo) != Prompter::No;
    });
    return go;
}

int RunChecks::Confirm_Current_Item(const outlook::Item& item) {
    if (!on(Control::chkConfirmItems)) {
        return Prompter::Yes;
    }
    // Read first: a failing store call must not leave this procedure's name on the stack.
    const QString subject = item.Subject();
    Procedure procedure(w_.errors.stack, QStringLiteral("Confirm_Current_Item"));
    return w_.prompter.ask(verb() + QStringLiteral(" item ") + subject + destination(),
                           Prompter::YesNoCancel);
}

}  // namespace tf
