// Rows that go: what goes along, in which order, and what stays.
#include <gtest/gtest.h>

#include <memory>

#include "SmallTree.h"
#include "TreeWatch.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

const QString kAnalogs = QString::fromUtf8(kMeasClasses[0].caption);
const QString kDiscretes = QString::fromUtf8(kMeasClasses[1].caption);

// A folder with a folder and a unit of two groups; a primary with an aggregated measurement; the default unit.
class Removing : public testing::Test {
 protected:
  Removing() {
    top = tree.folder(tree.root, "Подстанция", "F1");
    sub = tree.folder(top, "ОРУ", "F2");
    unit = tree.unit(top, "КП-1", "U1");
    analogs = tree.group(unit, kAnalogs);
    primary = tree.measurement(analogs, "Analog", 1, "P", "M1");
    aggregated = tree.measurement(primary, "Analog", 2, "P макс", "M2");
    aggregated->isAggregated = true;
    last = tree.measurement(analogs, "Analog", 3, "Q", "M3");
    discretes = tree.group(unit, kDiscretes);
    single = tree.measurement(discretes, "Discrete", 4, "В-1", "M4");
    other = tree.unit(tree.root, "КП-2", "U2", false);
    common = tree.defaultUnit();
    loose = tree.measurement(tree.group(common, kAnalogs), "Analog", 5, "Без КП", "M5");
    tree.done();
    watch = std::make_unique<TreeWatch>(tree.model);
    watch->judge();
  }

  bool remove(const myConfNode* node) {
    removed.clear();
    return tree.model.DelNode(tree.at(node), &removed);
  }
  QString text() { return treeText(tree.model); }

  SmallTree tree;
  std::unique_ptr<TreeWatch> watch;
  QStringList removed;
  myConfNode *top, *sub, *unit, *analogs, *primary, *aggregated, *last, *discretes, *single, *other, *common, *loose;
};

TEST_F(Removing, ThePictureBefore) {
  EXPECT_EQ(text(), picture(R"(
    Подстанция
      ОРУ
      КП-1
        Аналоговые измерения
          1 P
            2 P макс
          3 Q
        Дискретные сигналы
          4 В-1
    КП-2
    (Устройство по умолчанию)
      Аналоговые измерения
        5 Без КП
  )"));
}

TEST_F(Removing, OneOfSeveralMeasurementsGoesAlone) {
  EXPECT_TRUE(remove(last));
  EXPECT_EQ(removed, QStringList{"M3,Analog"});
  EXPECT_EQ(watch->log, QStringList{"-Аналоговые измерения 1"});
  EXPECT_EQ(treeText(tree.model, tree.at(unit)), picture(R"(
    Аналоговые измерения
      1 P
        2 P макс
    Дискретные сигналы
      4 В-1
  )"));
}

TEST_F(Removing, TheLastMeasurementTakesItsGroupAlong) {
  EXPECT_TRUE(remove(single));
  EXPECT_EQ(removed, QStringList({"M4,Discrete", ","}));
  EXPECT_EQ(watch->log, QStringList({"-Дискретные сигналы 0", "-КП-1 1"}));
  EXPECT_EQ(treeText(tree.model, tree.at(unit)), picture(R"(
    Аналоговые измерения
      1 P
        2 P макс
      3 Q
  )"));
}

TEST_F(Removing, AUnitStaysWhenItsLastGroupGoes) {
  remove(analogs);
  EXPECT_TRUE(remove(single));
  EXPECT_EQ(treeText(tree.model, tree.at(top)), "ОРУ\nКП-1\n");
}

TEST_F(Removing, APrimaryTakesItsAggregatedMeasurementsAlongFirst) {
  EXPECT_TRUE(remove(primary));
  EXPECT_EQ(removed, QStringList({"M2,Analog", "M1,Analog"}));
  EXPECT_EQ(watch->log, QStringList({"-P 0", "-Аналоговые измерения 0"}));
}

TEST_F(Removing, APrimaryStaysWhenItsLastAggregatedMeasurementGoes) {
  EXPECT_TRUE(remove(aggregated));
  EXPECT_EQ(removed, QStringList{"M2,Analog"});
  EXPECT_EQ(treeText(tree.model, tree.at(analogs)), "1 P\n3 Q\n");
}

TEST_F(Removing, AGroupTakesItsMeasurementsAlong) {
  EXPECT_TRUE(remove(analogs));
  EXPECT_EQ(removed, QStringList({"M3,Analog", "M2,Analog", "M1,Analog", ","}));
  EXPECT_EQ(watch->log, QStringList({"-Аналоговые измерения 0-1", "-КП-1 0"}));
}

TEST_F(Removing, AUnitListsWhatIsDeepestFirstAndFromItsLastRowUp) {
  EXPECT_TRUE(remove(unit));
  EXPECT_EQ(removed, QStringList({"M4,Discrete", ",", "M3,Analog", "M2,Analog", "M1,Analog", ",", "U1,RemoteUnit"}));
  EXPECT_EQ(watch->log, QStringList({"-КП-1 0-1", "-Подстанция 1"}));
}

TEST_F(Removing, AFolderHasNoClassAndTakesAllBelowIt) {
  EXPECT_TRUE(remove(top));
  EXPECT_EQ(removed.mid(removed.size() - 3), QStringList({"U1,RemoteUnit", "F2,", "F1,"}));
  EXPECT_EQ(removed.size(), 9);
  EXPECT_EQ(text(), picture(R"(
    КП-2
    (Устройство по умолчанию)
      Аналоговые измерения
        5 Без КП
  )"));
}

TEST_F(Removing, AnEmptyFolderGoesInOneStep) {
  EXPECT_TRUE(remove(sub));
  EXPECT_EQ(watch->log, QStringList{"-Подстанция 0"});
  EXPECT_EQ(removed, QStringList{"F2,"});
}

TEST_F(Removing, TheDefaultUnitStaysWhenItsLastMeasurementGoes) {
  EXPECT_TRUE(remove(loose));
  EXPECT_EQ(removed, QStringList({"M5,Analog", ","}));
  EXPECT_EQ(tree.order(tree.root), "Подстанция | КП-2 | (Устройство по умолчанию)");
}

TEST_F(Removing, TheDefaultUnitGoesWithItsLastGroup) {
  EXPECT_TRUE(remove(common->children.front()));
  EXPECT_EQ(removed, QStringList({"M5,Analog", ",", ","}));
  EXPECT_EQ(tree.order(tree.root), "Подстанция | КП-2");
}

TEST_F(Removing, WithoutAListTheRowsGoAllTheSame) {
  EXPECT_TRUE(tree.model.DelNode(tree.at(top), nullptr));
  EXPECT_EQ(tree.order(tree.root), "КП-2 | (Устройство по умолчанию)");
}

TEST_F(Removing, TheSearchByKeyForgetsWhatWent) {
  remove(unit);
  for (const char* key : {"U1", "M1", "M2", "M3", "M4"}) EXPECT_FALSE(tree.model.findByKey(key).isValid()) << key;
  EXPECT_TRUE(tree.model.findByKey("U2").isValid());
}

TEST_F(Removing, TheRowsOfTheArraysStay) {
  const int rows = MDARecCount(tree.meas.array);
  remove(top);
  EXPECT_EQ(MDARecCount(tree.meas.array), rows);
}

TEST_F(Removing, AnInvalidIndexIsTheRoot) {
  EXPECT_TRUE(tree.model.DelNode(QModelIndex(), &removed));
  EXPECT_EQ(text(), "");
  EXPECT_EQ(removed.last(), "F1,");
  EXPECT_FALSE(tree.model.DelNode(QModelIndex(), nullptr));
}

TEST_F(Removing, PrepareRefusesWhatIsNotThere) {
  EXPECT_FALSE(tree.model.prepareRemoveRows(0, 1, nullptr, &removed));
  EXPECT_FALSE(tree.model.prepareRemoveRows(0, 1, sub, &removed));
  EXPECT_FALSE(tree.model.prepareRemoveRows(2, 1, analogs, &removed));
  EXPECT_EQ(removed, QStringList());
  EXPECT_EQ(analogs->children.size(), 2u);
}

TEST_F(Removing, PrepareStopsAtTheLastChild) {
  watch.reset();
  EXPECT_TRUE(tree.model.prepareRemoveRows(1, 7, analogs, &removed));
  EXPECT_EQ(removed, QStringList{"M3,Analog"});
  EXPECT_EQ(tree.order(analogs), "P");
}

TEST_F(Removing, PrepareTakesOutOnlyTheRange) {
  watch.reset();
  EXPECT_TRUE(tree.model.prepareRemoveRows(0, 1, analogs, nullptr));
  EXPECT_EQ(tree.order(analogs), "Q");
}

TEST_F(Removing, PrepareStopsAtAChildThatIsNotThere) {
  watch.reset();
  analogs->children.push_back(nullptr);
  EXPECT_FALSE(tree.model.prepareRemoveRows(0, 3, analogs, &removed));
  EXPECT_EQ(removed, QStringList());
  analogs->children.pop_back();
}

// ---- indexes that views keep -----------------------------------------------------------------------------

TEST_F(Removing, IndexesOfAllColumnsAreForgottenWithTheirRow) {
  const QPersistentModelIndex number(tree.at(single, 1));
  const QPersistentModelIndex name(tree.at(single));
  remove(unit);
  EXPECT_FALSE(number.isValid());
  EXPECT_FALSE(name.isValid());
}

TEST_F(Removing, IndexesThatASortLeftBehindAreForgottenWithTheirRow) {
  const QPersistentModelIndex first(tree.at(primary));
  const QPersistentModelIndex second(tree.at(last));
  watch->judgeNoMore();
  tree.model.sort(0, Qt::DescendingOrder);
  remove(primary);
  EXPECT_FALSE(first.isValid());
  EXPECT_EQ(second.internalPointer(), last);
  EXPECT_EQ(second.row(), 0);
}

TEST_F(Removing, IndexesInTheNumbersColumnMoveUpWithTheirRow) {
  const QPersistentModelIndex number(tree.at(last, 1));
  remove(primary);
  EXPECT_EQ(number.row(), 0);
  EXPECT_EQ(number.column(), 1);
  EXPECT_EQ(number.data(), "3");
}

TEST_F(Removing, RowsThatComeMoveIndexesOfAllColumnsDown) {
  const QPersistentModelIndex number(tree.at(last, 1));
  auto* fresh = new myConfNode(nullptr, "Новое", nullptr, nullptr);
  tree.model.insertNodes(tree.at(analogs), 0, {fresh});
  EXPECT_EQ(number.row(), 2);
  EXPECT_EQ(number.data(), "3");
}

}  // namespace
}  // namespace tlm::test
