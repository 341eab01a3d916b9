// The sheet as an engineer sees it; the pictures are for eyes, the checks are that nothing is cut.
#include "fixture.h"

namespace tlm::test {
namespace {

using Picture = PassportTest;

TEST_F(Picture, ShowsAnAnalogMeasurement) {
  show("P Т-1", "12.5 \xcc\xc2\xf2");
  EXPECT_FALSE(picture("analog"));
}

TEST_F(Picture, MarksAnEditedField) {
  show("P Т-1");
  type("IdentifiedObject.name_", QString::fromUtf8("Новое имя"));
  QStringList locked{"Measurement.RemoteUnitKey", "Measurement.work_"};
  passport_->SetNoEditableFields(locked, true);
  EXPECT_TRUE(isMarked("IdentifiedObject.name_"));
  EXPECT_FALSE(picture("edited"));
}

TEST_F(Picture, OpensTheListOfAReference) {
  show("P Т-1");
  click("Measurement.MeasurementArchGroupKey");
  press(Qt::Key_Down);
  EXPECT_FALSE(picture("list"));
}

TEST_F(Picture, ShowsTheUnitOfAStation) {
  show("ПС Северная", nullptr);
  EXPECT_FALSE(picture("unit"));
}

TEST_F(Picture, ShowsADeclaration) {
  passport_->SetDeclare(QString::fromUtf8("Модель"), 12, QString::fromUtf8("Наименование"));
  EXPECT_FALSE(picture("declare"));
}

TEST_F(Picture, ShowsTheCalculationsOfAMeasurement) {
  passport_->FillCMDArray(session(), "Calculations");
  show("P Т-1");
  ASSERT_EQ(tabs_->count(), 2);
  tabs_->setCurrentIndex(1);
  EXPECT_FALSE(picture("calculations"));
}

}  // namespace
}  // namespace tlm::test
