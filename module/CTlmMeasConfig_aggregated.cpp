#include "CTlmMeasConfig.h"
#include "IndexFacts.h"

#include <QAction>

void CTlmMeasConfig::CheckEnabledAgregData(QModelIndex index) {
  const myConfNode* node = index.isValid() ? nodeOf(index) : nullptr;
  if (node) actAgregData->setEnabled(!node->isAggregated && classesEnabledAgreg.contains(classOf(index)));
}

// The dialog of aggregated data is not offered yet.

void CTlmMeasConfig::ExecActAgregData() {}

void CTlmMeasConfig::OnAddAgregData_SignOK(QStringList) {}

void CTlmMeasConfig::OnAddAgregData_SignOKEmpty() {}

bool CTlmMeasConfig::PrepareSaveGroupAgreg(QStringList&, QList<CMDArray*>&, QString, QString, QString, int, QStringList,
                                           QList<int>&, QList<MDRData*>&) {
  return false;
}
