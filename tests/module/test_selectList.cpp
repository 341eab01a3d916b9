// A selection list that is open while its table changes.
#include <QListView>

#include "Colleague.h"
#include "EventWindow.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(table MeasurementUnit Мегаватт {symbol=МВт}
table MeasurementUnit Мегавар {symbol=Мвар}
unit КП-1
  analog 1001 P Т-1 {UnitKey=@Мегаватт}
)";

class SelectList : public EventWindow {
 protected:
  SelectList() : EventWindow(kModel), other(*server.core()) {}

  // Opens the list of the units of measurement.
  void openList() {
    start();
    click("P Т-1");
    QTreeView* sheet = module->ui->tV_Prop;
    const QModelIndex cell = field("Единица измерения");
    ASSERT_TRUE(cell.isValid());
    module->activateWindow();
    sheet->setFocus();
    sheet->scrollTo(cell);
    sheet->setCurrentIndex(cell);
    sheet->edit(cell);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    ASSERT_NE(list(), nullptr);
    ASSERT_TRUE(list()->isVisible());
    app.log.clear();
  }
  QListView* list() { return module->findChild<QListView*>("referenceList"); }
  QStringList texts() {
    QStringList all;
    for (int row = 0; row < list()->model()->rowCount(); ++row) all += list()->model()->index(row, 0).data().toString();
    all.sort();
    return all;
  }
  int loads() { return app.log.filter("TableRecords MeasurementUnit").size(); }
  void commit() {
    ASSERT_TRUE(other.commit());
    ASSERT_TRUE(eventsAreIn());
  }

  Colleague other;
};

TEST_F(SelectList, ShowsARowThatAnotherAdds) {
  openList();
  EXPECT_EQ(texts(), QStringList({"(нет)", "МВт", "Мвар"}));
  other.row("MeasurementUnit", key("Киловатт"), {"symbol=кВт", "name_=Киловатт"}, MDX_REC_INSERT);
  commit();
  EXPECT_EQ(texts(), QStringList({"(нет)", "МВт", "Мвар", "кВт"}));
  EXPECT_EQ(list()->currentIndex().data().toString(), "МВт") << "what is chosen stays so";
}

TEST_F(SelectList, ShowsTheNewTextOfARow) {
  openList();
  other.change("MeasurementUnit", key("Мегавар"), {"symbol=МВАр"});
  commit();
  EXPECT_EQ(texts(), QStringList({"(нет)", "МВАр", "МВт"}));
}

TEST_F(SelectList, LosesARowThatAnotherDeletes) {
  openList();
  other.row("MeasurementUnit", key("Мегавар"), {}, MDX_REC_DELETE);
  commit();
  EXPECT_EQ(texts(), QStringList({"(нет)", "МВт"}));
}

TEST_F(SelectList, IsKnownByTheNameOfItsTableInAnyCase) {
  openList();
  for (int kind : {601, 602, 603}) {
    app.log.clear();
    sendBare(kind, key("Мегавар"), "measurementUNIT");
    EXPECT_EQ(loads(), 1) << kind;
  }
}

TEST_F(SelectList, IsLeftAloneByChangesOfOtherTables) {
  openList();
  for (int kind : {601, 602, 603}) sendBare(kind, key("Мегавар"), "MeasurementArchGroup");
  for (const char* table : {"Measurement", "Analog", "RemoteUnit", "Tables", "IdentifiedObject"})
    sendBare(603, "none", table);
  EXPECT_EQ(loads(), 0);
}

TEST_F(SelectList, IsNotReadAgainOnceItIsClosed) {
  openList();
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
  app.log.clear();
  for (int kind : {601, 602, 603}) sendBare(kind, key("Мегавар"), "MeasurementUnit");
  EXPECT_EQ(app.log, QStringList());
}

}  // namespace
}  // namespace tlm::test
