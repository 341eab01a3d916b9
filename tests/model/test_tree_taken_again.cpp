#include "SmallTree.h"

#include <gtest/gtest.h>

namespace tlm::test {
namespace {

TEST(TreeTakenAgain, KeepsTheSearchByKey) {
  SmallTree tree;
  const myConfNode* first = tree.unit(tree.root, "А", "A");
  tree.done();
  const myConfNode* second = tree.unit(tree.root, "Б", "B");
  tree.done();
  EXPECT_EQ(tree.model.findByKey("A"), tree.at(first));
  EXPECT_EQ(tree.model.findByKey("B"), tree.at(second));
  const std::unique_ptr<myConfNode> taken = tree.model.takeNode(tree.root, 0);
  EXPECT_FALSE(tree.model.findByKey("A").isValid());
}

TEST(SortSteps, TheViewsAreToldBeforeTheOrderIsKeptAndAfterAllIsSorted) {
  SmallTree tree;
  tree.unit(tree.root, "Б", "B");
  tree.unit(tree.root, "А", "A");
  tree.done();
  QStringList steps;
  const auto state = [&] { return QString::number(tree.model.sortColumn) + " " + tree.order(tree.root); };
  QObject::connect(&tree.model, &QAbstractItemModel::layoutAboutToBeChanged, [&] { steps.append(state()); });
  QObject::connect(&tree.model, &QAbstractItemModel::layoutChanged, [&] { steps.append(state()); });
  tree.model.sortColumn = 1;
  tree.model.sort(0, Qt::AscendingOrder);
  EXPECT_EQ(steps.first(), "1 Б | А");
  EXPECT_EQ(steps.last(), "0 А | Б");
}

}  // namespace
}  // namespace tlm::test
