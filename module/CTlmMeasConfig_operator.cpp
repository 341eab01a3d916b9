#include "CTlmMeasConfig.h"

// The operator's tools are not offered yet.

void CTlmMeasConfig::OnSetManuslAction() {}

void CTlmMeasConfig::OnSetDublieslAction() {}

void CTlmMeasConfig::OnRemoteControl() {}

bool CTlmMeasConfig::CheckConditions(QString, QString&, int) { return false; }

void CTlmMeasConfig::CreateManualInputSetting(int) {}

void CTlmMeasConfig::CreateDublSetting(const QString&) {}

bool CTlmMeasConfig::CreateRemoteControl(int) { return false; }

// The receiver of the remote control's closing, which has no effect here.
void CTlmMeasConfig::slot_CliWidgetClosed(QWidget*, int) {}
