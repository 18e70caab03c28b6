#pragma once

#include <gtest/gtest.h>

#include "outlook/session.h"
#include "tests/support/memory_store.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/window_fakes.h"
#include "tree/folder_tree_builder.h"
#include "window/controls.h"

namespace tf::testing {

// The folder tree's logic wired to scripted window parts, over in-memory stores.
class TreeFixture : public ::testing::Test {
  protected:
    TreeFixture()
        : errors(prompter),
          messageWindow(log),
          builder(WindowParts{errors, prompter, yield, tree, records, grid, controls, colours,
                              flags, status},
                  messageWindow) {}

    void open(std::vector<outlook::StorePtr> stores) {
        session = std::make_shared<outlook::Session>(std::move(stores));
        builder.setNameSpace(session);
        builder.Build_Folder_Tree();
    }

    // The node whose caption starts with the name, searched in index order.
    int nodeNamed(const QString& name) const {
        for (int i = 1; i <= tree.count(); ++i) {
            if (tree.node(i).Text.startsWith(name + QStringLiteral(" - ("))) {
                return i;
            }
        }
        return 0;
    }
    QString caption(const QString& name) const { return tree.node(nodeNamed(name)).Text; }

    ScriptedPrompter prompter;
    ScriptedYield yield;
    WindowLog log;
    ErrorContext errors;
    FolderTree tree;
    FolderRecords records;
    ItemsGrid grid;
    Controls controls;
    WindowColours colours;
    WindowFlags flags;
    StatusPanels status;
    RecordingMessageWindow messageWindow;
    FolderTreeBuilder builder;
    std::shared_ptr<outlook::Session> session;
};

}  // namespace tf::testing
