#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/ModuleStyle.h>

#include <QCloseEvent>
#include <QDebug>

CTlmCliMod::CTlmCliMod(CTlmCliApp* app) : app_(app) {
  if (!app_) return;
  abo = app_->ConnectModule(this);
  library = app_->ModuleLibrary(this);
  instance = app_->ModuleInstance(this);
  if (abo) abo->SetModule(this);
}

CTlmCliMod::~CTlmCliMod() {
  if (abo) abo->SetModule(nullptr);
  if (app_) app_->DisconnectModule(this);
}

// ---- virtual operations: what a module that overrides none of them does ----

void CTlmCliMod::LogFile(int level, QString source, QString text) { qDebug().noquote() << level << source << text; }

int CTlmCliMod::ModuleStart() { return 1; }
int CTlmCliMod::ModuleStop() { return 1; }
int CTlmCliMod::MessageOn() { return MessageGet(); }
int CTlmCliMod::MessageData(MDXCliParam*) { return 0; }

void CTlmCliMod::SetError(QString text) {
  if (app_) app_->ModuleMessage(this, text);
}

int CTlmCliMod::SetParamMod(QString, QString) { return 0; }

int CTlmCliMod::GetParamMod(QString, QString& value) {
  value.clear();
  return 0;
}

int CTlmCliMod::SetParamCommand(QString) { return 0; }
int CTlmCliMod::SetParamProfile(QString) { return 0; }
QString CTlmCliMod::GetParamProfile() { return {}; }
int CTlmCliMod::SetParamState(QString) { return 0; }
QString CTlmCliMod::GetParamState() { return {}; }
void CTlmCliMod::ParentResizeOn(int, int) {}
QStringList CTlmCliMod::GetAlarmsList() { return {}; }
void CTlmCliMod::AppIdleEvent() {}
void CTlmCliMod::ModSesReconnect() {}
void CTlmCliMod::ModDataEditPost() {}
void CTlmCliMod::ModDataEditCancel() {}
void CTlmCliMod::slot_modNotify(QString, QVariant) {}
void CTlmCliMod::slot_toolFinished() {}

void CTlmCliMod::slot_popMessageBoxClicked(QAbstractButton*) {
  if (popMessageBox) popMessageBox->hide();
}

void CTlmCliMod::slot_endRestructure() {}

// ---- services ----

int CTlmCliMod::MessageGet() {
  MDXCliParam* const message = abo ? abo->TakeMessage() : nullptr;
  if (!message) return 0;
  const int result = MessageData(message);
  MDXParamFree(message);
  return result;
}

void CTlmCliMod::SetIsEdit(bool edited) {
  isEdit = edited;
  if (app_) app_->ModuleIsEdit(this, edited);
}

void CTlmCliMod::SetModTitle(QString newTitle, QString subtitle) {
  setWindowTitle(subtitle.isEmpty() ? newTitle : newTitle + " - " + subtitle);
  if (app_) app_->ModuleTitle(this, newTitle, subtitle);
}

void CTlmCliMod::setModuleStyle() {
  setPalette(tlm::workstationPalette());
  setFont(tlm::workstationFont());
}

bool CTlmCliMod::doCall(int code, void* argument) { return app_ && app_->ModuleCall(this, code, argument); }

CPopMessageBox* CTlmCliMod::PopMessageBoxCreate() {
  if (!popMessageBox) popMessageBox = new CPopMessageBox(this);
  return popMessageBox;
}

// Whether unsaved edits may go is for the host to ask.
void CTlmCliMod::closeEvent(QCloseEvent* event) { event->setAccepted(!isEdit); }
