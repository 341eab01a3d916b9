// A window that follows a colleague, and rows of its own put in past all events.
#pragma once

#include "Colleague.h"
#include "EventWindow.h"

namespace tlm::test {

inline constexpr char kTreeEventsModel[] = R"(folder Подстанция Северная
  folder ОРУ-110
    unit КП-1
      analog 1001 P Т-1
      analog 1002 Q Т-1
      discrete 1003 Q-110
  unit КП-2
    analog 2001 I Т-2
folder Подстанция Южная
unit Без папки
  analog 3001 U 10 кВ
table MeasurementArchGroup Часовая {aggregatedData=1}
table MeasurementArchGroup Обычная {aggregatedData=0}
)";

class TreeEvents : public EventWindow {
 protected:
  TreeEvents() : EventWindow(kTreeEventsModel), other(*server.core()) {}

  // Carries out a block of the colleague and waits until the window knows.
  void commit() {
    ASSERT_TRUE(other.commit());
    ASSERT_TRUE(eventsAreIn());
  }
  // Fetches a unit and sorts it, as its opening does.
  void load(const char* unit) {
    ASSERT_TRUE(module->AddMeasForRTU(row(unit), QString(), false, QString()));
    module->treeModel->SortChildren(nodeOf(row(unit)), 0, Qt::AscendingOrder, false);
  }

  QModelIndex row(const char* name) { return module->treeModel->findByKey(key(name)); }
  QString text() { return treeText(*module->treeModel); }
  QString below(const char* name) { return treeText(*module->treeModel, row(name)); }
  QString current() { return tree()->currentIndex().data().toString(); }

  void addMeasurement(const char* name, const char* className, int number, const char* unit,
                      const QStringList& more = {}) {
    QStringList fields{QString("name_=") + name, "locId=" + QString::number(number)};
    if (unit) fields += "RemoteUnitKey=" + key(unit);
    other.add(className, key(name), fields + more);
  }

  // Gives a row of the module's own another value, past all events.
  void set(CMDArray& array, const char* name, const char* field, const MDRVar& value) {
    MDRData* record = seekText(array, 0, key(name), module->moduleCodec);
    ASSERT_NE(record, nullptr);
    array.SetVal(record, field, value);
  }
  // A row that no node shows.
  MDRData* looseRow(CMDArray& array, const char* name, const QStringList& fields) {
    MDRData* record = MDARecNew(array.array);
    put(array, record, "KeyLink", key(name));
    for (const QString& each : fields) put(array, record, each.section('=', 0, 0).toLatin1(), each.section('=', 1));
    return array.RecPost(record);
  }

  Colleague other;
};

}  // namespace tlm::test
