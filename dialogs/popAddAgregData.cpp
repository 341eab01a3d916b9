#include "popAddAgregData.h"

#include "CTlmMeasConfig.h"
#include "PanelParts.h"
#include "RecordAccess.h"
#include "StringListModel.h"
#include "WorkWithData.h"
#include "ui_popAddAgregData.h"

#include <QItemSelectionModel>

namespace {

bool isAggregated(const CMDArray& groups, const MDRData* group) {
  MDRVar flag{};
  groups.GetVal(group, "aggregatedData", flag);
  return hasValue(flag) && flag.flag != 0;
}

}  // namespace

CPopAddAgregData::CPopAddAgregData(QWidget* parent, CTlmMeasConfig* owner)
    : CPopTemplate(parent), ui(new Ui_CPopAddAgregData), module(owner) {
  ui->setupUi(this);
  preparePanel(this, ui->buttonBox);
  connect(ui->buttonBox, SIGNAL(accepted()), SLOT(On_Accept()));
  connect(ui->buttonBox, SIGNAL(rejected()), SLOT(On_Reject()));
  hide();
}

CPopAddAgregData::~CPopAddAgregData() { delete ui; }

void CPopAddAgregData::Init(QString className, QString caption, bool* hasTypes) {
  Clear();
  QList<MDRData*> rows;
  CMDArray& groups = module->tblArchGroup;
  for (int i = 0; i < MDARecCount(groups.array); ++i) {
    MDRData* group = MDARec(groups.array, 0, i);
    const QString kind = isAggregated(groups, group) ? classOfArchGroup(groups, group, module->tblArchives) : QString();
    if (!kind.isEmpty() && kind.compare(className, Qt::CaseInsensitive) == 0) rows.append(group);
  }
  if (hasTypes) *hasTypes = !rows.isEmpty();
  listModel = new StringListModel(rows, &groups, this);
  ui->listView->setModel(listModel);
  connect(ui->listView->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] { showSuffix(); });
  ui->label_nameSrc->setText(caption);
  ui->label_nameSrc->setToolTip(caption.toHtmlEscaped());  // a word longer than the panel is cut at its edge
}

// What the name of the child of that group ends with.
void CPopAddAgregData::showSuffix() {
  const auto* group = static_cast<const MDRData*>(ui->listView->currentIndex().data(Qt::UserRole).value<void*>());
  ui->lE_->setText(group ? fieldText(module->tblArchGroup, group, "aggregatedName", module->moduleCodec).trimmed()
                         : QString());
}

void CPopAddAgregData::show() {
  moveToCenter();
  shown = true;
  QWidget::show();
  raise();
  ui->listView->setCurrentIndex(listModel ? listModel->index(0) : QModelIndex());
  ui->listView->setFocus();
}

void CPopAddAgregData::Clear() {
  delete listModel;
  listModel = nullptr;
  ui->label_nameSrc->clear();
  ui->lE_->clear();
}

// Closed before the answer goes out: a message that it leads to shall keep the keyboard.
void CPopAddAgregData::On_Accept() {
  shown = false;
  close();
  if (!listModel) return;
  const QStringList ticked = listModel->checkedKeys;
  if (ticked.isEmpty())
    emit SignOKEmpty();
  else
    emit SignOK(ticked);
}

void CPopAddAgregData::On_Reject() {
  shown = false;
  primaryKey.clear();
  close();
}
