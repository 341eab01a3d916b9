// Two windows that paste; whatever a test did, in the end both must show what the server holds.
#pragma once

#include "PasteWindow.h"
#include "TreeChecks.h"

namespace tlm::test {

class Paste : public PasteWindow {
 protected:
  // Both windows, all levels in the order of names.
  void expectBothShow(const char* expected) {
    sortBoth();
    EXPECT_EQ(shownHere(), picture(expected));
    EXPECT_EQ(shownThere(), picture(expected));
  }
  // Nothing dangles, nothing stands twice, and the windows hold what the server holds.
  void TearDown() override {
    if (!server.core()) return;
    const RowTexts rows = serverRows(*server.core());
    for (CTlmMeasConfig* window : {module.get(), static_cast<CTlmMeasConfig*>(other.get())}) {
      if (!window->treeModel->GetRootNode() || window->treeModel->rowCount() == 0) continue;
      EXPECT_EQ(treeFaults(*window, {}), QStringList());
      QStringList faults = arrayFaults(*window, moduleRows(*window), rows);
      // A measurement without a unit that is new is shown after the next start.
      faults.erase(std::remove_if(faults.begin(), faults.end(),
                                  [](const QString& each) { return each.contains("RemoteUnitKey=;"); }),
                   faults.end());
      EXPECT_EQ(faults, QStringList());
    }
    EXPECT_FALSE(onServer().contains("(оторвано)")) << onServer().toStdString();
  }
  int calls(const QString& call) { return int(app.log.filter(QRegExp("^" + QRegExp::escape(call))).size()); }
};

inline constexpr char kTreeBefore[] = R"(
    Север
      Север-110
        КП-1
          Аналоговые измерения
            1001 P
              1002 P макс
            1003 Q
          Дискретные сигналы
            1004 Выключатель
          Строковые величины
            1005 Режим
          Счетчики
            1006 Wp
      КП-2
        Аналоговые измерения
          2001 U
    Юг
    (Устройство по умолчанию)
      Аналоговые измерения
        4001 Сам по себе
    КП-3
      Аналоговые измерения
        3001 I
)";

inline constexpr char kServerBefore[] = R"(
    4001 Сам по себе
    КП-3
      3001 I
    Север
      КП-2
        2001 U
      Север-110
        КП-1
          1001 P
          1002 P макс < 1001
          1003 Q
          1004 Выключатель
          1005 Режим
          1006 Wp
    Юг
)";

}  // namespace tlm::test
