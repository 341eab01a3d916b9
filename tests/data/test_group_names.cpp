#include "ModuleFixture.h"

namespace tlm::test {
namespace {

using GroupNamesTest = ModuleFixture;

TEST_F(GroupNamesTest, MayHoldWhatTheListIsMadeOf) {
  serve("table ServerGroups Main Group A {number=1}\ntable ServerGroups [Groups] {number=2}");
  QStringList groups;
  EXPECT_TRUE(GetSrvGroup(session(), &groups));
  EXPECT_EQ(groups, (QStringList{QString::fromUtf8("1=Main Group\u00A0A"), "2=(Groups)"}));
  EXPECT_EQ(GetServerGroup("1", &groups), QString::fromUtf8("Main Group\u00A0A"));
}

}  // namespace
}  // namespace tlm::test
