#pragma once

#include <map>

#include "tests/support/window_fixture.h"

namespace tf::testing {

// The whole window's logic over a store with default folders and a small tree of the user's own:
//   Personal Folders
//     Inbox (4 mail, 1 unread), Deleted Items (2), Journal (1 journal entry), the other defaults
//     Projects (1)
//       Alpha (5)
//         Old (2)
//       Beta (3)
// The user's ticks and clicks go through the tree's events, as the view sends them.
class MarkingFixture : public WindowFixture {
  protected:
    static std::shared_ptr<MemoryStore> sampleStore(
        const QString& name = QStringLiteral("Personal Folders"),
        const QString& id = QStringLiteral("S")) {
        auto s = MemoryStore::withDefaultFolders(name, id);
        MemoryItemSpec unread;
        unread.unread = true;
        s->addItems(s->folder(QStringLiteral("Inbox")), 3);
        s->addItems(s->folder(QStringLiteral("Inbox")), 1, unread);
        s->addItems(s->folder(QStringLiteral("Deleted Items")), 2);
        MemoryItemSpec journal;
        journal.itemClass = outlook::olJournal;
        s->addItems(s->folder(QStringLiteral("Journal")), 1, journal);
        const auto projects = s->addFolder(s->top(), QStringLiteral("Projects"));
        s->addItems(projects, 1);
        const auto alpha = s->addFolder(projects, QStringLiteral("Alpha"));
        s->addItems(alpha, 5);
        s->addItems(s->addFolder(alpha, QStringLiteral("Old")), 2);
        s->addItems(s->addFolder(projects, QStringLiteral("Beta")), 3);
        return s;
    }

    // Opens the stores and loads them completely; the load's own message is forgotten.
    void load(const std::vector<std::shared_ptr<MemoryStore>>& stores = {sampleStore()}) {
        open(stores);
        ASSERT_TRUE(logic.Form_Load());
        ASSERT_TRUE(logic.flags.AllFoldersCached);
        prompter.forget();
    }

    // The user ticks or unticks the folder's check box.
    void tick(int n) {
        logic.marking.trvFolder_NodeCheck(n, !logic.tree.node(n).Checked);
        logic.marking.trvFolders_MouseUp();
    }
    void tick(const char* folder) { tick(node(QLatin1String(folder))); }
    // The user clicks the folder's caption.
    void click(const char* folder) {
        logic.marking.trvFolders_NodeClick(node(QLatin1String(folder)));
        logic.marking.trvFolders_MouseUp();
    }

    bool checked(const char* folder) const {
        return logic.tree.node(node(QLatin1String(folder))).Checked;
    }
    bool bold(const char* folder) const {
        return logic.tree.node(node(QLatin1String(folder))).Bold;
    }
    void set(Control box, int value) { logic.controls.setValue(box, value); }
    int value(Control box) const { return logic.controls.value(box); }
    bool enabled(Control control) const { return logic.controls[control].enabled; }
    QString label() const { return logic.controls[Control::lblCurrentFolder].caption; }
    int selectedRows() const { return logic.gridLogic.Get_Rows_Selected_Count(); }
    int rows() const { return logic.grid.Rows() - 1; }

    // Every check box's value, to show that a refused change left the others alone.
    std::map<Control, int> optionValues() const {
        std::map<Control, int> values;
        for (const Control control : allControls()) {
            if (controlName(control).startsWith(QLatin1String("chk"))) {
                values[control] = logic.controls.value(control);
            }
        }
        return values;
    }
};

}  // namespace tf::testing
