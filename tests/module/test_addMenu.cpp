#include "AddMenu.h"

#include <QMenu>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

// The offer as letters: A D C S for the measurement kinds, R root folder, F folder, U unit.
QString letters(const AddOffer& offer) {
  const std::pair<bool, char> all[] = {{offer.analog, 'A'}, {offer.discrete, 'D'},   {offer.accumulator, 'C'},
                                       {offer.string, 'S'}, {offer.rootFolder, 'R'}, {offer.folder, 'F'},
                                       {offer.rtu, 'U'}};
  QString text;
  for (const auto& [on, letter] : all)
    if (on) text += letter;
  return text;
}

struct OfferCase {
  const char* name;
  AddFacts facts;
  const char* offer;
};

void PrintTo(const OfferCase& row, std::ostream* out) { *out << row.name; }

class AddOfferRow : public testing::TestWithParam<OfferCase> {};

TEST_P(AddOfferRow, IsWhatMayStandThere) { EXPECT_EQ(letters(addOffer(GetParam().facts)), GetParam().offer); }

const OfferCase kRows[] = {
    {"NoRow", {false, false, "", ""}, "RU"},
    {"Folder", {true, true, "", ""}, "RFU"},
    {"AnalogGroup", {true, false, "Аналоговые измерения", ""}, "AR"},
    {"Analog", {true, false, "", "Analog"}, "AR"},
    {"DiscreteGroup", {true, false, "Дискретные сигналы", ""}, "DR"},
    {"Discrete", {true, false, "", "Discrete"}, "DR"},
    {"AccumulatorGroup", {true, false, "Счетчики", ""}, "CR"},
    {"Accumulator", {true, false, "", "Accumulator"}, "CR"},
    {"StringGroup", {true, false, "Строковые величины", ""}, "SR"},
    {"String", {true, false, "", "StringMeasurement"}, "SR"},
    {"RemoteUnit", {true, false, "", "RemoteUnit"}, "ADCSR"},
    {"DefaultUnit", {true, false, "(Устройство по умолчанию)", ""}, ""},
    {"UnknownClass", {true, false, "", "Terminal"}, ""},
    {"ClassInAnyCase", {true, false, "", "remoteunit"}, "ADCSR"},
    {"CaptionInItsCaseOnly", {true, false, "счетчики", ""}, ""},
};

INSTANTIATE_TEST_SUITE_P(Module, AddOfferRow, testing::ValuesIn(kRows),
                         [](const auto& each) { return std::string(each.param.name); });

class AddMenu : public ModuleWindow {
 protected:
  // What the menu shows when it is opened over this row.
  QStringList offered(const QModelIndex& index) {
    tree()->setCurrentIndex(index);
    emit module->addMenu->aboutToShow();
    QStringList texts;
    for (QAction* action : module->addMenu->actions())
      if (action->isVisible() && !action->isSeparator()) texts += action->text();
    return texts;
  }
};

TEST_F(AddMenu, OffersRootFolderAndUnitWithoutARow) {
  start();
  EXPECT_EQ(offered(QModelIndex()), (QStringList{"Корневую папку", "Устройство"}));
}

TEST_F(AddMenu, HidesTheMeasurementsOnAFolder) {
  start();
  EXPECT_EQ(offered(find("Подстанция Северная")), (QStringList{"Корневую папку", "Папку", "Устройство"}));
}

TEST_F(AddMenu, OffersAllKindsOnAUnit) {
  start();
  EXPECT_EQ(offered(find("КП-1")), (QStringList{"Корневую папку", "Аналоговое измерение", "Дискретный сигнал",
                                                "Счетчик", "Строковую величину"}));
}

TEST_F(AddMenu, OffersTheKindOfAMeasurementAndOfItsGroup) {
  start();
  const QModelIndex discrete = find("Q-110");
  const QStringList expected{"Корневую папку", "Дискретный сигнал"};
  EXPECT_EQ(offered(discrete), expected);
  EXPECT_EQ(offered(discrete.parent()), expected);
}

}  // namespace
}  // namespace tlm::test
