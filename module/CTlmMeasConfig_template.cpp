#include "CTlmMeasConfig.h"

// Copy by template is not offered yet: no target takes a template.

void CTlmMeasConfig::ExecActCopyTemplate() {}

bool CTlmMeasConfig::CheckIndexTemplatePaste(QModelIndex, QString) { return false; }

void CTlmMeasConfig::OnCopyByTemplate_SignOK(QString, QString, int, int, QString) {}

void CTlmMeasConfig::OnMessageBoxByTemplate_SignOK() {}

void CTlmMeasConfig::SaveCopyByTemplate(QModelIndex) {}

void CTlmMeasConfig::ParseAndSaveXmlTemplate(QString, QModelIndex) {}

bool CTlmMeasConfig::PrepareSaveGroupTemplate(QStringList&, QList<CMDArray*>&, QString, QString, QString, QList<int>,
                                              QString, bool, bool, QStringList) {
  return false;
}
