#include "tree/folder_tree_builder.h"

#include <array>

#include "common/text.h"
#include "outlook/constants.h"

namespace tf {

namespace {

const QString kSeparator = QStringLiteral("-:::-");

const std::array<QString, 10> kDefaultFolderNames = {
    QStringLiteral("Calendar"), QStringLiteral("Contacts"), QStringLiteral("Deleted Items"),
    QStringLiteral("Drafts"),   QStringLiteral("Inbox"),    QStringLiteral("Journal"),
    QStringLiteral("Notes"),    QStringLiteral("Outbox"),   QStringLiteral("Sent Items"),
    QStringLiteral("Tasks")};

}  // namespace

QString FolderTreeBuilder::nodeKey(const QString& entryID, const QString& storeID) {
    return kSeparator + entryID + kSeparator + storeID;
}

bool FolderTreeBuilder::Check_Default_Folder(const outlook::FolderPtr& folder) {
    if (!folder) {
        return false;
    }
    const QString name = folder->Name();
    for (const QString& defaultName : kDefaultFolderNames) {
        if (name == defaultName) {
            return true;
        }
    }
    return false;
}

int FolderTreeBuilder::Get_Node_Index(int node) const {
    return static_cast<int>(Val(w_.tree.node(node).Tag));
}

void FolderTreeBuilder::Build_Folder_Tree() {
    w_.errors.run(QStringLiteral("Build_Folder_Tree"), [&](Procedure& p) {
        messageWindow_.setText(pleaseWaitText(QStringLiteral("Building Folder Tree.")));
        messageWindow_.show();

        w_.tree.setVisible(false);
        severalStores_ = false;
        w_.yield.yield();

        w_.records.recreate();
        w_.tree.clear();
        w_.grid.setRows(1);

        p.step(QStringLiteral("Get Namespace Folders"));
        if (!nameSpace_) {
            throw Failure(err::kObjectNotSet,
                          QStringLiteral("Object variable or With block variable not set"));
        }
        const outlook::FoldersPtr stores = nameSpace_->Folders();

        p.step(QStringLiteral("Create Root Node"));
        const int root = w_.tree.add(0, kRootKey, kRootName);
        w_.tree.setTag(root, QString::number(root));
        w_.records.reset(root);
        p.endSteps();

        outlook::FoldersPtr topFolders;
        if (stores->Count() == 1) {
            p.step(QStringLiteral("Save Root Folder"));
            const outlook::FolderPtr storeTop = stores->Item(1);
            w_.records[root].Folder = storeTop;
            p.endSteps();

            p.step(QStringLiteral("Configure Root Node"));
            w_.tree.setText(root, storeTop->Name());
            if (storeTop->Items()->Count() == 0) {
                w_.records[root].Loaded = true;
            }
            severalStores_ = false;
            p.endSteps();

            p.step(QStringLiteral("Get Root Folder's Folders"));
            topFolders = storeTop->Folders();
        } else {
            w_.records[root].Loaded = true;
            severalStores_ = true;
            p.step(QStringLiteral("Get Root Folder's Folders"));
            topFolders = stores;
        }
        w_.tree.setForeColor(root,
                             w_.records[root].Loaded ? w_.colours.loaded : w_.colours.unloaded);
        p.endSteps();

        p.step(QStringLiteral("Process all sub-Folders"));
        const long count = topFolders->Count();
        for (long i = 1; i <= count; ++i) {
            Add_Tree_Node(topFolders->Item(i), root);
        }
        p.endSteps();

        for (int node = 1; node <= w_.tree.count(); ++node) {
            Set_Node_Text(node);
        }
    });
}

void FolderTreeBuilder::Add_Tree_Node(const outlook::FolderPtr& folder, int parentNode) {
    w_.errors.run(QStringLiteral("Add_Tree_Node"), [&](Procedure& p) {
        p.step(QStringLiteral("Accessing EntryID"));
        // A folder whose identifiers cannot be read is still added, with what could be read.
        QString entryID;
        QString storeID;
        w_.errors.attempt([&] {
            entryID = folder->EntryID();
            storeID = folder->StoreID();
        });
        w_.errors.current.clear();
        const QString key = nodeKey(entryID, storeID);
        p.endSteps();

        p.step(QStringLiteral("Creating Node"));
        const int node = w_.tree.add(parentNode, key, folder->Name());
        w_.tree.setSorted(node, true);
        w_.tree.setTag(node, QString::number(node));
        p.endSteps();

        p.step(QStringLiteral("Adding Folder Data Element"));
        w_.records.grow(node);
        w_.records.reset(node);
        p.endSteps();

        p.step(QStringLiteral("Saving Folder Pointer"));
        w_.records[node].Folder = folder;
        w_.tree.setForeColor(node, w_.colours.unloaded);
        p.endSteps();

        p.step(QStringLiteral("Configuring Node"));
        Set_Node_Text(node);
        p.endSteps();

        p.step(QStringLiteral("Setting Folder Collection"));
        const outlook::FoldersPtr children = folder->Folders();
        p.endSteps();

        p.step(QStringLiteral("Processing Children"));
        const long count = children->Count();
        for (long i = 1; i <= count; ++i) {
            Add_Tree_Node(children->Item(i), node);
        }
        p.endSteps();
    });
}

long FolderTreeBuilder::Get_Folder_Item_Count(int node, bool onlyMarked, bool includeChildren) {
    if (node == 0) {
        return 0;
    }
    long total = 0;
    const FolderData& record = w_.records[Get_Node_Index(node)];
    if (record.Folder && (!onlyMarked || w_.tree.node(node).Checked)) {
        total += record.Folder->Items()->Count();
    }
    if (includeChildren) {
        for (int child = w_.tree.Child(node); child != 0; child = w_.tree.Next(child)) {
            total += Get_Folder_Item_Count(child, onlyMarked, includeChildren);
        }
    }
    return total;
}

void FolderTreeBuilder::Set_Node_Text(int node) {
    w_.errors.run(QStringLiteral("Set_Node_Text"), [&](Procedure&) {
        const TreeNode& n = w_.tree.node(node);
        const FolderData& record = w_.records[Get_Node_Index(node)];
        const bool virtualRoot = n.Key == kRootKey && severalStores_;
        const QString name = virtualRoot || !record.Folder ? kRootName : record.Folder->Name();

        w_.tree.setBold(node, n.Checked);
        long count = 0;
        if (n.Expanded) {
            count = record.Folder ? record.Folder->Items()->Count() : 0;
        } else if (n.Checked) {
            count = Get_Folder_Item_Count(node, true, true);
        } else if (Get_Folder_Item_Count(node, true, false) > 0) {
            // With children left out only the node's own mark counts, and it is unmarked here,
            // so this branch stays for the rule's sake and a collapsed unmarked node shows all.
            w_.tree.setBold(node, true);
            count = Get_Folder_Item_Count(node, true, true);
        } else {
            count = Get_Folder_Item_Count(node, false, true);
        }
        w_.tree.setText(node,
                        name + QStringLiteral(" - (") + LTrim(Str(count)) + QStringLiteral(")"));
    });
}

void FolderTreeBuilder::Set_Folder_Label(int recordIndex) {
    const bool present = recordIndex >= 1 && recordIndex <= w_.records.upperBoundIndex() &&
                         w_.records[recordIndex].Folder;
    w_.controls.setCaption(
        Control::lblCurrentFolder,
        present ? QStringLiteral("Current Folder: ") + w_.records[recordIndex].Folder->Name()
                : QStringLiteral("Current Folder:"));
}

void FolderTreeBuilder::Set_Start_Folder() {
    const bool found = w_.errors.attempt([&] {
        const outlook::FolderPtr inbox = nameSpace_->GetDefaultFolder(outlook::olFolderInbox);
        const QString entryID = inbox->EntryID();
        const QString storeID = inbox->StoreID();
        const QString name = inbox->Name();
        // The walk goes in node order, so the store's own Inbox is met before any deeper
        // folder of the same name.
        for (int node = 1; node <= w_.tree.count(); ++node) {
            const FolderData& record = w_.records[Get_Node_Index(node)];
            if (record.Folder && record.Folder->EntryID() == entryID &&
                record.Folder->StoreID() == storeID && record.Folder->Name() == name) {
                w_.tree.select(node);
                // Making the node visible expands its ancestors, whose captions then count
                // their own items only.
                for (int up = w_.tree.Parent(node); up != 0; up = w_.tree.Parent(up)) {
                    w_.tree.setExpanded(up, true);
                    Set_Node_Text(up);
                }
                Set_Folder_Label(Get_Node_Index(node));
                return;
            }
        }
        throw Failure(err::kAutomation, QStringLiteral("The Inbox is not in the folder tree."));
    });
    if (!found) {
        w_.errors.current.clear();
        w_.prompter.tell(QStringLiteral("Error assigning startup folder"));
    }
}

}  // namespace tf
