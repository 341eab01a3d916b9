#include "CTlmMeasConfig.h"
#include "CToolMeasParamsConf.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/CPopManualInput.h>
#include <TlmClient/CPopRemoteControl.h>
#include <TlmClient/TlmDublies.h>

#include <QAction>

namespace {

enum ConditionKind { kForValue = 1, kForDuplicates = 2 };

// Whether a property of a measurement is switched off. One that is null, or not there, is not.
bool isOff(const CMDArray& records, const MDRData* record, const char* field) {
  MDRVar value{};
  records.GetVal(record, field, value);
  return hasValue(value) && value.type == MDX_BOOL && value.flag == 0;
}

// The doubled blank before the properties of duplicates is the text's own.
QString missingSystem(const QString& systemEnd, const QString& work, const QString& properties) {
  return QStringLiteral("Для данного измерения не задействована система ") + systemEnd +
         QStringLiteral(" Для корректной работы системы ") + work +
         QStringLiteral(" у измерения должны быть включены свойства : ") + properties;
}

QString missingArchive(bool archOff) {
  if (!archOff) return QString();
  return missingSystem(QStringLiteral("архивирования."), QStringLiteral("архивирования"),
                       QStringLiteral("Архивирование"));
}

QString missingDuplicates(bool archOff, bool dublOff) {
  if (!archOff && !dublOff) return QString();
  const QString properties = !archOff   ? QStringLiteral("Использование дублирования")
                             : !dublOff ? QStringLiteral("Архивирование")
                                        : QStringLiteral("Использование дублирования и Архивирование");
  return missingSystem(QStringLiteral("дублирования."), QStringLiteral("дублирования "), properties);
}

// Hiding and showing again brings a panel to the front; its refreshing goes on if it was going on.
template <class Panel>
void showAgain(Panel* panel) {
  const bool refreshing = panel->refreshTimer.isActive();
  panel->hide();
  panel->show();
  if (refreshing) panel->refreshTimer.start();
}

void refuse(CTlmMeasConfig* module, const QString& message) {
  CPopMessageBox* box = module->PopMessageBoxCreate();
  box->setMessage(CTlmMeasConfig::tr("Ошибка"), message, kBoxError, kBoxOk,
                  SLOT(slot_popMessageBoxClicked(QAbstractButton*)));
  box->show();
}

// While a menu is open the row that it was opened on may go, and another become the current one.
bool isOfferedForAnother(const QObject* sender, const QString& key) {
  const auto* const action = qobject_cast<const QAction*>(sender);
  const QString offered = action ? action->data().toString() : QString();
  return !offered.isEmpty() && offered != key;
}

// The key of the current row, when a tool of that kind may open for it; what forbids it is shown.
QString keyForTool(CTlmMeasConfig* module, const QObject* sender, int kind) {
  const QModelIndex index = module->ui->tV_MeasConfig->currentIndex();
  if (!index.isValid()) return QString();
  const QString key = keyOf(index);
  if (key.isEmpty() || !module->session() || isOfferedForAnother(sender, key)) return QString();
  QString message;
  if (!module->CheckConditions(key, message, kind)) return key;
  refuse(module, message);
  return QString();
}

int currentNumber(const CTlmMeasConfig* module) { return numberOf(module->ui->tV_MeasConfig->currentIndex()).toInt(); }

}  // namespace

bool CTlmMeasConfig::CheckConditions(QString key, QString& message, int kind) {
  if (key.isEmpty()) return false;
  CMDArray records;
  if (!GetRecByKey(session(), moduleCodec->fromUnicode(key).toStdString(), &records)) return false;
  const MDRData* first = MDARec(records.array, 0, 0);
  if (!first) return false;
  const bool archOff = isOff(records, first, "CheckArch");
  QString missing;
  if (kind == kForValue) missing = missingArchive(archOff);
  if (kind == kForDuplicates) missing = missingDuplicates(archOff, isOff(records, first, "CheckDubl"));
  if (!missing.isEmpty()) message = missing;
  return !missing.isEmpty();
}

void CTlmMeasConfig::OnSetManuslAction() {
  if (keyForTool(this, sender(), kForValue).isEmpty()) return;
  const int number = currentNumber(this);
  if (number == 0) return;
  if (popManualInput && popManualInput->locId == number) popManualInput->isManualAuto();
  CreateManualInputSetting(number);
}

void CTlmMeasConfig::OnSetDublieslAction() {
  const QString key = keyForTool(this, sender(), kForDuplicates);
  if (!key.isEmpty()) CreateDublSetting(key);
}

void CTlmMeasConfig::OnRemoteControl() {
  if (keyForTool(this, sender(), kForValue).isEmpty()) return;
  const int number = currentNumber(this);
  if (number != 0) CreateRemoteControl(number);
}

void CTlmMeasConfig::CreateManualInputSetting(int locId) {
  CToolMeasParamsConf tool(this);
  tool.locId = locId;
  tool.Perform(false);
  if (tool.state != CTlmToolObject::kFinished) return;
  if (!popManualInput) popManualInput = new CPopManualInput(this);
  popManualInput->locId = locId;
  popManualInput->SetParams(tool.params);
  showAgain(popManualInput);
}

void CTlmMeasConfig::CreateDublSetting(const QString& key) {
  if (!popDublies) popDublies = new TlmDublies(this);
  popDublies->hide();
  popDublies->SetObject(key, session());
  popDublies->show();
}

// The number waits for a receipt from here on, whether or not the operator sends anything.
bool CTlmMeasConfig::CreateRemoteControl(int locId) {
  if (locId == 0) return false;
  CToolMeasParamsConf tool(this);
  tool.locId = locId;
  tool.Perform(false);
  if (tool.state != CTlmToolObject::kFinished) return false;
  if (!popRemoteControl) popRemoteControl = new CPopRemoteControl(this);
  popRemoteControl->locId = locId;
  popRemoteControl->SetParams(tool.params);
  if (!popRemoteControl->ControlAuto()) {
    popRemoteControl->show();
    pendingTelecontrol.append(locId);
    PrepareSubEvent(true);
  }
  connect(popRemoteControl, SIGNAL(signalTlmCliWidgetClosed(QWidget*, int)), SLOT(slot_CliWidgetClosed(QWidget*, int)));
  popRemoteControl->FocusToPassword();
  return true;
}

// The receiver of the remote control's closing, which has no effect here.
void CTlmMeasConfig::slot_CliWidgetClosed(QWidget*, int) {}
