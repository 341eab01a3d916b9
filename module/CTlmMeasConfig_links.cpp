#include "CTlmMeasConfig.h"

// Links and the retrospective are not offered yet.

bool CTlmMeasConfig::CreateLinkMenu(const QString&, QMenu*, const QObject*, const char*) { return false; }

void CTlmMeasConfig::OnLinksAction() {}

void CTlmMeasConfig::OnShowRetroAction() {}
