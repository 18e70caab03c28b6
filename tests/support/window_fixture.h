#pragma once

#include <gtest/gtest.h>

#include "app/main_window_logic.h"
#include "outlook/session.h"
#include "tests/support/memory_store.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/window_fakes.h"

namespace tf::testing {

// The whole main window's logic over in-memory stores, with scripted prompts and yields.
class WindowFixture : public ::testing::Test {
  protected:
    WindowFixture()
        : messageWindow(log), shell(log), logic(prompter, yield, messageWindow, shell, source) {}

    void open(const std::vector<std::shared_ptr<MemoryStore>>& stores) {
        source.created = std::make_shared<outlook::SessionApplication>(
            std::vector<outlook::StorePtr>(stores.begin(), stores.end()));
    }
    // A store with the default folders and the given number of mail items in its Inbox.
    static std::shared_ptr<MemoryStore> storeWithInbox(
        int items, const QString& name = QStringLiteral("Personal Folders"),
        const QString& id = QStringLiteral("S")) {
        auto s = MemoryStore::withDefaultFolders(name, id);
        s->addItems(s->folder(QStringLiteral("Inbox")), items);
        return s;
    }

    // The first node, in index order, whose folder has this name; 0 if none.
    int node(const QString& folderName) const {
        for (int n = 1; n <= logic.tree.count(); ++n) {
            const outlook::FolderPtr& folder = logic.records[n].Folder;
            if (folder && folder->Name() == folderName) {
                return n;
            }
        }
        return 0;
    }
    // The folder's record; an empty one while the tree holds no such folder yet.
    FolderData& record(const QString& folderName) {
        const int n = node(folderName);
        if (n == 0) {
            none_ = FolderData{};
            return none_;
        }
        return logic.records[n];
    }
    // Marks a folder's node as the user's tick will, without the marking rules.
    void mark(const QString& folderName) { logic.tree.setChecked(node(folderName), true); }

    // The text of one column for every data row, top to bottom.
    QStringList column(int col) const {
        QStringList texts;
        for (int r = 1; r < logic.grid.Rows(); ++r) {
            texts << logic.grid.TextMatrix(r, col);
        }
        return texts;
    }
    int columnHeaded(const QString& word) const {
        for (int col = 0; col < logic.grid.Cols(); ++col) {
            if (logic.grid.header(col) == word) {
                return col;
            }
        }
        return -1;
    }

    ScriptedPrompter prompter;
    ScriptedYield yield;
    WindowLog log;
    RecordingMessageWindow messageWindow;
    RecordingShell shell;
    FakeApplicationSource source;
    RemoveItemsLogic logic;

  private:
    FolderData none_;
};

}  // namespace tf::testing
