#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/CStringParams.h>

#include <QFileInfo>
#include <QLibrary>
#include <QMenu>
#include <QResizeEvent>
#include <QScrollBar>
#include <QToolBar>
#include <QToolButton>

#include <functional>

namespace {

constexpr int kPathEntryWidth = 200;
constexpr int kDialogGapX = 20;
constexpr int kDialogGapY = 80;
constexpr int kDialogTop = 30;
const QLatin1Char kStateSeparator(',');

struct PathEntry {
  QString text;
  QString key;
};

// A name as an action's text: an ampersand in it is no mnemonic.
QString literalText(QString name) { return name.replace(QLatin1Char('&'), QLatin1String("&&")); }

// The ancestors of a row that have a key, the nearest first.
QList<PathEntry> pathOf(const QModelIndex& index) {
  QList<PathEntry> path;
  for (QModelIndex above = index.parent(); above.isValid(); above = above.parent()) {
    const QString key = keyOf(above);
    if (!key.isEmpty()) path.append({above.sibling(above.row(), 0).data().toString(), key});
  }
  return path;
}

QStringList fingerprint(const QList<PathEntry>& path) {
  QStringList texts;
  texts.reserve(2 * path.size());
  for (const PathEntry& entry : path) texts << entry.text << entry.key;
  return texts;
}

// Tells of each new size of a widget. Before the first look at a window its parts are sized after the window.
class SizeWatch : public QObject {
 public:
  SizeWatch(QWidget* watched, std::function<void()> onResize) : QObject(watched), onResize_(std::move(onResize)) {
    watched->installEventFilter(this);
  }

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Resize) onResize_();
    return false;
  }

 private:
  std::function<void()> onResize_;
};

}  // namespace

// A view that grew in height alone, as when the search bar comes and goes, keeps the columns that the engineer set.
void CTlmMeasConfig::watchWidths() {
  const auto fit = [this] {
    if (ui->tV_MeasConfig->width() != treeWidth || ui->tV_Prop->width() != propWidth) fitColumns();
  };
  for (QWidget* view : {static_cast<QWidget*>(ui->tV_MeasConfig), static_cast<QWidget*>(ui->tV_Prop)})
    widthWatches += new SizeWatch(view, fit);
}

QString CTlmMeasConfig::stateModule() const {
  if (!library) return QString();
  CStringParams params;
  const QFileInfo file(library->fileName());
  params.setValue(QStringLiteral("cpp_mod"), QStringLiteral("%1.%2").arg(file.baseName(), instance));
  params.setValue(QStringLiteral("splitter"), QString::fromLatin1(ui->splitter->saveState().toBase64()));
  return params.getParams(kStateSeparator);
}

bool CTlmMeasConfig::setStateModule(const QString& text) {
  CStringParams params;
  params.setParams(text, kStateSeparator);
  QStringList keys;
  params.getKeys(keys);
  bool found = false;
  for (const QString& key : keys) {
    const QString value = params.getValue(key, QString());
    if (key.compare(QLatin1String("splitter"), Qt::CaseInsensitive) != 0) continue;
    ui->splitter->restoreState(QByteArray::fromBase64(value.toUtf8()));
    found = true;
  }
  return found;
}

int CTlmMeasConfig::SetParamState(QString text) { return setStateModule(text) ? 1 : 0; }

QString CTlmMeasConfig::GetParamState() { return stateModule(); }

void CTlmMeasConfig::resizeColumns(int treeW, int propW) {
  if (treeW == 0) return;
  const int margin = treeW < 30 ? 0 : 4;
  QHeaderView* header = ui->tV_MeasConfig->header();
  columnsAwaitModel = header->count() == 0;
  header->resizeSection(0, (treeW / 6 - margin) * 5);
  header->resizeSection(1, treeW / 6 - margin);
  if (propW != 0) resizePropColumns(propW);
  columnsResized = true;
}

void CTlmMeasConfig::resizePropColumns(int propW) {
  const QScrollBar* bar = ui->tV_Prop->verticalScrollBar();
  const int width = bar->isVisible() ? propW - bar->width() : propW;
  const int section = width / 2 - (width >= 4 ? 1 : 0);
  ui->tV_Prop->header()->resizeSection(0, section);
  ui->tV_Prop->header()->resizeSection(1, section);
}

void CTlmMeasConfig::fitColumns() {
  const int width = ui->tV_MeasConfig->width();
  if (width == 0) return;
  treeWidth = width;
  propWidth = ui->tV_Prop->width();
  resizeColumns(treeWidth, propWidth);
}

void CTlmMeasConfig::onSplitterMoved(int, int) { fitColumns(); }

void CTlmMeasConfig::resizeEvent(QResizeEvent* event) {
  fitColumns();
  QWidget::resizeEvent(event);
}

void CTlmMeasConfig::OnResizePassp() {
  if (propWidth != 0) resizePropColumns(propWidth);
}

QPointF CTlmMeasConfig::calcDialogPos(QPointF global, QSizeF dialog, QSize area) {
  const QPoint local = mapFromGlobal(global.toPoint());
  int x = local.x();
  int y = local.y();
  const qreal left = x - dialog.width() - kDialogGapX;
  if (left > 0) x = static_cast<int>(left);
  if (y + dialog.height() > area.height() - kDialogGapY)
    y = static_cast<int>(area.height() - dialog.height() - kDialogGapY);
  if (y < kDialogTop) y = kDialogTop;
  return QPointF(x, y);
}

int CTlmMeasConfig::CheckCurrentWight(int curWight, int count) {
  const int wanted = count * kPathEntryWidth;
  return wanted <= curWight ? 0 : (wanted - curWight) / kPathEntryWidth + 1;
}

// An entry may be the sender of the signal that led here, so nothing goes before the signal has returned.
void CTlmMeasConfig::clearPathBar() {
  QList<QAction*> actions = toolBarCfg->actions();
  const auto* button =
      actions.isEmpty() ? nullptr : qobject_cast<QToolButton*>(toolBarCfg->widgetForAction(actions[0]));
  if (button && button->menu()) actions += button->menu()->actions();
  toolBarCfg->clear();
  for (QAction* action : actions) action->deleteLater();
}

QToolButton* CTlmMeasConfig::addPathButton() {
  auto* button = new QToolButton(toolBarCfg);
  button->setIcon(QIcon(QStringLiteral(":/OpenFolder")));
  toolBarCfg->addWidget(button);
  return button;
}

void CTlmMeasConfig::ChangeToolBarCfg() {
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  if (!current.isValid()) return;
  clearPathBar();
  QToolButton* button = addPathButton();
  auto* menu = new QMenu(button);

  const QList<PathEntry> path = pathOf(current);
  shownPath = fingerprint(path);
  const int count = path.size();
  if (count == 0) return;
  const int overflow = CheckCurrentWight(toolBarCfg->width(), count);
  for (int i = count - 1; i >= 0; --i) {
    auto* action = new QAction(literalText(path[i].text), toolBarCfg);
    action->setData(path[i].key);
    connect(action, SIGNAL(triggered()), SLOT(ExecTlBarCfgAction()));
    if (count - 1 - i < overflow) {
      menu->addAction(action);
      continue;
    }
    toolBarCfg->addAction(action);
    if (i != 0) toolBarCfg->addSeparator();
  }
  if (menu->actions().isEmpty()) return;
  button->setMenu(menu);
  button->setPopupMode(QToolButton::MenuButtonPopup);
}

// What stands above the selected row can get another name or another place while the row stays selected.
void CTlmMeasConfig::followPath() {
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  if (!current.isValid() || fingerprint(pathOf(current)) == shownPath) return;
  if (selectedRows().size() == 1) ChangeToolBarCfg();
}

void CTlmMeasConfig::ExecTlBarCfgAction() {
  const auto* action = qobject_cast<QAction*>(sender());
  if (!action) return;
  QModelIndex index;
  if (!FindKeyLink(action->data().toString(), index)) return;
  // Opening what is above the row may sort its level. The row can be that of the unit, not of the key itself.
  const QString key = keyOf(index);
  ui->tV_MeasConfig->scrollTo(index);
  ui->tV_MeasConfig->setCurrentIndex(treeModel->findByKey(key));
}
