// The window's actions and tool buttons as a table: one row for each, in the order in which they are made.
#ifndef TLMMEAS_ACTIONTABLE_H
#define TLMMEAS_ACTIONTABLE_H

#include <CTlmMeasConfig.h>

#include <vector>

// `text` is the label and, unless `toolTip` says otherwise, the tool tip. Texts are UTF-8; null where there is
// none. A row makes an action or a tool button. A slot takes triggered() of an action, clicked(bool) of a button.
struct ActionRow {
  QAction* CTlmMeasConfig::*action;
  QToolButton* CTlmMeasConfig::*button;
  const char* text;
  const char* toolTip;
  const char* iconText;
  const char* icon;
  const char* shortcut;
  bool enabled;
  QActionGroup* CTlmMeasConfig::*group;
  const char* slot;
};

const std::vector<ActionRow>& mainActions();
const std::vector<ActionRow>& findActions();

// A menu or a tool bar as a list of entries: an action, a submenu, a widget button, or a separator (all null).
struct MenuEntry {
  QAction* CTlmMeasConfig::*action = nullptr;
  QMenu* CTlmMeasConfig::*submenu = nullptr;
  QToolButton* CTlmMeasConfig::*button = nullptr;
};

const std::vector<MenuEntry>& addMenuEntries();
const std::vector<MenuEntry>& pasteMenuEntries();
const std::vector<MenuEntry>& contextMenuEntries();
const std::vector<MenuEntry>& toolBarEntries();

#endif
