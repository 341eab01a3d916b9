#include "SmallTree.h"

#include <gtest/gtest.h>

namespace tlm::test {
namespace {

TEST(Node, TakesFourMembersAndLeavesTheRestAtTheirDefaults) {
  CMDArray table;
  addFields(table, {{"KeyLink", MDX_TEXT, 32}});
  MDRData* row = addRow(table, {{"KeyLink", "K"}});
  myConfNode root(nullptr, QString(), nullptr, nullptr);
  const myConfNode node(&root, "text", &table, row);
  EXPECT_EQ(node.parent, &root);
  EXPECT_EQ(node.text, "text");
  EXPECT_EQ(node.table, &table);
  EXPECT_EQ(node.record, row);
  EXPECT_FALSE(node.isFolder);
  EXPECT_TRUE(node.isLoaded);
  EXPECT_FALSE(node.isExpanded);
  EXPECT_FALSE(node.isAggregated);
  EXPECT_FALSE(node.checkTu);
  EXPECT_TRUE(node.children.empty());
}

TEST(Node, LeavesItsRowWhenItGoes) {
  SmallTree tree;
  auto* node = new myConfNode(nullptr, QString(), &tree.meas, addRow(tree.meas, {{"KeyLink", "K"}}));
  delete node;
  EXPECT_EQ(MDARecCount(tree.meas.array), 1);
}

TEST(Node, KnowsItsRowAfterSiblingsHaveMoved) {
  SmallTree tree;
  myConfNode* a = tree.unit(tree.root, "а");
  myConfNode* b = tree.unit(tree.root, "б");
  myConfNode* c = tree.unit(tree.root, "в");
  EXPECT_EQ(a->row(), 0);
  EXPECT_EQ(c->row(), 2);
  std::swap(tree.root->children[0], tree.root->children[2]);
  EXPECT_EQ(a->row(), 2);
  EXPECT_EQ(b->row(), 1);
  EXPECT_EQ(c->row(), 0);
}

TEST(Node, HasNoRowWithoutAParentAndWhereTheParentDoesNotListIt) {
  SmallTree tree;
  const myConfNode loose(tree.root, QString(), nullptr, nullptr);
  EXPECT_EQ(tree.root->row(), -1);
  EXPECT_EQ(loose.row(), -1);
}

}  // namespace
}  // namespace tlm::test
