#include "CTlmMeasConfig.h"
#include "RecordAccess.h"

bool CTlmMeasConfig::ChangeParent(MDRData* record, CMDArray& array, const char* field, QString oldParent,
                                  QString& newParent) {
  if (!record) return false;
  MDRVar link{};
  array.GetVal(record, field, link);
  if (hasValue(link)) newParent = decodeVar(link, moduleCodec);
  return oldParent != newParent;
}

// Rows that come, go and move by event are not followed yet: the tree keeps its shape until it is loaded again.

void CTlmMeasConfig::AddNodeByEvent(QString, QString) {}

void CTlmMeasConfig::DeleteNodeByEvent(QString) {}

void CTlmMeasConfig::MoveByEvent(QString, QString, bool, bool) {}

void CTlmMeasConfig::MoveNodeByEvent(QModelIndex, QModelIndex, bool) {}
