#include "CTlmMeasConfig.h"

#include <QDomElement>

// Paste is not offered yet.

void CTlmMeasConfig::ExecActPaste(QModelIndex, bool) {}

void CTlmMeasConfig::ParseUpLevelXml(QString, QModelIndex, bool, bool) {}

void CTlmMeasConfig::ParseSubLevelXml(QDomElement, QStringList&, QList<CMDArray*>&, QString, const QModelIndex&,
                                      myConfNode*, int&, bool, QList<int>&, QList<int>&, QList<int>&, bool) {}

bool CTlmMeasConfig::PrepareSaveGroupCopyORCut(QStringList&, QList<CMDArray*>&, QString, QString, QString, QString&,
                                               int&, QList<int>&, bool, QList<int>&, bool, int, QString) {
  return false;
}

void CTlmMeasConfig::ChangeNameCopy(QString&) {}
