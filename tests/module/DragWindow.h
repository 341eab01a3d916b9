// A window whose rows are dragged by the mouse.
#ifndef TLMTEST_DRAGWINDOW_H
#define TLMTEST_DRAGWINDOW_H

#include <QProxyStyle>
#include <QStyleOption>

#include "Colleague.h"
#include "ModuleWindow.h"
#include "TreeChecks.h"
#include "tools/tour/DragMouse.h"

namespace tlm::test {

// A style that notes where the drop indicator was painted last.
class IndicatorWatch : public QProxyStyle {
 public:
  IndicatorWatch() : QProxyStyle("fusion") {}
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    if (element == PE_IndicatorItemViewItemDrop) indicator = option->rect;
    QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
  mutable QRect indicator;
};

inline constexpr char kDragModel[] = R"(folder Север
  folder ОРУ-110
    unit КП-1
      analog 1001 P Т-1
      analog 1003 Q Т-1
      discrete 1004 Q-110
    unit КП-2
      analog 1101 I Т-2
  unit КП-3
folder Юг
unit КП-4
  accumulator 1201 Wp
)";

class DragWindow : public ModuleWindow {
 protected:
  DragWindow() : ModuleWindow(kDragModel), watch_(new IndicatorWatch) { QApplication::setStyle(watch_); }
  ~DragWindow() override { QApplication::setStyle("fusion"); }

  // With the folders open.
  void startOpen() {
    module->resize(900, 600);
    start();
    for (const char* name : {"Север", "ОРУ-110"}) tree()->expand(find(name));
    module->resizeColumns(400, 300);
    settle();
  }
  void open(const char* unit) {
    tree()->expand(find(unit));
    const QModelIndex row = find(unit);
    for (int i = 0; i < module->treeModel->rowCount(row); ++i) tree()->expand(module->treeModel->index(i, 0, row));
    settle();
  }
  // Where the drop indicator stands now.
  QRect indicator() {
    watch_->indicator = QRect();
    tree()->viewport()->repaint();
    return watch_->indicator;
  }
  QRect rectOf(const QModelIndex& row) { return tree()->visualRect(row); }
  // Among what the tree holds; without a name the invalid index.
  QModelIndex rowOf(const char* name) { return name ? module->treeModel->findByKey(key(name)) : QModelIndex(); }
  bool movedTo(const char* name, const char* parent) {
    return processUntil([&] { return rowOf(name).parent() == rowOf(parent); });
  }

  IndicatorWatch* watch_;
  DragMouse mouse{tree()};
};

}  // namespace tlm::test

#endif
