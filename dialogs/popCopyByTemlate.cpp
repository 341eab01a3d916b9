#include "popCopyByTemlate.h"

#include "CTlmMeasConfig.h"

CPopCopyByTemlate::CPopCopyByTemlate(QWidget* parent, CTlmMeasConfig* module) : CPopTemplate(parent), module_(module) {
  hide();
}
