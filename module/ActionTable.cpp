#include "ActionTable.h"

namespace {

using Config = CTlmMeasConfig;

ActionRow button(QToolButton* Config::*member, const char* toolTip, const char* icon, const char* shortcut,
                 bool enabled, const char* slot) {
  return {nullptr, member, nullptr, toolTip, nullptr, icon, shortcut, enabled, nullptr, slot};
}

ActionRow single(QAction* Config::*member, const char* text, const char* icon, const char* shortcut, bool enabled,
                 const char* slot) {
  return {member, nullptr, text, text, nullptr, icon, shortcut, enabled, nullptr, slot};
}

ActionRow grouped(QAction* Config::*member, const char* text, const char* icon, const char* shortcut,
                  QActionGroup* Config::*group) {
  return {member, nullptr, text, text, nullptr, icon, shortcut, true, group, nullptr};
}

ActionRow operatorTool(QAction* Config::*member, const char* text, const char* iconText, const char* slot) {
  return {member, nullptr, text, text, iconText, nullptr, nullptr, false, nullptr, slot};
}

ActionRow search(QAction* Config::*member, const char* toolTip, const char* icon, QActionGroup* Config::*group,
                 const char* slot) {
  return {member, nullptr, nullptr, toolTip, nullptr, icon, nullptr, true, group, slot};
}

}  // namespace

const std::vector<ActionRow>& mainActions() {
  // Save and Cancel are connected with the other signals of the window.
  static const std::vector<ActionRow> rows = {
      button(&Config::btnAdd, "Добавить", ":/Add", nullptr, true, nullptr),
      single(&Config::actDel, "Удалить", ":/Del", nullptr, true, SLOT(ExecActDel())),
      single(&Config::actAgregData, "Агрегированные данные", ":/AgregData", nullptr, false, SLOT(ExecActAgregData())),
      grouped(&Config::actAddRootFolder, "Корневую папку", ":/ClosedFolder", nullptr, &Config::addActGroup),
      grouped(&Config::actAddFolder, "Папку", ":/ClosedFolder", nullptr, &Config::addActGroup),
      grouped(&Config::actAddAnalog, "Аналоговое измерение", ":/Analog", nullptr, &Config::addActGroup),
      grouped(&Config::actAddDiscrete, "Дискретный сигнал", ":/Discrete", nullptr, &Config::addActGroup),
      grouped(&Config::actAddString, "Строковую величину", ":/String", nullptr, &Config::addActGroup),
      grouped(&Config::actAddAccumulator, "Счетчик", ":/Accumulator", nullptr, &Config::addActGroup),
      grouped(&Config::actAddRTU, "Устройство", ":/RTU_meas", nullptr, &Config::addActGroup),
      single(&Config::actSave, "Сохранить изменения (CTRL+S)", ":/Post", "Ctrl+S", false, nullptr),
      single(&Config::actCancel, "Отменить изменения", ":/Cancel", nullptr, false, nullptr),
      button(&Config::btnAbout, "О программе", ":/Info", nullptr, true, SLOT(ExecAboutProg(bool))),
      grouped(&Config::actCut, "Вырезать (CTRL+X)", ":/Cut", "Ctrl+X", &Config::editActGroup),
      grouped(&Config::actCopy, "Копировать (CTRL+C)", ":/Copy", "Ctrl+C", &Config::editActGroup),
      button(&Config::btnPaste, "Вставить (CTRL+V)", ":/Paste", "Ctrl+V", false, nullptr),
      grouped(&Config::actPaste, "Вставить (CTRL+V)", ":/Paste", "Ctrl+V", &Config::editActGroup),
      grouped(&Config::actPasteNoAgreg, "Вставить без агрегированных данных", nullptr, nullptr, &Config::editActGroup),
      grouped(&Config::actCopyTemplate, "Копировать по шаблону", ":/Specialpaste", nullptr, &Config::editActGroup),
      grouped(&Config::actFind, "Найти...  (CTRL+F)", ":/Find", "Ctrl+F", &Config::editActGroup),
      operatorTool(&Config::actManual, "Ручной ввод...", "Ручной ввод", SLOT(OnSetManuslAction())),
      operatorTool(&Config::actDubl, "Дубли...", "Дубли", SLOT(OnSetDublieslAction())),
      operatorTool(&Config::actRemoteControl, "Телеуправление", "Дубли", SLOT(OnRemoteControl())),
      operatorTool(&Config::actRetro, "Показать ретроспективу", "Показать ретроспективу", SLOT(OnShowRetroAction())),
  };
  return rows;
}

const std::vector<ActionRow>& findActions() {
  static const std::vector<ActionRow> rows = {
      search(&Config::actFindPrev, "Найти предыдущее", ":/Prev", &Config::findActGroup, nullptr),
      search(&Config::actFindNext, "Найти следующее", ":/Next", &Config::findActGroup, nullptr),
      search(&Config::actFindClose, "Закрыть", ":/Close", nullptr, SLOT(ExecFindClose())),
  };
  return rows;
}

const std::vector<MenuEntry>& addMenuEntries() {
  static const std::vector<MenuEntry> entries = {
      {&Config::actAddRootFolder},  {&Config::actAddFolder}, {},
      {&Config::actAddRTU},         {&Config::actAddAnalog}, {&Config::actAddDiscrete},
      {&Config::actAddAccumulator}, {&Config::actAddString},
  };
  return entries;
}

const std::vector<MenuEntry>& pasteMenuEntries() {
  static const std::vector<MenuEntry> entries = {{&Config::actPaste}, {&Config::actPasteNoAgreg}};
  return entries;
}

const std::vector<MenuEntry>& contextMenuEntries() {
  static const std::vector<MenuEntry> entries = {
      {nullptr, &Config::addMenu},
      {&Config::actDel},
      {&Config::actAgregData},
      {},
      {&Config::actSave},
      {&Config::actCancel},
      {},
      {&Config::actCut},
      {&Config::actCopy},
      {nullptr, &Config::pasteMenu},
      {&Config::actCopyTemplate},
      {},
      {&Config::actFind},
      {},
      {&Config::actManual},
      {&Config::actDubl},
      {&Config::actRemoteControl},
      {&Config::actRetro},
  };
  return entries;
}

const std::vector<MenuEntry>& toolBarEntries() {
  static const std::vector<MenuEntry> entries = {
      {nullptr, nullptr, &Config::btnAdd},
      {&Config::actDel},
      {&Config::actAgregData},
      {},
      {&Config::actSave},
      {&Config::actCancel},
      {},
      {&Config::actCut},
      {&Config::actCopy},
      {nullptr, nullptr, &Config::btnPaste},
      {&Config::actCopyTemplate},
      {&Config::actFind},
  };
  return entries;
}
