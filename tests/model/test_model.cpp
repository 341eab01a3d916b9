#include "SmallTree.h"
#include "TreeWatch.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

#include <memory>
#include <random>

namespace tlm::test {
namespace {

const QString kAnalogs = QString::fromUtf8(kMeasClasses[0].caption);
constexpr Qt::MatchFlags kSearch = Qt::MatchFixedString | Qt::MatchWrap | Qt::MatchRecursive;

TEST(Model, OverAnEmptyRootHasNoRows) {
  const SmallTree tree;
  EXPECT_EQ(tree.model.rowCount(), 0);
  EXPECT_FALSE(tree.model.hasChildren());
  EXPECT_FALSE(tree.model.index(0, 0).isValid());
  EXPECT_EQ(tree.model.columnCount(), 2);
}

TEST(Model, WithoutARootHasNoRows) {
  MeasConfTreeModel model(nullptr);
  EXPECT_EQ(model.rowCount(), 0);
  EXPECT_FALSE(model.hasChildren());
  EXPECT_FALSE(model.index(0, 0).isValid());
  EXPECT_EQ(model.GetNode(QModelIndex()), nullptr);
  model.sort(0);
}

TEST(Model, AnInvalidIndexMeansTheRoot) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП");
  EXPECT_EQ(tree.model.nodeFromIndex(QModelIndex()), tree.root);
  EXPECT_EQ(tree.model.GetNode(tree.model.index(0, 0)), unit);
  EXPECT_EQ(tree.model.GetRootNode(), tree.root);
}

TEST(Model, IndexesStandWhereNodesStand) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП");
  myConfNode* group = tree.group(unit, kAnalogs);
  const QModelIndex at = tree.model.index(0, 0, tree.model.index(0, 0));
  EXPECT_EQ(at.internalPointer(), group);
  EXPECT_EQ(tree.model.indexOf(group), at);
  EXPECT_FALSE(tree.model.indexOf(tree.root).isValid());
  EXPECT_FALSE(tree.model.index(1, 0).isValid());
  EXPECT_FALSE(tree.model.index(-1, 0).isValid());
  EXPECT_EQ(tree.model.index(0, 7).column(), 7);
}

TEST(Model, ParentKeepsTheColumn) {
  SmallTree tree;
  tree.unit(tree.root, "Первое");
  myConfNode* unit = tree.unit(tree.root, "КП");
  const myConfNode* group = tree.group(unit, kAnalogs);
  const QModelIndex parent = tree.model.parent(tree.at(group, 1));
  EXPECT_EQ(parent.row(), 1);
  EXPECT_EQ(parent.column(), 1);
  EXPECT_EQ(parent.internalPointer(), unit);
  EXPECT_EQ(tree.model.parent(tree.at(group)).column(), 0);
}

TEST(Model, ParentIsInvalidAtTheTopAndForStrayNodes) {
  SmallTree tree;
  const myConfNode* unit = tree.unit(tree.root, "КП");
  EXPECT_FALSE(tree.model.parent(tree.at(unit)).isValid());
  EXPECT_FALSE(tree.model.parent(QModelIndex()).isValid());
  myConfNode stray(tree.root, QString(), nullptr, nullptr);
  myConfNode below(&stray, QString(), nullptr, nullptr);
  QModelIndex index;
  tree.model.GetIndex(index, 0, 0, &below);
  EXPECT_FALSE(tree.model.parent(index).isValid());
}

TEST(Model, RowsHangUnderColumnZero) {
  SmallTree tree;
  tree.group(tree.unit(tree.root, "КП"), kAnalogs);
  EXPECT_EQ(tree.model.rowCount(tree.model.index(0, 0)), 1);
  EXPECT_EQ(tree.model.rowCount(tree.model.index(0, 1)), 0);
}

TEST(Model, AUnitThatWasNotFetchedHasAnExpander) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП", "U", false);
  EXPECT_TRUE(tree.model.hasChildren(tree.at(unit)));
  unit->isLoaded = true;
  EXPECT_FALSE(tree.model.hasChildren(tree.at(unit)));
  tree.group(unit, kAnalogs);
  EXPECT_TRUE(tree.model.hasChildren(tree.at(unit)));
  EXPECT_TRUE(tree.model.hasChildren());
}

TEST(Model, OnlyAUnitCanWaitForItsRows) {
  SmallTree tree;
  myConfNode* folder = tree.folder(tree.root, "Папка");
  folder->isLoaded = false;
  EXPECT_FALSE(tree.model.hasChildren(tree.at(folder)));
  myConfNode* unit = tree.unit(tree.root, "КП", "U", false);
  setField(tree.units, unit->record, "ClassName", QString("REMOTEUNIT"));
  EXPECT_TRUE(tree.model.hasChildren(tree.at(unit)));
}

TEST(Model, TheFourRowOperationsAreOnlyTargets) {
  SmallTree tree;
  EXPECT_TRUE(tree.model.insertRows(0, 1));
  EXPECT_FALSE(tree.model.insertRows(0, 0));
  EXPECT_TRUE(tree.model.removeRows(0, 1));
  EXPECT_FALSE(tree.model.removeRows(0, 0));
  EXPECT_TRUE(tree.model.moveRows(QModelIndex(), 0, 1, QModelIndex(), 5));
  EXPECT_TRUE(tree.model.moveRow(QModelIndex(), 0, QModelIndex(), 5));
  EXPECT_EQ(tree.model.rowCount(), 0);
}

TEST(Model, SetRootNodeTakesOverWithoutAReset) {
  SmallTree tree;
  tree.unit(tree.root, "КП");
  QSignalSpy reset(&tree.model, &QAbstractItemModel::modelReset);
  auto* other = new myConfNode(nullptr, QString(), nullptr, nullptr);
  tree.model.setRootNode(other);
  EXPECT_EQ(tree.model.GetRootNode(), other);
  EXPECT_EQ(tree.model.rowCount(), 0);
  EXPECT_EQ(reset.count(), 0);
  tree.model.setRootNode(other);
  EXPECT_EQ(tree.model.GetRootNode(), other);
}

TEST(Model, InsertNodesPutsThemInTheirPlaceAndTells) {
  SmallTree tree;
  myConfNode* first = tree.unit(tree.root, "А");
  QSignalSpy told(&tree.model, &QAbstractItemModel::rowsInserted);
  auto* b = new myConfNode(nullptr, "Б", nullptr, nullptr);
  auto* c = new myConfNode(nullptr, "В", nullptr, nullptr);
  EXPECT_TRUE(tree.model.insertNodes(QModelIndex(), 0, {b, c}));
  EXPECT_EQ(tree.order(tree.root), "Б | В | А");
  EXPECT_EQ(b->parent, tree.root);
  ASSERT_EQ(told.count(), 1);
  EXPECT_EQ(told[0][1].toInt(), 0);
  EXPECT_EQ(told[0][2].toInt(), 1);
  EXPECT_EQ(first->row(), 2);
  EXPECT_FALSE(tree.model.insertNodes(QModelIndex(), 0, {}));
}

TEST(FindByKey, FindsWhatTheSearchFindsInAnyCase) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП", "AB12");
  const myConfNode* meas = tree.measurement(tree.group(unit, kAnalogs), "Analog", 1, "P", "Ключ7");
  tree.done();
  EXPECT_EQ(tree.model.findByKey("AB12"), tree.at(unit));
  EXPECT_EQ(tree.model.findByKey("ab12"), tree.at(unit));
  EXPECT_EQ(tree.model.findByKey("кЛЮЧ7"), tree.at(meas));
  EXPECT_FALSE(tree.model.findByKey("AB1").isValid());
  EXPECT_FALSE(tree.model.findByKey("нет").isValid());
}

TEST(FindByKey, OfAnEmptyKeyIsTheFirstNodeWithoutOne) {
  SmallTree tree;
  tree.unit(tree.root, "КП", "U1");
  const myConfNode* other = tree.defaultUnit();
  tree.done();
  EXPECT_EQ(tree.model.findByKey(QString()), tree.at(other));
  EXPECT_EQ(tree.model.match(tree.model.index(0, 0), 12, QString(), 1, kSearch).value(0), tree.at(other));
}

TEST(FindByKey, OfAKeyThatStandsTwiceIsTheFirstInTheTree) {
  SmallTree tree;
  myConfNode* a = tree.unit(tree.root, "А", "A");
  myConfNode* b = tree.unit(tree.root, "Б", "B");
  const myConfNode* late = tree.measurement(b, "Analog", 1, "P", "twice");
  const myConfNode* early = tree.measurement(tree.group(a, kAnalogs), "Analog", 1, "P", "TWICE");
  tree.done();
  EXPECT_EQ(tree.model.findByKey("Twice"), tree.at(early));
  tree.model.sort(0, Qt::DescendingOrder);
  EXPECT_EQ(tree.model.findByKey("Twice"), tree.at(late));
}

TEST(FindByKey, FollowsNodesThatComeAndGo) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП", "U");
  tree.done();
  auto* group = new myConfNode(nullptr, kAnalogs, nullptr, nullptr);
  myConfNode* meas = tree.measurement(group, "Analog", 1, "P", "M1");
  EXPECT_FALSE(tree.model.findByKey("M1").isValid());
  tree.model.insertNodes(tree.at(unit), 0, {group});
  EXPECT_EQ(tree.model.findByKey("M1"), tree.at(meas));
  const std::unique_ptr<myConfNode> taken = tree.model.takeNode(unit, 0);
  EXPECT_EQ(taken.get(), group);
  EXPECT_FALSE(tree.model.findByKey("M1").isValid());
  EXPECT_TRUE(unit->children.empty());
}

TEST(FindByKey, FindsAmongThousandsWhileOthersGo) {
  constexpr int kUnits = 3000;
  SmallTree tree;
  for (int i = 0; i < kUnits; ++i) tree.unit(tree.root, "КП", QString("unit-%1").arg(i));
  tree.done();
  for (int i = kUnits - 1; i >= 0; i -= 3) tree.model.takeNode(tree.root, i);
  for (int i = 0; i < kUnits; ++i) {
    const QString shown = i % 3 == 2 ? QString() : QString("unit-%1").arg(i);
    ASSERT_EQ(tree.model.findByKey(QString("UNIT-%1").arg(i)).data(kKeyRole).toString(), shown);
  }
}

TEST(FindByKey, NeedsNoRowToForgetANode) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП", "U");
  tree.done();
  MDARecDel(unit->record);
  const std::unique_ptr<myConfNode> taken = tree.model.takeNode(tree.root, 0);
  EXPECT_FALSE(tree.model.findByKey("U").isValid());
}

TEST(FindByKey, SeesRowsThatWereHungBetweenTheNotifications) {
  SmallTree tree;
  tree.done();
  tree.model.BeginInsertRows(QModelIndex(), 0, 0);
  const myConfNode* unit = tree.unit(tree.root, "КП", "U");
  tree.model.EndInsertRows();
  EXPECT_EQ(tree.model.findByKey("U"), tree.at(unit));
}

void growRandomTree(SmallTree& tree, std::mt19937& random) {
  const auto key = [&] {
    const QString text = QString("k%1").arg(random() % 120);
    return random() % 3 == 0 ? text.toUpper() : text;
  };
  std::vector<myConfNode*> parents = {tree.root};
  for (int i = 0; i < 80; ++i) {
    myConfNode* parent = parents[random() % parents.size()];
    switch (random() % 4) {
      case 0:
        parents.push_back(tree.folder(parent, "П", key()));
        break;
      case 1:
        parents.push_back(tree.unit(parent, "КП", key(), random() % 2));
        break;
      case 2:
        parents.push_back(tree.group(parent, kAnalogs));
        break;
      default:
        parents.push_back(tree.measurement(parent, "Analog", i, "P", key()));
    }
  }
}

TEST(FindByKey, AnswersAsThePlainSearchOnManyTrees) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    SmallTree tree;
    growRandomTree(tree, random);
    tree.done();
    for (int change = 0; change < 8; ++change) {
      if (change % 2) {
        tree.model.sort(0, change % 4 == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
      } else if (!tree.root->children.empty()) {
        tree.model.takeNode(tree.root, static_cast<int>(random() % tree.root->children.size()));
      }
      for (int i = 0; i < 120; i += 3) {
        const QString key = QString("K%1").arg(i);
        const QModelIndex plain = tree.model.match(tree.model.index(0, 0), 12, key, 1, kSearch).value(0);
        ASSERT_EQ(tree.model.findByKey(key), plain) << round << " " << key.toStdString();
      }
    }
  }
}

TEST(Model, PassesTheModelTesterOverOneColumn) {
  SmallTree tree;
  myConfNode* folder = tree.folder(tree.root, "Папка", "F");
  myConfNode* unit = tree.unit(folder, "КП", "U");
  tree.measurement(tree.group(unit, kAnalogs), "Analog", 1, "P", "M1");
  tree.defaultUnit();
  tree.done();
  OneColumn proxy;
  proxy.setSourceModel(&tree.model);
  const QAbstractItemModelTester tester(&proxy, QAbstractItemModelTester::FailureReportingMode::Fatal);
  auto* fresh = new myConfNode(nullptr, QString(), &tree.units, addRow(tree.units, {{"KeyLink", "U2"}}));
  tree.model.insertNodes(tree.at(folder), 1, {fresh});
  auto* group = new myConfNode(nullptr, kAnalogs, nullptr, nullptr);
  tree.measurement(group, "Analog", 2, "Q", "M2");
  tree.model.insertNodes(tree.at(fresh), 0, {group});
  tree.model.setData(tree.at(unit), "Имя");
  tree.model.UpdateData(tree.at(unit), tree.at(unit));
  EXPECT_EQ(proxy.rowCount(proxy.mapFromSource(tree.at(fresh))), 1);
}

}  // namespace
}  // namespace tlm::test
