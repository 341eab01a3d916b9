// Series by template: the change set that is written.
#include "TemplateWindow.h"
#include "support/DebugLines.h"

namespace tlm::test {
namespace {

// ---- the change set --------------------------------------------------------------------------------------

class TemplateSet : public Template {
 protected:
  explicit TemplateSet(const char* model = kTemplateModel) : Template(model) {}
  bool prepare(const QString& source, const QString& className, const QList<int>& numbers,
               const QStringList& children = {}, bool withChildren = true, const QString& unit = "КП-2") {
    const bool ready = module->PrepareSaveGroupTemplate(changes.tables, changes.arrays, source, className,
                                                        unit.isEmpty() ? unit : key(unit.toUtf8()), numbers, "Ряд",
                                                        true, withChildren, children);
    nameNewKeys(changes);
    return ready;
  }
  ChangeSet changes;
};

TEST_F(TemplateSet, HoldsTheTemplatesRecordsForEachNumber) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21, 22}));
  EXPECT_EQ(changeText(changes),
            (QStringList{"IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Ряд 21",
                         "IdentifiedObject 1: KeyLink=new2 ClassName=Analog name_=Ряд 22",
                         "Measurement 1: KeyLink=new1 locId=21 work_=0 RemoteUnitKey=КП-2* PSRKey=Т-1 staleTime=77",
                         "Measurement 1: KeyLink=new2 locId=22 work_=0 RemoteUnitKey=КП-2* PSRKey=Т-1 staleTime=77",
                         "Analog 1: KeyLink=new1 decimals=5", "Analog 1: KeyLink=new2 decimals=5"}));
}

TEST_F(TemplateSet, HoldsTheChildrenBehindTheirCopy) {
  start();
  module->agregLocIds = QList<int>{31, 32, 33};
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21}, {key("P Т-1_час_ср"), key("P Т-1 сутки")}));
  const QStringList lines = changeText(changes);
  EXPECT_EQ(lines.filter("IdentifiedObject"),
            (QStringList{"IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Ряд 21",
                         "IdentifiedObject 1: KeyLink=new2 ClassName=Analog name_=Ряд 21_ср",
                         "IdentifiedObject 1: KeyLink=new3 ClassName=Analog name_=Ряд 21"}));
  EXPECT_EQ(lines.filter("Measurement 1").mid(1),
            (QStringList{"Measurement 1: KeyLink=new2 locId=31 primaryLocId=21 work_=1 RemoteUnitKey=КП-2* "
                         "MeasurementArchGroupKey=Час ioAddress=9",
                         "Measurement 1: KeyLink=new3 locId=32 primaryLocId=21 work_=1 RemoteUnitKey=КП-2* "
                         "MeasurementArchGroupKey=Сутки"}));
  EXPECT_EQ(lines.filter("Analog 1").size(), 3);
  EXPECT_EQ(module->agregLocIds, QList<int>{33});
}

TEST_F(TemplateSet, ChildrenEndWithTheirNumbers) {
  start();
  module->agregLocIds = QList<int>{31};
  const DebugLines told;
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21, 22}, {key("P Т-1_час_ср"), key("P Т-1 сутки")}));
  EXPECT_EQ(told.with("is left out: no number is free").size(), 3);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(MDARecCount(changes.arrays[i]->array), 3) << "whole objects alone";
}

TEST_F(TemplateSet, ChildrenStayBehindWithoutTheFlag) {
  start();
  module->agregLocIds = QList<int>{31};
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21}, {key("P Т-1_час_ср")}, false));
  EXPECT_EQ(changeText(changes).size(), 3);
}

TEST_F(TemplateSet, AChildThatIsGoneIsLeftOut) {
  start();
  module->agregLocIds = QList<int>{31, 32};
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21}, {QString(32, '0'), key("P Т-1 сутки")}));
  EXPECT_EQ(changeText(changes).size(), 6);
  EXPECT_EQ(module->agregLocIds, QList<int>{32});
}

TEST_F(TemplateSet, AUnitHasItsOwnChain) {
  start();
  EXPECT_TRUE(prepare(key("КП-1"), "RemoteUnit", {21}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "RemoteUnit"}));
}

TEST_F(TemplateSet, AnEmptyClassIsAFolder) {
  start();
  EXPECT_TRUE(prepare(key("Подстанция"), "", {21}));
  EXPECT_EQ(changes.tables, QStringList{"RemoteUnitFolder"});
}

TEST_F(TemplateSet, NothingIsReadyWithoutKeyUnitClassOrRecord) {
  start();
  EXPECT_FALSE(prepare("", "Analog", {21}));
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {21}, {}, true, ""));
  EXPECT_FALSE(prepare(QString(32, '0'), "Analog", {21}));
  EXPECT_FALSE(prepare(key("P Т-1"), "analog", {21})) << "classes are known with case";
  EXPECT_EQ(changes.tables, QStringList());
}

TEST_F(TemplateSet, AnUnknownClassIsToldToTheDevelopers) {
  start();
  const DebugLines told;
  EXPECT_FALSE(prepare(key("P Т-1"), "Unknown", {21}));
  EXPECT_EQ(told.all(), QStringList{"Unknown(ind = SavedClasses.indexOf(ClassNameSrc))==-1 !!!"});
}

TEST_F(TemplateSet, NoNumbersAreReadyWithNothing) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {}));
  EXPECT_EQ(changes.tables, QStringList());
}

}  // namespace
}  // namespace tlm::test
