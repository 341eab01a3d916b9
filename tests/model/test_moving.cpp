// Rows that move to another parent, and groups that come and go with them.
#include <gtest/gtest.h>

#include <memory>

#include "SmallTree.h"
#include "TreeWatch.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

const QString kAnalogs = QString::fromUtf8(kMeasClasses[0].caption);
const QString kDiscretes = QString::fromUtf8(kMeasClasses[1].caption);

class Moving : public testing::Test {
 protected:
  Moving() {
    top = tree.folder(tree.root, "Подстанция", "F1");
    sub = tree.folder(top, "ОРУ", "F2");
    unit = tree.unit(sub, "КП-1", "U1");
    analogs = tree.group(unit, kAnalogs);
    primary = tree.measurement(analogs, "Analog", 1, "P", "M1");
    aggregated = tree.measurement(primary, "Analog", 2, "P макс", "M2");
    aggregated->isAggregated = true;
    second = tree.measurement(analogs, "Analog", 3, "Q", "M3");
    single = tree.measurement(tree.group(unit, kDiscretes), "Discrete", 4, "В-1", "M4");
    other = tree.unit(tree.root, "КП-2", "U2");
    otherAnalogs = tree.group(other, kAnalogs);
    tree.measurement(otherAnalogs, "Analog", 5, "U", "M5");
    common = tree.defaultUnit();
    tree.done();
    watch = std::make_unique<TreeWatch>(tree.model);
  }

  void move(const myConfNode* node, const myConfNode* target, bool keepFocus = false) {
    tree.model.MoveNode(tree.at(node), target ? tree.at(target) : QModelIndex(), keepFocus);
  }
  QString text(const myConfNode* below) { return treeText(tree.model, below ? tree.at(below) : QModelIndex()); }

  SmallTree tree;
  std::unique_ptr<TreeWatch> watch;
  myConfNode *top, *sub, *unit, *analogs, *primary, *aggregated, *second, *single, *other, *otherAnalogs, *common;
};

TEST_F(Moving, AMeasurementJoinsTheGroupOfItsClassThere) {
  EXPECT_EQ(text(other), picture(R"(
    Аналоговые измерения
      5 U
  )"));
  move(second, other);
  EXPECT_EQ(text(other), picture(R"(
    Аналоговые измерения
      3 Q
      5 U
  )"));
  EXPECT_EQ(text(analogs), "1 P\n  2 P макс\n");
  EXPECT_EQ(second->parent, otherAnalogs);
  EXPECT_EQ(watch->log, QStringList{">Аналоговые измерения 1 Аналоговые измерения 1"});
}

TEST_F(Moving, APrimaryTakesItsAggregatedMeasurementsAlong) {
  move(primary, other);
  EXPECT_EQ(text(otherAnalogs), "1 P\n  2 P макс\n5 U\n");
}

TEST_F(Moving, AnAggregatedMeasurementStays) {
  move(aggregated, other);
  EXPECT_EQ(text(primary), "2 P макс\n");
  EXPECT_EQ(watch->log, QStringList());
}

TEST_F(Moving, TheGroupIsMadeBehindTheOthersWhenItIsMissing) {
  move(single, other);
  EXPECT_EQ(text(other), picture(R"(
    Аналоговые измерения
      5 U
    Дискретные сигналы
      4 В-1
  )"));
}

TEST_F(Moving, TheGroupThatIsLeftEmptyGoesLast) {
  move(single, other);
  EXPECT_EQ(text(unit), "Аналоговые измерения\n  1 P\n    2 P макс\n  3 Q\n");
  EXPECT_EQ(watch->log, QStringList({"+КП-2 1", ">Дискретные сигналы 0 Дискретные сигналы 0", "-КП-1 1"}));
}

TEST_F(Moving, TheUnitStaysWhenItsLastGroupGoes) {
  move(otherAnalogs->children.front(), unit);
  EXPECT_EQ(text(other), "");
  EXPECT_EQ(other->parent, tree.root);
}

TEST_F(Moving, TheDefaultUnitTakesMeasurements) {
  move(single, common);
  EXPECT_EQ(text(common), "Дискретные сигналы\n  4 В-1\n");
}

TEST_F(Moving, TheDefaultUnitStaysWhenItsLastMeasurementLeaves) {
  move(single, common);
  move(single, other);
  EXPECT_EQ(text(common), "");
  EXPECT_EQ(tree.order(tree.root), "Подстанция | КП-2 | (Устройство по умолчанию)");
}

TEST_F(Moving, ToWhatIsNoUnitAMeasurementDoesNotMove) {
  for (const myConfNode* target : {top, otherAnalogs, otherAnalogs->children.front()}) move(second, target);
  move(second, nullptr);
  EXPECT_EQ(text(analogs), "1 P\n  2 P макс\n3 Q\n");
  EXPECT_EQ(watch->log, QStringList());
}

TEST_F(Moving, AnInvalidSourceIsNothing) {
  tree.model.MoveNode(QModelIndex(), tree.at(other), true);
  EXPECT_EQ(watch->log, QStringList());
}

TEST_F(Moving, WithFocusTheRowIsLeftAtTheEndAndPointedAt) {
  move(second, other, true);
  EXPECT_EQ(text(otherAnalogs), "5 U\n3 Q\n");
  EXPECT_EQ(watch->log.last(), "focus Q");
}

TEST_F(Moving, WithFocusTheIndexIsThatOfTheNewPlace) {
  QModelIndex focus;
  QObject::connect(&tree.model, &MeasConfTreeModel::setFocusRow, [&](const QModelIndex& index) { focus = index; });
  move(second, other, true);
  EXPECT_EQ(focus, tree.at(second));
  EXPECT_EQ(focus.row(), 1);
}

TEST_F(Moving, WithoutFocusTheNewLevelIsSortedInThePresentOrder) {
  tree.model.sort(0, Qt::DescendingOrder);
  watch->log.clear();
  move(second, other);
  EXPECT_EQ(text(otherAnalogs), "5 U\n3 Q\n");
  move(primary, other);
  EXPECT_EQ(text(otherAnalogs), "5 U\n3 Q\n1 P\n  2 P макс\n");
  EXPECT_FALSE(watch->log.contains("focus Q"));
}

TEST_F(Moving, AFolderMovesBehindTheOthersOfAFolder) {
  myConfNode* target = tree.folder(tree.root, "Цель", "F3");
  tree.folder(target, "Я", "F4");
  tree.done();
  watch->log.clear();
  move(sub, target, true);
  EXPECT_EQ(text(target), picture(R"(
    Я
    ОРУ
      КП-1
        Аналоговые измерения
          1 P
            2 P макс
          3 Q
        Дискретные сигналы
          4 В-1
  )"));
  EXPECT_EQ(watch->log, QStringList({">Подстанция 0 Цель 1", "focus ОРУ"}));
}

TEST_F(Moving, AFolderStaysWhenItIsLeftEmpty) {
  move(unit, top);
  EXPECT_EQ(tree.order(top), "ОРУ | КП-1");
  EXPECT_TRUE(sub->children.empty());
}

TEST_F(Moving, NoTargetIsTheTop) {
  move(unit, nullptr, true);
  EXPECT_EQ(tree.order(tree.root), "Подстанция | КП-2 | (Устройство по умолчанию) | КП-1");
  EXPECT_EQ(unit->parent, tree.root);
  EXPECT_FALSE(tree.model.parent(tree.at(unit)).isValid());
}

TEST_F(Moving, AFolderDoesNotMoveBelowItself) {
  move(top, sub);
  EXPECT_EQ(top->parent, tree.root);
  EXPECT_EQ(watch->log, QStringList());
}

TEST_F(Moving, ToWhereItIsTheRowGoesToTheEnd) {
  move(primary, unit, true);
  EXPECT_EQ(text(analogs), "3 Q\n1 P\n  2 P макс\n");
  watch->log.clear();
  move(primary, unit, true);
  EXPECT_EQ(watch->log, QStringList{"focus P"});
  EXPECT_EQ(text(unit).section('\n', 0, 0), kAnalogs);
}

TEST_F(Moving, AnOnlyChildThatStaysKeepsItsGroup) {
  move(single, unit, true);
  EXPECT_EQ(text(unit).section('\n', 4, 5), "Дискретные сигналы\n  4 В-1");
}

TEST_F(Moving, TheClassOfTheCallDecidesAndTheKeyPlaysNoPart) {
  tree.model.MoveNode(tree.at(second), "другой ключ", "ANALOG", tree.at(other), false);
  EXPECT_EQ(text(otherAnalogs), "3 Q\n5 U\n");
}

TEST_F(Moving, TheModelTesterBearsMoves) {
  watch->judge();
  move(single, other, true);
  move(second, common, true);
  move(primary, unit, true);
  move(primary, other, true);
  move(unit, top, true);
  move(other, sub, true);
  move(sub, nullptr, true);
  watch->judgeNoMore();
  EXPECT_EQ(text(nullptr), picture(R"(
    Подстанция
      КП-1
    (Устройство по умолчанию)
      Аналоговые измерения
        3 Q
    ОРУ
      КП-2
        Аналоговые измерения
          5 U
          1 P
            2 P макс
        Дискретные сигналы
          4 В-1
  )"));
}

TEST_F(Moving, TheSearchByKeyFollows) {
  move(sub, nullptr);
  EXPECT_EQ(tree.model.findByKey("M4"), tree.at(single));
  EXPECT_EQ(tree.model.findByKey("F2"), tree.at(sub));
}

TEST_F(Moving, IndexesThatViewsKeepFollow) {
  const QPersistentModelIndex name(tree.at(single));
  const QPersistentModelIndex number(tree.at(second, 1));
  move(single, other);
  move(primary, other);
  EXPECT_EQ(name, tree.at(single));
  EXPECT_EQ(number, tree.at(second, 1));
}

// ---- looking for groups and measurements -----------------------------------------------------------------

TEST_F(Moving, AGroupIsFoundByItsExactCaption) {
  int position = 7;
  EXPECT_TRUE(tree.model.ExistFold(&unit->children, kDiscretes, position));
  EXPECT_EQ(position, 1);
  position = 7;
  EXPECT_FALSE(tree.model.ExistFold(&unit->children, kDiscretes.toUpper(), position));
  EXPECT_EQ(position, 7);
  EXPECT_TRUE(tree.model.GetIndFold(&unit->children, kAnalogs, position));
  EXPECT_EQ(position, 0);
}

TEST_F(Moving, TheFirstOfTwoEqualCaptionsIsTheOne) {
  myConfNode* twice = tree.unit(tree.root, "КП-3", "U3");
  tree.group(twice, "А");
  tree.group(twice, kAnalogs);
  tree.group(twice, kAnalogs);
  int position = 0;
  EXPECT_TRUE(tree.model.ExistFold(&twice->children, kAnalogs, position));
  EXPECT_EQ(position, 1);
  std::vector<myConfNode*> none;
  EXPECT_FALSE(tree.model.ExistFold(&none, kAnalogs, position));
}

TEST_F(Moving, AMeasurementIsKnownInTheUnitThatItStandsIn) {
  EXPECT_TRUE(tree.model.ExistSignInRTU("M1", "U1"));
  EXPECT_TRUE(tree.model.ExistSignInRTU("m2", "u1")) << "any depth, any case";
  EXPECT_FALSE(tree.model.ExistSignInRTU("M1", "U2"));
  EXPECT_FALSE(tree.model.ExistSignInRTU("U1", "U1")) << "not the unit itself";
  EXPECT_FALSE(tree.model.ExistSignInRTU("M1", "U9"));
  EXPECT_FALSE(tree.model.ExistSignInRTU("M9", "U1"));
  EXPECT_FALSE(tree.model.ExistSignInRTU("", "U1"));
  EXPECT_FALSE(tree.model.ExistSignInRTU("M1", ""));
}

}  // namespace
}  // namespace tlm::test
