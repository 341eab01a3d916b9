#include "ModuleFixture.h"

namespace tlm::test {
namespace {

using NumbersTest = ModuleFixture;

TEST_F(NumbersTest, NumberZeroIsNeverOffered) {
  serve("unit КП\n  analog 2 a");
  QList<int> numbers;
  module->GetCountFreeLocIdFromGiven(numbers, 3, 0);
  EXPECT_EQ(numbers, (QList<int>{1, 3}));
  QStringList busy;
  module->GetCountFreeLocIdAtRange(busy, 2, 0, 9, 1);
  EXPECT_EQ(module->freeLocIds.value(0), 1);
  EXPECT_FALSE(module->freeLocIds.contains(0));
}

TEST_F(NumbersTest, AnOpenedNodeIsSortedByTheColumnInUse) {
  load("unit КП\n  analog 30 А\n  analog 20 Б\n  analog 10 В");
  module->treeModel->sort(1, Qt::AscendingOrder);
  expand("КП");
  expand("Аналоговые измерения");
  EXPECT_EQ(treeText(*module->treeModel, row("Аналоговые измерения")), "10 В\n20 Б\n30 А\n");
}

TEST_F(NumbersTest, BodiesOfRequestsHoldTheKeyAndNoMore) {
  serve("unit КП\n  analog 1 P");
  CMDArray out;
  EXPECT_TRUE(GetRecByKey(session(), keyOf("P"), &out));
  EXPECT_EQ(app->log.last(), "PacketExec RecByKeyLink " + key("P"));
  EXPECT_EQ(GetPrefix(session(), key("КП")), QString());
  EXPECT_EQ(app->log.last(), "PacketExec RecByKeyLink " + key("КП"));
  char* text = nullptr;
  EXPECT_TRUE(GetValue(session(), key("P"), text));
  delete[] text;
  EXPECT_EQ(app->log.last(), "PacketExec ObjectHint " + key("P"));
}

}  // namespace
}  // namespace tlm::test
