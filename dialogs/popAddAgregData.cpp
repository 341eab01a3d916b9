#include "popAddAgregData.h"

#include "CTlmMeasConfig.h"

CPopAddAgregData::CPopAddAgregData(QWidget* parent, CTlmMeasConfig* module) : CPopTemplate(parent), module_(module) {
  hide();
}
