#include "SmallTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace tlm::test {
namespace {

const QString kAnalogs = QString::fromUtf8(kMeasClasses[0].caption);
const QString kDiscretes = QString::fromUtf8(kMeasClasses[1].caption);

// Counts what a model tells of its layout.
struct LayoutSignals {
  explicit LayoutSignals(const QAbstractItemModel& model) {
    QObject::connect(&model, &QAbstractItemModel::layoutAboutToBeChanged,
                     [this](const QList<QPersistentModelIndex>& p) {
                       ++about;
                       parents += p.size();
                     });
    QObject::connect(&model, &QAbstractItemModel::layoutChanged, [this] { ++done; });
  }
  int about = 0;
  int done = 0;
  int parents = 0;
};

TEST(Order, NamesAreThoseOfTheTextThenOfTheRow) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП-1");
  EXPECT_EQ(GetName(unit), "КП-1");
  unit->text = "Другое";
  EXPECT_EQ(GetName(unit), "Другое");
  EXPECT_EQ(GetName(tree.folder(tree.root, "Папка")), "Папка");
  EXPECT_EQ(GetName(tree.group(unit, kAnalogs)), kAnalogs);
  EXPECT_EQ(GetName(tree.root), QString());
  EXPECT_EQ(GetName(tree.measurement(unit, "Analog", 1, QString())), QString());
}

TEST(Order, NumbersAreTheLow32BitsSigned) {
  SmallTree tree;
  EXPECT_EQ(GetLocId(tree.measurement(tree.root, "Analog", 1001, "a")), 1001);
  EXPECT_EQ(GetLocId(tree.measurement(tree.root, "Analog", QVariant(), "a")), 0);
  EXPECT_EQ(GetLocId(tree.measurement(tree.root, "Analog", 0x100000005LL, "a")), 5);
  EXPECT_EQ(GetLocId(tree.measurement(tree.root, "Analog", 0xFFFFFFFFLL, "a")), -1);
  EXPECT_EQ(GetLocId(tree.unit(tree.root, "нет номера")), 0);
  EXPECT_EQ(GetLocId(tree.root), 0);
}

TEST(Order, ByNameFoldersComeFirstThenTheDefaultUnitInBothDirections) {
  SmallTree tree;
  myConfNode* folder = tree.folder(tree.root, "Я");
  myConfNode* other = tree.defaultUnit();
  myConfNode* unit = tree.unit(tree.root, "А");
  for (auto* before : {compStrGreater, compStrLess}) {
    EXPECT_TRUE(before(folder, unit));
    EXPECT_FALSE(before(unit, folder));
    EXPECT_TRUE(before(folder, other));
    EXPECT_FALSE(before(other, folder));
    EXPECT_TRUE(before(other, unit));
    EXPECT_FALSE(before(unit, other));
    EXPECT_FALSE(before(nullptr, unit));
    EXPECT_FALSE(before(unit, nullptr));
  }
}

TEST(Order, ByNameComparesCodeUnitsWithCase) {
  SmallTree tree;
  myConfNode* upper = tree.unit(tree.root, "Б");
  myConfNode* lower = tree.unit(tree.root, "а");
  EXPECT_TRUE(compStrGreater(upper, lower));
  EXPECT_FALSE(compStrGreater(lower, upper));
  EXPECT_TRUE(compStrLess(lower, upper));
}

TEST(Order, FoldersOfOneNameAreEqualInBothDirections) {
  SmallTree tree;
  myConfNode* a = tree.folder(tree.root, "Папка");
  myConfNode* b = tree.folder(tree.root, "Папка");
  for (auto* before : {compStrGreater, compStrLess}) {
    EXPECT_FALSE(before(a, b));
    EXPECT_FALSE(before(b, a));
  }
}

TEST(Order, ByNumberFoldersGroupsAndTheDefaultUnitStandNowhere) {
  SmallTree tree;
  myConfNode* low = tree.measurement(tree.root, "Analog", 1, "низ");
  myConfNode* high = tree.measurement(tree.root, "Analog", 2, "верх");
  EXPECT_TRUE(compIntGreater(low, high));
  EXPECT_FALSE(compIntGreater(high, low));
  EXPECT_TRUE(compIntLess(high, low));
  for (myConfNode* other : {tree.folder(tree.root, "Папка"), tree.defaultUnit(), tree.group(tree.root, kAnalogs)}) {
    for (auto* before : {compIntGreater, compIntLess}) {
      EXPECT_FALSE(before(other, high));
      EXPECT_FALSE(before(high, other));
      EXPECT_FALSE(before(nullptr, high));
      EXPECT_FALSE(before(high, nullptr));
    }
  }
}

TEST(Sort, ReversesTheNamesWithinEachRank) {
  SmallTree tree;
  tree.unit(tree.root, "КП-2");
  tree.defaultUnit();
  tree.unit(tree.root, "КП-1");
  tree.folder(tree.root, "Б");
  tree.folder(tree.root, "А");
  tree.model.sort(0, Qt::AscendingOrder);
  EXPECT_EQ(tree.order(tree.root), "А | Б | " + defaultUnitText() + " | КП-1 | КП-2");
  tree.model.sort(0, Qt::DescendingOrder);
  EXPECT_EQ(tree.order(tree.root), "Б | А | " + defaultUnitText() + " | КП-2 | КП-1");
  EXPECT_EQ(tree.model.sortOrder, Qt::DescendingOrder);
  EXPECT_EQ(tree.model.sortColumn, 0);
}

TEST(Sort, ByNumberOrdersTheMeasurementsAndLeavesTheGroups) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП-1");
  myConfNode* discretes = tree.group(unit, kDiscretes);
  myConfNode* analogs = tree.group(unit, kAnalogs);
  tree.measurement(analogs, "Analog", 20, "а");
  tree.measurement(analogs, "Analog", 3, "б");
  tree.measurement(discretes, "Discrete", 7, "в");
  tree.model.sort(1, Qt::AscendingOrder);
  EXPECT_EQ(tree.order(unit), kDiscretes + " | " + kAnalogs);
  EXPECT_EQ(tree.order(analogs), "б | а");
  tree.model.sort(1, Qt::DescendingOrder);
  EXPECT_EQ(tree.order(analogs), "а | б");
}

TEST(Sort, ByNumberComparesBigNumbersByTheirLowBits) {
  SmallTree tree;
  tree.measurement(tree.root, "Analog", 7, "семь");
  tree.measurement(tree.root, "Analog", 0x100000001LL, "один");
  tree.measurement(tree.root, "Analog", 0xFFFFFFFFLL, "минус один");
  tree.model.sort(1, Qt::AscendingOrder);
  EXPECT_EQ(tree.order(tree.root), "минус один | один | семь");
}

TEST(Sort, ByNumberKeepsThePlaceOfWhatHasATextOfItsOwn) {
  SmallTree tree;
  for (int i = 0; i < 100; ++i) {
    myConfNode* node = tree.measurement(tree.root, "Analog", 100 - i, QString::number(100 - i));
    if (i % 7 == 3) node->text = QString("т%1").arg(i);
  }
  std::vector<myConfNode*> before = tree.root->children;
  tree.model.sort(1, Qt::AscendingOrder);
  int last = 0;
  for (size_t i = 0; i < before.size(); ++i) {
    myConfNode* node = tree.root->children[i];
    EXPECT_EQ(before[i]->text.isEmpty(), node->text.isEmpty());
    if (!node->text.isEmpty()) continue;
    EXPECT_LT(last, GetLocId(node));
    last = GetLocId(node);
  }
}

TEST(Sort, OfAnUnknownColumnKeepsTheColumnAndSortsNothing) {
  SmallTree tree;
  tree.unit(tree.root, "Б");
  tree.unit(tree.root, "А");
  const LayoutSignals told(tree.model);
  tree.model.sort(2, Qt::DescendingOrder);
  EXPECT_EQ(tree.order(tree.root), "Б | А");
  EXPECT_EQ(tree.model.sortColumn, 2);
  EXPECT_EQ(tree.model.sortOrder, Qt::DescendingOrder);
  EXPECT_EQ(told.about, 3);
  EXPECT_EQ(told.done, 3);
}

TEST(Sort, TellsTheViewsOnceForEachNodeVisited) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП");
  tree.group(unit, kDiscretes);
  tree.group(unit, kAnalogs);
  const LayoutSignals told(tree.model);
  tree.model.sort(0, Qt::AscendingOrder);
  EXPECT_EQ(told.about, 4);
  EXPECT_EQ(told.done, 4);
  EXPECT_EQ(told.parents, 0);
}

TEST(Sort, OfOneLevelLeavesWhatIsBelow) {
  SmallTree tree;
  myConfNode* unit = tree.unit(tree.root, "КП");
  myConfNode* discretes = tree.group(unit, kDiscretes);
  tree.group(unit, kAnalogs);
  tree.measurement(discretes, "Discrete", 2, "б");
  tree.measurement(discretes, "Discrete", 1, "а");
  const LayoutSignals told(tree.model);
  tree.model.SortChildren(unit, 0, Qt::AscendingOrder, true);
  EXPECT_EQ(tree.order(unit), kAnalogs + " | " + kDiscretes);
  EXPECT_EQ(tree.order(discretes), "б | а");
  EXPECT_EQ(told.done, 1);
  tree.model.SortChildren(unit, 0, Qt::AscendingOrder, false);
  EXPECT_EQ(tree.order(discretes), "а | б");
}

TEST(Sort, TellsTheViewsWhenNothingWasSorted) {
  SmallTree tree;
  const LayoutSignals told(tree.model);
  tree.model.SortChildren(nullptr, 0, Qt::AscendingOrder, false);
  tree.model.SortChildren(tree.root, 0, Qt::AscendingOrder, true);
  EXPECT_EQ(told.about, 2);
  EXPECT_EQ(told.done, 2);
}

TEST(Sort, DoesNotRemapPersistentIndexes) {
  SmallTree tree;
  myConfNode* b = tree.unit(tree.root, "Б");
  tree.unit(tree.root, "А");
  const QPersistentModelIndex kept(tree.model.index(0, 0));
  tree.model.sort(0, Qt::AscendingOrder);
  EXPECT_EQ(kept.row(), 0);
  EXPECT_EQ(tree.model.nodeFromIndex(kept), b);
  EXPECT_EQ(b->row(), 1);
}

// What the quick sort makes is in the order of the plain tests.
TEST(Sort, AgreesWithTheTestsOnManyNodes) {
  using Before = bool (*)(myConfNode*, myConfNode*);
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    SmallTree tree;
    for (int i = 0; i < 60; ++i) {
      const QString name = QString(QChar(static_cast<ushort>(u'А' + random() % 6))) + QString::number(random() % 4);
      if (round % 2 == 0 && random() % 4 == 0)
        tree.folder(tree.root, name);
      else
        tree.measurement(tree.root, "Analog", static_cast<int>(random() % 30), name);
    }
    const bool ascending = random() % 2;
    const int column = round % 2;  // numbers only among measurements: elsewhere they order nothing
    const Before before =
        column == 0 ? (ascending ? compStrGreater : compStrLess) : (ascending ? compIntGreater : compIntLess);
    tree.model.sort(column, ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    EXPECT_TRUE(std::is_sorted(tree.root->children.begin(), tree.root->children.end(), before));
  }
}

}  // namespace
}  // namespace tlm::test
