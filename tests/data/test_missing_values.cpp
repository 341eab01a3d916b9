#include "ModuleFixture.h"

namespace tlm::test {
namespace {

using MissingValuesTest = ModuleFixture;

TEST_F(MissingValuesTest, AUnitWhoseFolderIsUnknownIsNotShown) {
  load(R"(
      folder Папка
      unit Виден
      unit Не виден {RemoteUnitFolderKey=00000000000000000000000000000000}
  )");
  EXPECT_EQ(tree(), "Папка\nВиден\n");
}

TEST_F(MissingValuesTest, AMeasurementWithoutAClassIsListedByItsKeyAlone) {
  serve("unit КП\n  analog 1 P\n  discrete 2 Q");
  emptyOnServer("IdentifiedObject", "P", "ClassName");
  QStringList keys;
  module->GetMeasurementsForRTU(key("КП"), &keys, false, QString());
  EXPECT_EQ(keys, (QStringList{key("P"), key("Q") + ",Discrete"}));
}

TEST_F(MissingValuesTest, AMeasurementWithoutANameHasANodeWithAnEmptyText) {
  serve("unit КП\n  analog 1 P");
  emptyOnServer("IdentifiedObject", "P", "name_");
  module->loadMdxTables();
  buildTree();
  expand("КП");
  EXPECT_EQ(treeText(*module->treeModel, row("КП")), "Аналоговые измерения\n  1 \n");
}

TEST_F(MissingValuesTest, AnArchiveWithoutAKindNamesNoClass) {
  serve(R"(
      table Archives Без вида {type_=}
      table MeasurementArchGroup Г1 {aggregatedData=1;ArchivesKey=@Без вида}
      table MeasurementArchGroup Г2 {aggregatedData=1;ArchivesKey=}
  )");
  emptyOnServer("MeasurementArchGroup", "Г2", "ArchivesKey");
  module->loadMdxTables();
  ASSERT_EQ(MDARecCount(module->tblArchGroup.array), 2);
  module->FillClassesEnabledAgreg();
  EXPECT_EQ(module->classesEnabledAgreg, QStringList());
}

TEST_F(MissingValuesTest, APrimaryWithoutAnArchiveGroupIsNoAggregate) {
  load(R"(
      table MeasurementArchGroup Часовая {aggregatedData=1}
      unit КП
        analog 1 Основное
        analog 2 Без группы {primaryLocId=1}
        analog 3 Чужая группа {primaryLocId=1;MeasurementArchGroupKey=00000000000000000000000000000000}
        analog 4 Ноль {primaryLocId=0;MeasurementArchGroupKey=@Часовая}
  )");
  expand("КП");
  const myConfNode* group = node("Аналоговые измерения");
  EXPECT_EQ(group->children.size(), 4u);
  for (const myConfNode* child : group->children)
    EXPECT_FALSE(child->isAggregated) << GetLocId(const_cast<myConfNode*>(child));
}

}  // namespace
}  // namespace tlm::test
