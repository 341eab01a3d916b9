#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "SortKeeper.h"
#include "WorkWithData.h"
#include "popAddAgregData.h"
#include "popCopyByTemlate.h"
#include "popMessageBoxByTemplate.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliSes.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenu>
#include <QShortcut>
#include <QTextCodec>
#include <QToolBar>
#include <QToolButton>

namespace {

constexpr char kCodecName[] = "Windows-1251";
constexpr char kVersion[] = "2.1.0.20000";
constexpr char kBuildNumber[] = "20000";
constexpr int kHintPeriodMs = 3000;

constexpr int kPathBarHeight = 16;
constexpr int kFindBarHeight = 24;
constexpr int kSmallIcon = 16;
constexpr int kNameSectionSize = 600;

// The four rules of the path bar, in their order.
constexpr const char* kPathBarStyle[] = {
    "QToolBar::separator {image: url(:/BranchClose)}\r\n",
    "QToolBar::separator { width: 4px; min-height: 4px; max-height: 4px }",
    "QToolBar {border-width: 1px; border-style: solid; border-color: grey;}",
    "QToolBar { background-color: white }",
};

QString aboutText() {
  QString version = QString::fromLatin1(kVersion);
  version.truncate(version.lastIndexOf(QLatin1Char('.')));
  version += QLatin1Char('.') + QString::fromLatin1(kBuildNumber);
  return QStringLiteral("Модуль \"Измерения\" АРМ Тервин-5\r\n") + QStringLiteral("Номер версии  ") + version +
         QStringLiteral("\r\n");
}

}  // namespace

CTlmMeasConfig::CTlmMeasConfig(CTlmCliApp* app)
    : CTlmCliMod(app),
      ui(new Ui_TlmMeasConfig),
      popManualInput(nullptr),
      popRemoteControl(nullptr),
      popDublies(nullptr),
      linkMenu(nullptr),
      foundPos(-1),
      findFromStart(true),
      numfieldRTUKey(-1),
      columnsResized(false),
      treeWidth(0),
      propWidth(0),
      passport(false),
      liteModel(QTextCodec::codecForName(kCodecName)) {
  ui->setupUi(this);
  setModuleStyle();
  moduleCodec = QTextCodec::codecForName(kCodecName);
  FillToolBar();
  makePathBar();
  makeTree();
  makeFindBar();
  makeHeader();
  CreateContextMenu();
  ui->tV_MeasConfig->setContextMenuPolicy(Qt::CustomContextMenu);
  headerView->setContextMenuPolicy(Qt::CustomContextMenu);
  connectWindow();
  watchWidths();
  makeDialogs();
  connect(this, SIGNAL(resizePassp()), SLOT(OnResizePassp()), Qt::QueuedConnection);
  FindClear();
  connect(lE_Find, SIGNAL(textEdited(QString)), SLOT(onLeFindEdited(QString)));
  connect(lE_Find, SIGNAL(returnPressed()), SLOT(onLeRetPressed()));
}

CTlmMeasConfig::~CTlmMeasConfig() {
  measTimer.stop();
  qDeleteAll(widthWatches);
  // The view outlives the rows: a window that is hidden on its way out lays its rows out once more.
  ui->tV_MeasConfig->setModel(nullptr);
  delete ui;
}

void CTlmMeasConfig::makePathBar() {
  toolBarCfg = new QToolBar(this);
  toolBarCfg->setParent(ui->frame);
  toolBarCfg->setObjectName(QStringLiteral("toolBarCfg"));
  toolBarCfg->setIconSize(QSize(kSmallIcon, kSmallIcon));
  toolBarCfg->setGeometry(0, 1, ui->tV_MeasConfig->width(), kPathBarHeight);
  ui->verticalLayout_2->insertWidget(0, toolBarCfg);
  QString style;
  for (const char* rule : kPathBarStyle) style += QLatin1String(rule);
  toolBarCfg->setStyleSheet(style);
  addPathButton();
}

void CTlmMeasConfig::makeTree() {
  treeModel = new MeasConfTreeModel(this);
  treeModel->codec = moduleCodec;
  new SortKeeper(treeModel, ui->tV_MeasConfig);
  passport.SetEditable(true);
  passport.BindModelsTabWidg(ui->tabWidget_prop, nullptr);
  passport.SetStretchLastSection(ui->tV_Prop, false);
}

void CTlmMeasConfig::makeFindBar() {
  toolBarFind = new QToolBar(this);
  toolBarFind->setParent(ui->frame);
  toolBarFind->setToolButtonStyle(Qt::ToolButtonIconOnly);
  toolBarFind->setObjectName(QStringLiteral("toolBarFind"));
  toolBarFind->setIconSize(QSize(kSmallIcon, kSmallIcon));
  const int left = ui->tV_MeasConfig->height() + toolBarCfg->height() - kFindBarHeight;
  toolBarFind->setGeometry(left, 1, ui->tV_MeasConfig->width(), kFindBarHeight);
  ui->verticalLayout_2->addWidget(toolBarFind);
  SetFindActions();
  FillToolBarFind();
  auto* escape = new QShortcut(Qt::Key_Escape, toolBarFind);
  escape->setContext(Qt::WidgetWithChildrenShortcut);
  connect(escape, SIGNAL(activated()), SLOT(ExecFindClose()));
  toolBarFind->hide();
}

void CTlmMeasConfig::makeHeader() {
  headerView = new DropHeaderView(Qt::Horizontal, nullptr, this);
  headerView->setDefaultSectionSize(kNameSectionSize);
  ui->tV_MeasConfig->setHeader(headerView);
  headerView->setSectionsClickable(true);
  headerView->setSectionResizeMode(QHeaderView::Interactive);
  headerView->setSortIndicatorShown(true);
  // The tree is sorted by name upwards from the start, and the indicator says so.
  headerView->setSortIndicator(0, Qt::AscendingOrder);
  headerView->setAcceptDrops(true);
  headerView->setDropIndicatorShown(true);
}

void CTlmMeasConfig::connectWindow() {
  QTreeView* tree = ui->tV_MeasConfig;
  clipboard = QGuiApplication::clipboard();
  connect(tree, SIGNAL(customContextMenuRequested(QPoint)), SLOT(slotMeasContextMenuRequested(QPoint)));
  connect(headerView, SIGNAL(customContextMenuRequested(QPoint)), SLOT(slotMeasContextMenuRequested(QPoint)));
  connect(addMenu, SIGNAL(aboutToShow()), SLOT(CheckSetEnabledActions()));
  connect(tree, SIGNAL(expanded(QModelIndex)), SLOT(slotExpandedTVMeas(QModelIndex)));
  connect(tree, SIGNAL(collapsed(QModelIndex)), SLOT(slotCollapsedTVMeas(QModelIndex)));
  connect(treeModel, SIGNAL(setFocusRow(QModelIndex)), SLOT(OnSetFocusRow(QModelIndex)));
  connect(&passport, SIGNAL(TlmPasspChanged()), SLOT(onPasspChanged()));
  connect(&passport, SIGNAL(TlmPasspMessage(QString)), SLOT(onSignMessage(QString)));
  connect(&passport, SIGNAL(SelectValuesVisible(QString, QString, QString, QString, QString)),
          SLOT(onSelectValuesVisible(QString, QString, QString, QString, QString)));
  connect(&passport, SIGNAL(SelectValuesClosed()), SLOT(onSelectValuesClosed()));
  connect(ui->splitter, SIGNAL(splitterMoved(int, int)), SLOT(onSplitterMoved(int, int)));
  connect(tree, SIGNAL(pressed(QModelIndex)), SLOT(OnTV_Clicked(QModelIndex)));
  connect(tree, &QTreeView::clicked, this, &CTlmMeasConfig::bringSheetBack);
  connect(actSave, SIGNAL(triggered()), SLOT(onActSave_Triggered()));
  connect(actCancel, SIGNAL(triggered()), SLOT(onActCancel_Triggered()));
  connect(clipboard, SIGNAL(dataChanged()), SLOT(onDataChanged_clipboard()));
  connect(tree, SIGNAL(keysModif(Qt::KeyboardModifiers)), SLOT(OnTV_keysModif(Qt::KeyboardModifiers)));
}

void CTlmMeasConfig::makeDialogs() {
  popAddAgregData = new CPopAddAgregData(this, this);
  popCopyByTemlate = new CPopCopyByTemlate(this, this);
  popMessageBoxByTemplate = new CPopMessageBoxByTemplate(this);
  popAddAgregData->moduleCodec = moduleCodec;
  popCopyByTemlate->moduleCodec = moduleCodec;
  popMessageBoxByTemplate->moduleCodec = moduleCodec;
  connect(popAddAgregData, SIGNAL(SignOK(QStringList)), SLOT(OnAddAgregData_SignOK(QStringList)));
  connect(popAddAgregData, SIGNAL(SignOKEmpty()), SLOT(OnAddAgregData_SignOKEmpty()));
  connect(popCopyByTemlate, SIGNAL(SignOK(QString, QString, int, int, QString)),
          SLOT(OnCopyByTemplate_SignOK(QString, QString, int, int, QString)));
  connect(popMessageBoxByTemplate, SIGNAL(SignOK()), SLOT(OnMessageBoxByTemplate_SignOK()));
}

int CTlmMeasConfig::ModuleStart() {
  title = QStringLiteral("Конфигуратор телеметрии");
  SetModTitle(title, QString());
  PrepareSubEvent(false);
  loadMdxTables();
  GetStructTables();
  FillTableStructures();
  FillClassesEnabledAgreg();
  passport.FillCMDArray(session(), QStringLiteral("Calculations"));
  passport.FillCMDArray(session(), QStringLiteral("Terminal"));
  numfieldRTUKey = GetPosFieldAtCMDArray(&strMeasurement, QStringLiteral("RemoteUnitKey"));
  if (numfieldRTUKey == -1) qDebug("ModuleStart(): numfieldRTUKey == -1!!!");
  showTree();
  if (treeWidth && (!columnsResized || columnsAwaitModel)) resizeColumns(treeWidth, propWidth);
  pendingTelecontrol.clear();
  ownMoves.clear();
  fieldNamesKeyRefs =
      QStringList{QStringLiteral("remoteunitkey"), QStringLiteral("RemoteUnitFolderKey"), QStringLiteral("ParentKey")};
  connect(&measTimer, SIGNAL(timeout()), SLOT(onTimerMeasEvent()), Qt::UniqueConnection);
  measTimer.start(kHintPeriodMs);
  return 1;
}

// Builds the tree down to the units and selects its first row. The selection is connected only after the
// loading, which must not fire it.
void CTlmMeasConfig::showTree() {
  QTreeView* tree = ui->tV_MeasConfig;
  QItemSelectionModel* before = tree->selectionModel();
  tree->setModel(nullptr);
  delete before;  // it would keep indexes of the tree that goes
  treeModel->setRootNode(InitTreeRTU(this));
  myConfNode* root = treeModel->GetRootNode();
  if (root) treeModel->started = root->isExpanded = true;

  tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
  tree->setSelectionBehavior(QAbstractItemView::SelectItems);
  tree->setSortingEnabled(true);
  tree->setModel(treeModel);
  treeModel->sort(0, Qt::AscendingOrder);

  if (root && !root->children.empty()) {
    const QModelIndex last = treeModel->index(static_cast<int>(root->children.size()) - 1, 0);
    if (!keyOf(last).isEmpty()) AddMeasForRTU(last, QString(), false, QString());
  }
  connect(tree->selectionModel(), SIGNAL(selectionChanged(QItemSelection, QItemSelection)),
          SLOT(OnTV_selectionChanged(QItemSelection, QItemSelection)));
  tree->setCurrentIndex(treeModel->index(0, 0));
  tree->setDragEnabled(true);
  tree->setAcceptDrops(true);
  tree->setDropIndicatorShown(true);
}

int CTlmMeasConfig::MessageOn() { return MessageGet(); }

int CTlmMeasConfig::SetParamCommand(QString) { return 0; }

int CTlmMeasConfig::SetParamProfile(QString) { return 0; }

QString CTlmMeasConfig::GetParamProfile() { return GetParamState(); }

// The host's idle and reconnection calls ask nothing of this module: the session resubscribes by itself.
void CTlmMeasConfig::AppIdleEvent() {}
void CTlmMeasConfig::ModSesReconnect() {}
void CTlmMeasConfig::ModDataEditPost() {}
void CTlmMeasConfig::ModDataEditCancel() {}

void CTlmMeasConfig::PrepareSubEvent(bool full) {
  static constexpr int kKinds[] = {601, 602, 603, 902, 903, 904};
  if (abo) abo->SubEvent(kKinds, full ? 6 : 3);
}

void CTlmMeasConfig::PrepareSubParam(int id) {
  if (!abo) return;
  if (id < 1)
    abo->SubParam(nullptr, 0);
  else
    abo->SubParam(&id, 1);
}

CTlmCliSes* CTlmMeasConfig::session() const { return sessionOf(abo); }

void CTlmMeasConfig::onTimerMeasEvent() {
  if (!session() || passport.currentKey.isEmpty()) return;
  char* text = nullptr;
  GetValue(session(), passport.currentKey, text);
  passport.SetValue(passport.currentKey, text);
  delete[] text;
}

void CTlmMeasConfig::ExecAboutProg(bool) {
  showBox(QStringLiteral("О программе"), aboutText(), kBoxInformation, kBoxOk);
}

void CTlmMeasConfig::showBox(const QString& boxTitle, const QString& text, TMessageBoxIcon icon, TMessageBoxType type,
                             const char* slot) {
  CPopMessageBox* box = PopMessageBoxCreate();
  box->setMessage(boxTitle, text, icon, type, slot ? slot : SLOT(slot_popMessageBoxClicked(QAbstractButton*)));
  box->moveToCenter();
  box->show();
}
