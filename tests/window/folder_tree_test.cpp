#include "window/folder_tree.h"

#include <gtest/gtest.h>

#include "common/failure.h"

namespace tf {
namespace {

TEST(FolderTree, IndexesFollowTheOrderOfAddingAndLinksFollowDisplayOrder) {
    FolderTree tree;
    const int root = tree.add(0, QStringLiteral("R"), QStringLiteral("Root"));
    tree.setSorted(root, true);
    const int b = tree.add(root, QStringLiteral("b"), QStringLiteral("beta"));
    const int a = tree.add(root, QStringLiteral("a"), QStringLiteral("Alpha"));
    const int c = tree.add(root, QStringLiteral("c"), QStringLiteral("gamma"));

    EXPECT_EQ(tree.count(), 4);
    EXPECT_EQ(b, 2);
    EXPECT_EQ(a, 3);
    // Sorted by caption, regardless of case, not by index.
    EXPECT_EQ(tree.Child(root), a);
    EXPECT_EQ(tree.Next(a), b);
    EXPECT_EQ(tree.Next(b), c);
    EXPECT_EQ(tree.Next(c), 0);
    EXPECT_EQ(tree.Parent(c), root);
    EXPECT_EQ(tree.row(c), 2);
    EXPECT_EQ(tree.find(QStringLiteral("c")), c);
    EXPECT_EQ(tree.find(QStringLiteral("missing")), 0);
}

TEST(FolderTree, UnsortedParentsKeepTheOrderOfAdding) {
    FolderTree tree;
    const int root = tree.add(0, QStringLiteral("R"), QStringLiteral("Root"));
    const int z = tree.add(root, QStringLiteral("z"), QStringLiteral("Zulu"));
    const int a = tree.add(root, QStringLiteral("a"), QStringLiteral("Alpha"));
    EXPECT_EQ(tree.Child(root), z);
    EXPECT_EQ(tree.Next(z), a);
}

TEST(FolderTree, ChangingACaptionReordersSortedSiblings) {
    FolderTree tree;
    const int root = tree.add(0, QStringLiteral("R"), QStringLiteral("Root"));
    tree.setSorted(root, true);
    const int a = tree.add(root, QStringLiteral("a"), QStringLiteral("Alpha"));
    const int b = tree.add(root, QStringLiteral("b"), QStringLiteral("Bravo"));
    tree.setText(a, QStringLiteral("Zulu"));
    EXPECT_EQ(tree.Child(root), b);
    EXPECT_EQ(tree.Next(b), a);
}

TEST(FolderTree, RefusesADuplicateKeyAndBadIndexes) {
    FolderTree tree;
    tree.add(0, QStringLiteral("K"), QStringLiteral("one"));
    try {
        tree.add(0, QStringLiteral("K"), QStringLiteral("two"));
        FAIL() << "a duplicate key was accepted";
    } catch (const Failure& f) {
        EXPECT_EQ(f.number(), 35602);
        EXPECT_EQ(f.description(), QStringLiteral("Key is not unique in collection"));
    }
    EXPECT_EQ(tree.count(), 1);
    EXPECT_THROW(tree.node(0), Failure);
    EXPECT_THROW(tree.node(2), Failure);
    EXPECT_THROW(tree.select(5), Failure);
}

TEST(FolderTree, ClearForgetsNodesAndSelection) {
    FolderTree tree;
    const int n = tree.add(0, QStringLiteral("K"), QStringLiteral("one"));
    tree.select(n);
    tree.clear();
    EXPECT_EQ(tree.count(), 0);
    EXPECT_EQ(tree.selected(), 0);
    EXPECT_TRUE(tree.topLevel().empty());
    EXPECT_EQ(tree.add(0, QStringLiteral("K"), QStringLiteral("again")), 1);
}

}  // namespace
}  // namespace tf
