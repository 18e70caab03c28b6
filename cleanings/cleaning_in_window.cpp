#include "cleanings/cleaning_in_window.h"

#include <QHash>
#include <QSet>
#include <algorithm>

#include "common/dates.h"
#include "outlook/session.h"

namespace tf::cleanings {

namespace {

QHash<QString, QString> storeLocations(const RemoveItemsLogic& logic) {
    QHash<QString, QString> locations;
    if (const auto session = std::dynamic_pointer_cast<outlook::Session>(logic.session.nameSpace)) {
        for (const outlook::StorePtr& store : session->stores()) {
            locations.insert(store->StoreID(), store->location());
        }
    }
    return locations;
}

const outlook::FolderPtr& folderOf(const RemoveItemsLogic& logic, int node) {
    return logic.records[logic.treeBuilder.Get_Node_Index(node)].Folder;
}

// The node of a cleaning's folder; 0 when the tree has none. A folder of the same store is
// preferred; with anyStore, and only one store open, its path is taken under that store too.
int findNode(const std::vector<OpenFolder>& open, const FolderRef& ref, bool anyStore) {
    int byPath = 0;
    int matches = 0;
    for (const OpenFolder& folder : open) {
        if (folder.ref.path != ref.path) {
            continue;
        }
        if (folder.ref.store == ref.store) {
            return folder.node;
        }
        byPath = folder.node;
        ++matches;
    }
    if (!anyStore) {
        return 0;
    }
    if (matches == 1) {
        return byPath;
    }
    QSet<QString> stores;
    for (const OpenFolder& folder : open) {
        stores.insert(folder.ref.store);
    }
    if (matches == 0 && stores.size() == 1 && !open.empty()) {
        // A store opened from elsewhere may carry another name: the path below it still holds.
        QStringList path = ref.path;
        path[0] = open.front().ref.path.front();
        for (const OpenFolder& folder : open) {
            if (folder.ref.path == path) {
                return folder.node;
            }
        }
    }
    return 0;
}

// A tick or an untick, as the user's click goes: recorded by the check event, decided on mouse-up.
void click(RemoveItemsLogic& logic, int node, bool checked) {
    logic.marking.trvFolder_NodeCheck(node, checked);
    logic.marking.trvFolders_MouseUp();
}

void setBox(RemoveItemsLogic& logic, Control box, int value) {
    logic.controls.setValue(box, value);
}

}  // namespace

QString pathText(const QStringList& path) {
    return path.join(QLatin1Char('/'));
}

std::vector<OpenFolder> openFolders(const RemoveItemsLogic& logic) {
    const QHash<QString, QString> locations = storeLocations(logic);
    std::vector<OpenFolder> open;
    for (int node = 1; node <= logic.tree.count(); ++node) {
        if (!logic.tree.attached(node)) {
            continue;
        }
        const outlook::FolderPtr& folder = folderOf(logic, node);
        if (!folder) {
            continue;
        }
        OpenFolder entry{node, {locations.value(folder->StoreID()), {}}};
        for (int n = node; n != 0 && folderOf(logic, n); n = logic.tree.Parent(n)) {
            entry.ref.path.prepend(folderOf(logic, n)->Name());
        }
        open.push_back(entry);
    }
    return open;
}

Cleaning capture(const RemoveItemsLogic& logic, bool cutoffAsAge, const QDate& today) {
    Cleaning cleaning;
    for (const OpenFolder& folder : openFolders(logic)) {
        if (logic.tree.node(folder.node).Checked) {
            cleaning.folders.push_back(folder.ref);
        }
    }
    for (const Control box : savedOptions()) {
        cleaning.setOption(box, logic.controls.value(box));
    }
    cleaning.subject = logic.controls[Control::txtSelectSubject].caption;
    if (logic.controls.isOn(Control::chkSelectDate)) {
        const QDate date = toQDate(datePart(logic.controls[Control::dtpCutoffDate].date));
        cleaning.cutoff =
            cutoffAsAge ? Cutoff{Cutoff::Kind::OlderThanDays,
                                 static_cast<int>(std::max<qint64>(0, date.daysTo(today) - 1)),
                                 {}}
                        : Cutoff{Cutoff::Kind::FixedDate, 0, date};
    }
    return cleaning;
}

ApplyResult apply(RemoveItemsLogic& logic, const Cleaning& cleaning, const QDate& today,
                  MarkMode mode, bool anyStore) {
    ApplyResult result;
    const std::vector<OpenFolder> open = openFolders(logic);
    std::vector<int> nodes;
    for (const FolderRef& ref : cleaning.folders) {
        const int node = findNode(open, ref, anyStore);
        if (node == 0) {
            result.missing << pathText(ref.path);
        }
        nodes.push_back(node);
    }
    if (!result.missing.isEmpty()) {
        return result;
    }

    // From a clean slate: no marks, and neither option that forces others, so that the plain
    // options take the cleaning's values and the forcing ones then force as a click would.
    logic.marking.mnuUnmark_Click();
    setBox(logic, Control::chkDeleteFolders, 0);
    setBox(logic, Control::chkTurbo, 0);
    setBox(logic, Control::chkSelectByRow, 0);
    logic.controls.setCaption(Control::txtSelectSubject, cleaning.subject);
    if (cleaning.cutoff) {
        logic.controls.update(Control::dtpCutoffDate, [&](ControlState& c) {
            c.date = toOleDate(cleaning.cutoff->dateOn(today));
        });
    }
    for (const Control box : savedOptions()) {
        if (const std::optional<int> value = cleaning.option(box)) {
            setBox(logic, box, *value);
        }
    }
    logic.options.txtSelectSubject_Validate();
    logic.options.dtpCutoffDate_Validate();
    for (const Control box : savedOptions()) {
        const std::optional<int> value = cleaning.option(box);
        if (value && logic.controls.value(box) != *value) {
            result.overridden << optionKey(box);
        }
    }

    // Parents before their sub-folders, as a user works down the tree.
    std::vector<int> order = nodes;
    std::sort(order.begin(), order.end());
    for (const int node : order) {
        if (!logic.tree.node(node).Checked) {
            click(logic, node, true);
        }
        if (!logic.tree.node(node).Checked) {
            result.refused << pathText(std::find_if(open.begin(), open.end(), [&](const auto& f) {
                                           return f.node == node;
                                       })->ref.path);
        }
    }
    // Delete Folders takes a folder with everything below it, and its rules keep sub-folders of a
    // marked folder marked: there is nothing to untick then.
    if (mode == MarkMode::Exactly && !logic.controls.isOn(Control::chkDeleteFolders)) {
        const QSet<int> wanted(nodes.begin(), nodes.end());
        for (const OpenFolder& folder : open) {
            if (logic.tree.node(folder.node).Checked && !wanted.contains(folder.node)) {
                click(logic, folder.node, false);
            }
        }
    }
    return result;
}

bool Save_Cleaning(RemoveItemsLogic& logic, Prompter& prompter, const QString& file,
                   const QDate& today) {
    bool asAge = false;
    if (logic.controls.isOn(Control::chkSelectDate)) {
        const QDate date = toQDate(datePart(logic.controls[Control::dtpCutoffDate].date));
        const qint64 days = std::max<qint64>(0, date.daysTo(today) - 1);
        asAge = prompter.ask(QStringLiteral("Keep the cut-off as an age, \"older than %1 days\", "
                                            "so that it moves on with the day the cleaning "
                                            "runs?\r\n\r\nNo keeps the fixed date %2.")
                                 .arg(days)
                                 .arg(date.toString(Qt::ISODate)),
                             Prompter::YesNo) == Prompter::Yes;
    }
    try {
        save(capture(logic, asAge, today), file);
        return true;
    } catch (const CleaningError& error) {
        prompter.ask(error.message(), Prompter::OkOnly | Prompter::Critical);
        return false;
    }
}

bool Open_Cleaning(RemoveItemsLogic& logic, Prompter& prompter, const QString& file,
                   const QDate& today) {
    // A run holds on to the marks it walks.
    if (logic.flags.Processing) {
        return false;
    }
    Cleaning cleaning;
    try {
        cleaning = load(file);
    } catch (const CleaningError& error) {
        prompter.ask(error.message(), Prompter::OkOnly | Prompter::Critical);
        return false;
    }
    const ApplyResult result = apply(logic, cleaning, today, MarkMode::Exactly, false);
    if (!result.changed()) {
        prompter.ask(QStringLiteral("The cleaning \"%1\" names folders that are not open:\r\n"
                                    "%2\r\n\r\nOpen their stores first. Nothing was changed.")
                         .arg(file, result.missing.join(QStringLiteral("\r\n"))),
                     Prompter::OkOnly | Prompter::Critical);
        return false;
    }
    return true;
}

std::vector<FolderPreview> previewRun(const RemoveItemsLogic& logic) {
    std::vector<FolderPreview> previews;
    const bool deleteFolders = logic.controls.isOn(Control::chkDeleteFolders);
    const bool turbo = logic.controls.isOn(Control::chkTurbo);
    for (const OpenFolder& folder : openFolders(logic)) {
        if (!logic.tree.node(folder.node).Checked) {
            continue;
        }
        const int index = logic.treeBuilder.Get_Node_Index(folder.node);
        const FolderData& record = logic.records[index];
        FolderPreview preview{folder.node, folder.ref, 0, 0, record.Loaded};
        preview.items = record.Folder->Items()->Count();
        if (deleteFolders) {
            preview.selected = 1;
        } else if (turbo) {
            preview.selected = preview.items;
        } else {
            const int cached = static_cast<int>(record.ItemCache.size());
            for (int item = 1; item <= cached; ++item) {
                preview.selected +=
                    logic.filters.Check_Filtered_Record(folder.node, index, item) ? 1 : 0;
            }
        }
        previews.push_back(preview);
    }
    return previews;
}

}  // namespace tf::cleanings
