// The workstation's look: one palette and one font for the host and all modules.
#ifndef TLMCLIENT_MODULESTYLE_H
#define TLMCLIENT_MODULESTYLE_H

#include <TlmClient/export.h>

#include <QFont>
#include <QPalette>

namespace tlm {

// A palette and not a style sheet: a sheet would slow down the painting of every row of every view.
// GUI thread only.
TLMCLIENT_API QPalette workstationPalette();
TLMCLIENT_API QFont workstationFont();

}  // namespace tlm

#endif
