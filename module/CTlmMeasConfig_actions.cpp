#include "ActionTable.h"
#include "AddMenu.h"
#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "ui_TlmMeasConfig.h"

#include <QActionGroup>
#include <QApplication>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>
#include <QToolButton>

namespace {

QString textOf(const char* text) { return text ? QString::fromUtf8(text) : QString(); }

QIcon iconOf(const char* path) { return path ? QIcon(QString::fromLatin1(path)) : QIcon(); }

QKeySequence shortcutOf(const char* keys) {
  return keys ? QKeySequence(QString::fromLatin1(keys), QKeySequence::PortableText) : QKeySequence();
}

void makeAction(CTlmMeasConfig* module, const ActionRow& row) {
  auto* action = new QAction(iconOf(row.icon), textOf(row.text), module);
  action->setToolTip(textOf(row.toolTip));
  if (row.iconText) action->setIconText(textOf(row.iconText));
  action->setShortcut(shortcutOf(row.shortcut));
  action->setEnabled(row.enabled);
  if (row.group) (module->*row.group)->addAction(action);
  if (row.slot) QObject::connect(action, SIGNAL(triggered()), module, row.slot);
  module->*row.action = action;
}

void makeButton(CTlmMeasConfig* module, const ActionRow& row) {
  auto* button = new QToolButton(module);
  button->setIcon(iconOf(row.icon));
  button->setToolTip(textOf(row.toolTip));
  button->setShortcut(shortcutOf(row.shortcut));
  button->setEnabled(row.enabled);
  if (row.slot) QObject::connect(button, SIGNAL(clicked(bool)), module, row.slot);
  module->*row.button = button;
}

void makeRows(CTlmMeasConfig* module, const std::vector<ActionRow>& rows) {
  for (const ActionRow& row : rows)
    if (row.action)
      makeAction(module, row);
    else
      makeButton(module, row);
}

QActionGroup* makeGroup(CTlmMeasConfig* module, const char* slot) {
  auto* group = new QActionGroup(module);
  QObject::connect(group, SIGNAL(triggered(QAction*)), module, slot);
  return group;
}

template <class Bar>
void fillBar(CTlmMeasConfig* module, Bar* bar, const std::vector<MenuEntry>& entries,
             const std::function<void(const MenuEntry&)>& addOther) {
  for (const MenuEntry& entry : entries)
    if (entry.action)
      bar->addAction(module->*entry.action);
    else if (entry.submenu || entry.button)
      addOther(entry);
    else
      bar->addSeparator();
}

QMenu* makeMenu(CTlmMeasConfig* module, const QString& title, const std::vector<MenuEntry>& entries) {
  auto* menu = new QMenu(title, module);
  fillBar(module, menu, entries, [=](const MenuEntry& entry) { menu->addMenu(module->*entry.submenu); });
  return menu;
}

// The modifier that a key is; none for any other key.
Qt::KeyboardModifier modifierOf(int key) {
  if (key == Qt::Key_Control) return Qt::ControlModifier;
  if (key == Qt::Key_Shift) return Qt::ShiftModifier;
  return key == Qt::Key_Alt ? Qt::AltModifier : Qt::NoModifier;
}

QWidget* makeSpacer(QWidget* parent) {
  auto* spacer = new QWidget(parent);
  spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  return spacer;
}

QRadioButton* makeRadio(QGroupBox* box, const char* name, const char* text) {
  auto* radio = new QRadioButton(textOf(text), box);
  radio->setObjectName(QString::fromLatin1(name));
  box->layout()->addWidget(radio);
  return radio;
}

}  // namespace

void CTlmMeasConfig::SetActions() {
  addActGroup = makeGroup(this, SLOT(ExecAddActGroup(QAction*)));
  editActGroup = makeGroup(this, SLOT(ExecEditActGroup(QAction*)));
  makeRows(this, mainActions());

  addMenu = makeMenu(this, QStringLiteral("Добавить"), addMenuEntries());
  btnAdd->setMenu(addMenu);
  btnAdd->setPopupMode(QToolButton::MenuButtonPopup);

  // Two equal shortcuts would silence each other: the button listens for Ctrl+V, the action shows it only.
  pasteMenu = makeMenu(this, QStringLiteral("Вставить"), pasteMenuEntries());
  actPaste->setShortcutContext(Qt::WidgetShortcut);
  btnPaste->setMenu(pasteMenu);
  btnPaste->setPopupMode(QToolButton::MenuButtonPopup);
  connect(btnPaste, &QToolButton::clicked, actPaste, &QAction::trigger);
  connect(btnAdd, &QToolButton::clicked, this,
          [this] { addMenu->popup(btnAdd->mapToGlobal(btnAdd->rect().bottomLeft())); });
}

void CTlmMeasConfig::SetFindActions() {
  findActGroup = makeGroup(this, SLOT(ExecFindActGroup(QAction*)));
  makeRows(this, findActions());
}

void CTlmMeasConfig::FillToolBar() {
  SetActions();
  QToolBar* bar = ui->TlBar;
  bar->setToolButtonStyle(Qt::ToolButtonIconOnly);
  // The window's own menu over the bar would hide it for good.
  bar->setContextMenuPolicy(Qt::PreventContextMenu);
  fillBar(this, bar, toolBarEntries(), [=, this](const MenuEntry& entry) { bar->addWidget(this->*entry.button); });
  bar->addWidget(makeSpacer(bar));
  bar->addWidget(btnAbout);
}

void CTlmMeasConfig::FillToolBarFind() {
  lE_Find = new QLineEdit(toolBarFind);
  lE_Find->setObjectName(QStringLiteral("lE_Find"));
  lE_Find->setMinimumSize(250, 0);
  lE_Find->setMaximumSize(250, 16777215);

  groupBox = new QGroupBox(toolBarFind);
  groupBox->setObjectName(QStringLiteral("groupBox"));
  horizontalLayout = new QHBoxLayout(groupBox);
  horizontalLayout->setObjectName(QStringLiteral("horizontalLayout"));
  horizontalLayout->setSpacing(1);
  horizontalLayout->setContentsMargins(0, 0, 0, 0);
  radioButton_Name = makeRadio(groupBox, "radioButton_Name", "Поиск по наименованию");
  radioButton_KeyLink = makeRadio(groupBox, "radioButton_KeyLink", "Поиск по идентификатору");
  radioButton_LocID = makeRadio(groupBox, "radioButton_LocID", "Поиск по номеру");
  radioButton_Name->setChecked(true);

  toolBarFind->addWidget(lE_Find);
  toolBarFind->addAction(actFindPrev);
  toolBarFind->addAction(actFindNext);
  toolBarFind->addWidget(groupBox);
  toolBarFind->addWidget(makeSpacer(toolBarFind));
  toolBarFind->addAction(actFindClose);
}

void CTlmMeasConfig::CreateContextMenu() { contextMenu = makeMenu(this, QString(), contextMenuEntries()); }

void CTlmMeasConfig::SetVisibleAddActGroup(QActionGroup* group, bool visible) {
  for (QAction* action : group->actions()) action->setVisible(visible);
}

void CTlmMeasConfig::SetEnabledActions(bool analog, bool discrete, bool accumulator, bool string, bool rootFolder,
                                       bool folder, bool rtu) {
  actAddAnalog->setVisible(analog);
  actAddDiscrete->setVisible(discrete);
  actAddAccumulator->setVisible(accumulator);
  actAddString->setVisible(string);
  actAddRootFolder->setVisible(rootFolder);
  actAddFolder->setVisible(folder);
  actAddRTU->setVisible(rtu);
}

void CTlmMeasConfig::CheckSetEnabledActions() {
  const QModelIndex index = ui->tV_MeasConfig->currentIndex();
  AddFacts facts;
  facts.valid = index.isValid();
  if (facts.valid) {
    const myConfNode* node = nodeOf(index);
    if (!node) return;
    facts.isFolder = node->isFolder;
    facts.caption = node->text;
    facts.className = classOf(index);
  }
  const AddOffer offer = addOffer(facts);
  SetEnabledActions(offer.analog, offer.discrete, offer.accumulator, offer.string, offer.rootFolder, offer.folder,
                    offer.rtu);
}

void CTlmMeasConfig::AddDelEnable(bool on) {
  btnAdd->setEnabled(on);
  addMenu->setEnabled(on);
  actDel->setEnabled(on);
}

void CTlmMeasConfig::SaveCancelEnable(bool on) {
  actSave->setEnabled(on);
  actCancel->setEnabled(on);
  SetIsEdit(on);
  AddDelEnable(!on);
  actCut->setEnabled(!on);
  actCopy->setEnabled(!on);
  actFind->setEnabled(!on);
}

void CTlmMeasConfig::OnTV_keysModif(Qt::KeyboardModifiers modifiers) {
  if (modifiers) CheckEnabledCutCopy(modifiers);
}

// The passport follows the keys at their release, not while they are held down. With an edit pending the
// sheet stays as it is: filling it anew would throw the edit away on the screen.
void CTlmMeasConfig::keyReleaseEvent(QKeyEvent* event) {
  const QWidget* focused = QApplication::focusWidget();
  if (focused && focused->objectName() == QLatin1String("tV_MeasConfig")) {
    const int key = event->key();
    const bool pending = newObjectInPassport || passportEdited;
    if (key == Qt::Key_Delete)
      ExecActDel();
    else if (const Qt::KeyboardModifier released = modifierOf(key))
      CheckEnabledCutCopy(event->modifiers() & ~released);
    else if (key >= Qt::Key_Home && key <= Qt::Key_PageDown && !pending)
      UpdateTlmPassport(ui->tV_MeasConfig->currentIndex());
  }
  CTlmCliMod::keyReleaseEvent(event);
}

void CTlmMeasConfig::slotMeasContextMenuRequested(QPoint pos) {
  if (sender() != ui->tV_MeasConfig) return;
  const QModelIndex clicked = ui->tV_MeasConfig->indexAt(pos);
  const QModelIndex index = clicked.column() <= 1 ? clicked.sibling(clicked.row(), 0) : QModelIndex();
  showOperatorTools(index);
  contextMenu->popup(ui->tV_MeasConfig->mapToGlobal(pos));
}

// The operator's entries of the context menu, for the row's index in column 0 or an invalid one. Each holds the key of
// the row that it is offered for.
void CTlmMeasConfig::showOperatorTools(const QModelIndex& index) {
  const bool isMeasurement = index.isValid() && !numberOf(index).isEmpty();
  for (QAction* action : {actManual, actDubl, actRetro}) {
    action->setVisible(isMeasurement);
    if (isMeasurement) action->setEnabled(true);
  }
  const bool isDiscrete = isMeasurement && classOf(index) == QLatin1String("Discrete");
  const myConfNode* node = isDiscrete ? nodeOf(index) : nullptr;
  actRemoteControl->setVisible(isDiscrete);
  for (QAction* action : {actManual, actDubl, actRemoteControl, actRetro}) action->setData(keyOf(index));
  if (!isMeasurement || isDiscrete) actRemoteControl->setEnabled(node && node->checkTu);

  delete linkMenu;
  linkMenu = nullptr;
  if (isMeasurement) CreateLinkMenu(keyOf(index), contextMenu, this, SLOT(OnLinksAction()));
}
