#include "popCopyByTemlate.h"

#include "CTlmMeasConfig.h"
#include "DefaultNames.h"
#include "MeasClasses.h"
#include "PanelParts.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "ui_popCopyByTemlate.h"

#include <limits>

namespace {

constexpr int kOfferedRange = 999;  // from the first number to the last
constexpr int kNumberRoom = 11;     // characters: a blank and the longest number
constexpr int kNoLimit = 32767;     // of a line edit

// The most characters that may stand in front of the numbers: the server refuses a whole name that is too long.
int longestName(CTlmMeasConfig& module) {
  const MDRData* field = GetFldRec(&module.tblFields, &module.tblTables, QStringLiteral("IdentifiedObject"), "name_");
  const int whole =
      ParseParam(QStringLiteral("LEN"), fieldText(module.tblFields, field, "param", module.moduleCodec)).toInt();
  return whole > kNumberRoom ? whole - kNumberRoom : kNoLimit;
}

}  // namespace

CPopCopyByTemlate::CPopCopyByTemlate(QWidget* parent, CTlmMeasConfig* owner)
    : CPopTemplate(parent), ui(new Ui_CPopCopyByTemlate), module(owner) {
  ui->setupUi(this);
  preparePanel(this, ui->buttonBox);
  growWithText(ui->lEBegLocId);
  growWithText(ui->lEEndLocId);
  growWithText(ui->spinBox_step);
  growWithText(ui->spinBox_count);
  connect(ui->buttonBox, SIGNAL(accepted()), SLOT(On_Accept()));
  connect(ui->buttonBox, SIGNAL(rejected()), SLOT(On_Reject()));
  hide();
}

CPopCopyByTemlate::~CPopCopyByTemlate() { delete ui; }

void CPopCopyByTemlate::Init(QString className) {
  ui->lE_name->setMaxLength(longestName(*module));
  int free = 0;
  module->GetFreeLocId(free);
  if (free == 0) return;
  const int last =
      free > std::numeric_limits<int>::max() - kOfferedRange ? std::numeric_limits<int>::max() : free + kOfferedRange;
  ui->lEBegLocId->setText(QString::number(free));
  ui->lEEndLocId->setText(QString::number(last));
  const bool known = measClassByName(className, Qt::CaseInsensitive) != nullptr;
  ui->lE_name->setText(known ? defaultName(className) : QString());
}

void CPopCopyByTemlate::show() {
  moveToCenter();
  QWidget::show();
  raise();
  ui->lEBegLocId->setFocus();
  ui->lEBegLocId->selectAll();
}

void CPopCopyByTemlate::Clear() {}

// Closed before the answer goes out: what it leads to shall keep the keyboard.
void CPopCopyByTemlate::On_Accept() {
  name = ui->lE_name->text();
  copyFields = ui->checkBox_flds->isChecked();
  copyAggregated = ui->checkBox_agregData->isChecked();
  close();
  emit SignOK(ui->lEBegLocId->text(), ui->lEEndLocId->text(), ui->spinBox_step->value(), ui->spinBox_count->value(),
              name);
}

void CPopCopyByTemlate::On_Reject() {
  unitKey.clear();
  close();
}
