#include "tree/folder_reload.h"

#include <gtest/gtest.h>

#include "tests/support/window_fixture.h"

namespace tf::testing {
namespace {

class FolderReloadTest : public WindowFixture {
  protected:
    void SetUp() override {
        auto s = storeWithInbox(2);
        const auto projects =
            s->addFolder(s->folder(QStringLiteral("Inbox")), QStringLiteral("Projects"));
        s->addItems(projects, 3);
        s->addItems(s->addFolder(projects, QStringLiteral("Old")), 4);
        s->addItems(s->addFolder(s->folder(QStringLiteral("Inbox")), QStringLiteral("Receipts")),
                    5);
        open({s});
        ASSERT_TRUE(logic.Form_Load());
    }
    bool checked(const QString& name) const { return logic.tree.node(node(name)).Checked; }
};

TEST_F(FolderReloadTest, AMarkGoesDownToEverySubFolderAndTheirRowsShowWithAllFolders) {
    logic.controls.setValue(Control::chkShowAllFolders, 1);
    ASSERT_EQ(logic.grid.Rows(), 1);
    const int projects = node(QStringLiteral("Projects"));
    logic.tree.setExpanded(node(QStringLiteral("Inbox")), false);
    logic.reload.Set_Children_Nodes_Checkboxes(logic.tree.Child(node(QStringLiteral("Inbox"))),
                                               true);
    for (const char* name : {"Projects", "Old", "Receipts"}) {
        EXPECT_TRUE(checked(QLatin1String(name))) << name;
        EXPECT_TRUE(logic.tree.node(node(QLatin1String(name))).Bold) << name;
    }
    EXPECT_FALSE(checked(QStringLiteral("Inbox")));
    EXPECT_TRUE(logic.tree.node(node(QStringLiteral("Inbox"))).Expanded);
    EXPECT_EQ(logic.grid.Rows() - 1, 3 + 4 + 5);
    EXPECT_EQ(logic.records[projects].GridCount, 3);

    // Unmarking changes only nodes that are not marked: marked ones keep their mark.
    logic.reload.Set_Children_Nodes_Checkboxes(projects, false);
    EXPECT_TRUE(checked(QStringLiteral("Projects")));
    EXPECT_FALSE(logic.tree.node(projects).Bold);
}

TEST_F(FolderReloadTest, ReloadResetsEachMarkedFolderOnceAndTakesItsRowsAway) {
    const int inbox = node(QStringLiteral("Inbox"));
    ASSERT_EQ(logic.grid.Rows() - 1, 2);
    logic.records[inbox].Reload = true;
    const std::uint32_t resets = logic.records[inbox].Resets;
    logic.reload.Reload_Marked_Folders();
    EXPECT_EQ(logic.records[inbox].Resets, resets + 1);
    EXPECT_EQ(logic.records[inbox].CachedCount, 0);
    EXPECT_FALSE(logic.records[inbox].Loaded);
    EXPECT_FALSE(logic.records[inbox].Reload);
    EXPECT_EQ(logic.grid.Rows(), 1);
    EXPECT_EQ(logic.tree.node(inbox).ForeColor, logic.colours.unloaded);
    EXPECT_TRUE(logic.records[node(QStringLiteral("Projects"))].Loaded);
    logic.reload.Reload_Marked_Folders();
    EXPECT_EQ(logic.records[inbox].Resets, resets + 1);
}

}  // namespace
}  // namespace tf::testing
