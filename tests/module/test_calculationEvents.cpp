// The calculations of a measurement that is shown, while others change them.
#include <QTabWidget>
#include <QTableView>

#include "Colleague.h"
#include "EventWindow.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(unit КП-1
  analog 1001 P Т-1
  analog 1002 Q Т-1
table Calculations Расчет {fname=RES1001;formula=VAL1002*2;enabled=1;period=10}
)";

class CalculationEvents : public EventWindow {
 protected:
  CalculationEvents() : EventWindow(kModel), other(*server.core()) {}

  void commit() {
    ASSERT_TRUE(other.commit());
    ASSERT_TRUE(eventsAreIn());
  }
  // The first row of the tab, without blanks at its end: name, formula, period.
  QString page() {
    const QTabWidget* tabs = module->ui->tabWidget_prop;
    const auto* view = tabs->widget(1) ? tabs->widget(1)->findChild<QTableView*>() : nullptr;
    if (!view) return "no tab";
    QMap<QString, QString> cells;
    for (int column = 0; column < view->model()->columnCount(); ++column)
      cells[view->model()->headerData(column, Qt::Horizontal).toString()] =
          view->model()->index(0, column).data().toString();
    return QStringList(cells.values()).join('|');
  }

  Colleague other;
};

TEST_F(CalculationEvents, ChangedFieldsReachTheTabAndTheOthersStay) {
  start();
  click("P Т-1");
  const QString before = page();
  ASSERT_TRUE(before.contains("VAL1002*2")) << before.toStdString();
  other.change("Calculations", key("Расчет"), {"formula=VAL1002*3"});
  commit();
  EXPECT_EQ(page(), QString(before).replace("VAL1002*2", "VAL1002*3"));
}

TEST_F(CalculationEvents, NewOneReachesTheTab) {
  start();
  click("Q Т-1");
  ASSERT_FALSE(page().contains("VAL1001"));
  other.row("Calculations", key("Новый"), {"fname=RES1002", "formula=VAL1001+1"}, MDX_REC_INSERT);
  commit();
  EXPECT_TRUE(page().contains("VAL1001+1")) << page().toStdString();
}

TEST_F(CalculationEvents, DeletedOneLeavesTheTabAndStaysInTheModulesTable) {
  start();
  click("P Т-1");
  other.row("Calculations", key("Расчет"), {}, MDX_REC_DELETE);
  commit();
  EXPECT_FALSE(page().contains("VAL1002")) << page().toStdString();
  EXPECT_EQ(held(module->tblCalculations, "Расчет", "fname"), "RES1001");
}

}  // namespace
}  // namespace tlm::test
