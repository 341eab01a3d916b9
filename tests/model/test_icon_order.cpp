#include "SmallTree.h"

#include <gtest/gtest.h>

#include <QIcon>

namespace tlm::test {
namespace {

QImage drawn(const QIcon& icon) { return icon.pixmap(16, 16).toImage(); }

TEST(IconOrder, AFolderStaysAFolderWhateverElseItIs) {
  SmallTree tree;
  myConfNode* folder = tree.folder(tree.root, "Папка");
  folder->isAggregated = true;
  EXPECT_EQ(drawn(tree.at(folder).data(Qt::DecorationRole).value<QIcon>()), drawn(QIcon(":/ClosedFolder")));
}

TEST(IconOrder, ARowKeepsTheIconOfItsClassUnderATextOfItsOwn) {
  SmallTree tree;
  myConfNode* meas = tree.measurement(tree.root, "Discrete", 1, "а");
  meas->text = "Другое";
  EXPECT_EQ(drawn(tree.at(meas).data(Qt::DecorationRole).value<QIcon>()), drawn(QIcon(":/Discrete")));
}

}  // namespace
}  // namespace tlm::test
