// A window with archive groups of every kind, the dialog of aggregated data, and clicks in its list.
#pragma once

#include <QListView>

#include "SeriesWindow.h"
#include "StringListModel.h"
#include "popAddAgregData.h"
#include "support/Peer.h"
#include "ui_popAddAgregData.h"

namespace tlm::test {

inline constexpr char kAggregatedModel[] = R"(table Archives Архив ТИ {type_=1}
table Archives Архив срезов {type_=5}
table Archives Архив ТС {type_=2}
table Archives Архив прочий {type_=0}
table Archives Архив неизвестный {type_=6}
table Archives Архив без вида
table MeasurementArchGroup Час {aggregatedData=1;ArchivesKey=@Архив ТИ;description=Среднее за час;aggregatedName=_час}
table MeasurementArchGroup Сутки {aggregatedData=1;ArchivesKey=@Архив ТИ;description=Среднее за сутки;aggregatedName=_сутки}
table MeasurementArchGroup Минута {aggregatedData=1;ArchivesKey=@Архив срезов;description=Среднее за минуту}
table MeasurementArchGroup ТС сутки {aggregatedData=1;ArchivesKey=@Архив ТС;description=Время работы;aggregatedName=_раб}
table MeasurementArchGroup Исходная {aggregatedData=0;ArchivesKey=@Архив ТИ;description=Исходная}
table MeasurementArchGroup Неясная {ArchivesKey=@Архив ТИ;description=Неясная}
table MeasurementArchGroup Без архива {aggregatedData=1;description=Без архива}
table MeasurementArchGroup Чужой архив {aggregatedData=1;ArchivesKey=@Нет такого;description=Чужой архив}
table MeasurementArchGroup Прочая {aggregatedData=1;ArchivesKey=@Архив прочий;description=Прочая}
table MeasurementArchGroup Шестая {aggregatedData=1;ArchivesKey=@Архив неизвестный;description=Шестая}
table MeasurementArchGroup Без вида {aggregatedData=1;ArchivesKey=@Архив без вида;description=Без вида}
table PowerSystemResource Т-1
table Terminal Т-1 полюс
unit КП-1
  analog 1001 P Т-1 {PSRKey=@Т-1;TerminalKey=@Т-1 полюс;work_=1}
    analog 1002 P Т-1_час {MeasurementArchGroupKey=@Час}
    analog 1004 P Т-1_сутки {MeasurementArchGroupKey=@Сутки}
  analog 1005 Q Т-1 {work_=0}
  discrete 1006 Q-110
  accumulator 1007 Wp Т-1
  string 2 Режим
analog 1010 Без КП
)";

class Aggregated : public SeriesWindow {
 protected:
  explicit Aggregated(const char* model = kAggregatedModel) : SeriesWindow(model) {
    nameKeys({"КП-1", "P Т-1", "Q Т-1", "Час", "Сутки", "Минута", "ТС сутки", "Т-1", "Т-1 полюс"});
  }

  CPopAddAgregData* dialog() { return module->popAddAgregData; }
  StringListModel* list() { return dialog()->listModel; }
  QListView* view() { return dialog()->ui->listView; }

  void open(const char* name) {
    click(name);
    app.log.clear();
    press(module->actAgregData);
    ASSERT_TRUE(dialog()->isVisible());
  }
  QModelIndex item(const char* description) {
    for (int i = 0; i < list()->rowCount(); ++i)
      if (list()->index(i).data().toString() == description) return list()->index(i);
    ADD_FAILURE() << "no group " << description;
    return QModelIndex();
  }
  // Clicks the check box of a group.
  void tick(const char* description) {
    const QModelIndex index = item(description);
    view()->scrollTo(index);
    const QRect row = view()->visualRect(index);
    QTest::mouseClick(view()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(row.left() + 9, row.center().y()));
    settle();
  }
  QStringList ticked() {
    QStringList texts;
    for (int i = 0; i < list()->rowCount(); ++i)
      if (list()->index(i).data(Qt::CheckStateRole).toInt() == Qt::Checked) texts += list()->index(i).data().toString();
    texts.sort();
    return texts;
  }
  QStringList listed() {
    QStringList texts;
    for (int i = 0; i < list()->rowCount(); ++i) texts += list()->index(i).data().toString();
    texts.sort();
    return texts;
  }
  void accept() {
    key(Qt::Key_Return);
    ASSERT_TRUE(eventsAreIn());
  }
  // Deletes are sent without waiting for the server.
  void expectChildren(int number, const QStringList& expected) {
    eventually([&] { return childrenOf(number) == expected; }, 3000);
    EXPECT_EQ(childrenOf(number), expected);
    EXPECT_TRUE(eventsAreIn());
  }
  QStringList childrenOf(int number) {
    return serverRows().filter(QRegularExpression(QString("\\(of %1,").arg(number)));
  }
};

}  // namespace tlm::test
