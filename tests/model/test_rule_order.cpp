#include "SmallTree.h"

#include <gtest/gtest.h>

#include <QColor>

namespace tlm::test {
namespace {

TEST(ColourOrder, TheMeasurementsOwnMarkComesBeforeThatOfAUnit) {
  SmallTree tree;
  CMDArray both;
  addFields(both, {{"KeyLink", MDX_TEXT, 32}, {"work_", MDX_BOOL}, {"StateRtu", MDX_BOOL}});
  MDRData* row = addRow(both, {{"KeyLink", "K"}, {"work_", true}, {"StateRtu", false}});
  auto* node = new myConfNode(tree.root, "text", &both, row);
  tree.root->children.push_back(node);
  EXPECT_EQ(tree.at(node).data(Qt::ForegroundRole).value<QColor>(), QColor(0, 0, 0));
  setField(both, row, "work_", QVariant());
  EXPECT_EQ(tree.at(node).data(Qt::ForegroundRole).value<QColor>(), QColor(125, 125, 125));
}

TEST(RankOrder, AFolderWithTheTextOfTheDefaultUnitIsAFolder) {
  SmallTree tree;
  myConfNode* unit = tree.defaultUnit();
  myConfNode* folder = tree.folder(tree.root, "Папка");
  folder->text = defaultUnitText();
  EXPECT_TRUE(compStrGreater(folder, unit));
  EXPECT_FALSE(compStrGreater(unit, folder));
  tree.model.sort(0, Qt::AscendingOrder);
  EXPECT_EQ(tree.root->children.front(), folder);
}

}  // namespace
}  // namespace tlm::test
