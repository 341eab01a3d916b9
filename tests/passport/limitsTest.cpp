// Bounds, locks and the life of edits at their edges; what a declared type makes of a field.
#include "fixture.h"

#include "passport/fieldMeta.h"

#include <QAbstractItemView>
#include <QLineEdit>

namespace tlm::test {
namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

class Limits : public PassportTest {
 protected:
  QAbstractItemView* page() const {
    return tabs_->widget(1) ? tabs_->widget(1)->findChild<QAbstractItemView*>() : nullptr;
  }
};

TEST_F(Limits, TheBoundsThemselvesAreTaken) {
  show("P Т-1");
  for (const char* number : {"255", "0"}) {
    type("Measurement.ioGroup", number);
    EXPECT_EQ(text("Measurement.ioGroup"), number);
  }
  EXPECT_EQ(messages_->count(), 0);
  for (const char* number : {"-1", "256"}) {
    type("Measurement.ioGroup", number);
    press(Qt::Key_Escape);
  }
  EXPECT_EQ(messages_->count(), 2);
  EXPECT_EQ(handOver().marked("Measurement"), "ioGroup=0");
}

TEST_F(Limits, BlanksInANumberAreNull) {
  show("P Т-1");
  type("Measurement.staleTime", "  ");
  EXPECT_EQ(messages_->count(), 0);
  EXPECT_EQ(handOver().marked("Measurement"), "staleTime=null");
}

TEST_F(Limits, ALockedFieldSaysWhy) {
  show("P Т-1");
  QStringList names{"Measurement.locId"};
  passport_->SetNoEditableFields(names, true);
  EXPECT_EQ(cell("Measurement.locId").data(Qt::ToolTipRole).toString(),
            u8("Это поле у выбранного объекта не изменяется"));
  passport_->SetNoEditableFields(names, false);
  EXPECT_FALSE(isLocked("Measurement.locId"));
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  show("P Т-1");
  EXPECT_EQ(cell("Measurement.locId").data(Qt::ToolTipRole).toString(),
            u8("Сначала сохраните или отмените новый объект"));
}

TEST_F(Limits, AGroupOpenedAgainStaysOpen) {
  show("P Т-1");
  tree_->collapse(tree_->model()->index(1, 0));
  tree_->expand(tree_->model()->index(1, 0));
  show("ПС Северная", nullptr);
  EXPECT_TRUE(tree_->isExpanded(tree_->model()->index(0, 0)));
}

TEST_F(Limits, AListIsReloadedByATableInWhateverCase) {
  show("P Т-1");
  openEditor("Measurement.UnitKey");
  press(Qt::Key_Down);
  log_.clear();
  passport_->UpdateSelectValues("measurementunit", "", "", "", "");
  EXPECT_EQ(log_.filter("TableRecords MeasurementUnit").size(), 1);
}

TEST_F(Limits, EditsOfSeveralAreNotThoseOfTheFirstAlone) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  Merged merged;
  merged.texts = {{"Measurement.staleTime", "0"}};
  passport_->SetObject(key("P Т-1"), &model_, session(), nullptr, &merged, true, false);
  type("Measurement.staleTime", "5");
  show("P Т-1");
  EXPECT_FALSE(isMarked("Measurement.staleTime"));
  type("Measurement.ioGroup", "7");
  const ChangeSet set = handOver();
  ASSERT_EQ(MDARecCount(set.array("Measurement")->array), 2);
  EXPECT_EQ(set.marked("Measurement", 0), "staleTime=5");
  EXPECT_EQ(set.marked("Measurement", 1), "ioGroup=7");
}

TEST_F(Limits, EditsOfARowThatGoesGoWithIt) {
  ASSERT_TRUE(passport_->FillCMDArray(session(), "Calculations"));
  show("P Т-1");
  ASSERT_TRUE(page());
  page()->model()->setData(page()->model()->index(0, 2), Qt::Unchecked, Qt::CheckStateRole);
  ASSERT_TRUE(passport_->HasChanges());
  show("Q Т-1");
  passport_->DelRecTable("Calculations", key("RES1001"));
  EXPECT_FALSE(handOver().tables.contains("Calculations"));
}

TEST_F(Limits, ATabIsLockedWhileANewObjectWaits) {
  ASSERT_TRUE(passport_->FillCMDArray(session(), "Calculations"));
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  show("P Т-1");
  ASSERT_TRUE(page());
  page()->model()->setData(page()->model()->index(0, 2), Qt::Unchecked, Qt::CheckStateRole);
  EXPECT_FALSE(handOver().tables.contains("Calculations"));
}

// ---- what the catalogue declares -------------------------------------------------------------------------

using passport::FieldKind;

passport::FieldMetaPtr described(const char* declared, const char* param, int type) {
  static passport::FieldMetas metas;
  passport::FieldSource source;
  source.table = "Any";
  source.name = "field";
  source.declared = declared;
  source.param = param;
  source.type = uint8_t(type);
  return metas.of(source);
}

TEST(Declared, EachTypeHasItsEditor) {
  EXPECT_EQ(described("TEXT", "", MDX_TEXT)->kind, FieldKind::kText);
  EXPECT_EQ(described("MEMO", "", MDX_MEMO)->kind, FieldKind::kMemo);
  EXPECT_EQ(described("GUID", "", MDX_TEXT)->kind, FieldKind::kKey);
  EXPECT_EQ(described("GUID_REF", "REF=Archives", MDX_TEXT)->kind, FieldKind::kReference);
  EXPECT_EQ(described("DOUBLE", "", MDX_DOUBLE)->kind, FieldKind::kDouble);
  EXPECT_EQ(described("DATETIME", "", MDX_DOUBLE)->kind, FieldKind::kDateTime);
  EXPECT_EQ(described("BOOLEAN", "", MDX_BOOL)->kind, FieldKind::kFlag);
  EXPECT_EQ(described("BOOLEAN", "ENUM=\"0=Off,1=On\"", MDX_BOOL)->kind, FieldKind::kChoice);
  EXPECT_EQ(described("INTEGER", "", MDX_INT64)->kind, FieldKind::kInteger);
  EXPECT_EQ(described("INTEGER", "ENUM=\"0=A,1=B\"", MDX_INT64)->kind, FieldKind::kChoice);
  EXPECT_EQ(described("INTEGER", "Meas=1", MDX_INT64)->kind, FieldKind::kMeasNumber);
  EXPECT_EQ(described("INTEGER", "SrvGroups=1", MDX_INT64)->kind, FieldKind::kServerGroup);
  EXPECT_EQ(described("NEVER SEEN", "", MDX_BOOL)->kind, FieldKind::kFlag) << "by what it is stored in";
}

TEST(Declared, LimitsAreThoseOfTheCatalogueWithinThoseOfTheStorage) {
  const auto narrow = described("INTEGER", "MIN=-12;MAX=14", MDX_INT32);
  EXPECT_EQ(narrow->min, -12);
  EXPECT_EQ(narrow->max, 14);
  const auto wide = described("INTEGER", "MAX=99999999999", MDX_INT32);
  EXPECT_EQ(wide->min, std::numeric_limits<int32_t>::min());
  EXPECT_EQ(wide->max, std::numeric_limits<int32_t>::max());
  const auto real = described("DOUBLE", "MIN=0.5", MDX_DOUBLE);
  EXPECT_EQ(real->min, 0.5);
  EXPECT_EQ(real->max, std::numeric_limits<double>::max());
}

TEST(Declared, AFieldOfTheSystemIsReadOnly) {
  EXPECT_TRUE(described("TEXT", "READONLY=1", MDX_TEXT)->readOnly);
  EXPECT_FALSE(described("TEXT", "LEN=5", MDX_TEXT)->readOnly);
}

}  // namespace
}  // namespace tlm::test
