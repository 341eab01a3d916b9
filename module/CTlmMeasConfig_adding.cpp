#include "CTlmMeasConfig.h"

// Adding is not offered yet.

void CTlmMeasConfig::ExecAddActGroup(QAction*) {}

void CTlmMeasConfig::ExecActAdd(QString, QString, bool) {}
