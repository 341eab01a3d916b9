// The message box's icons, drawn.
#ifndef TLMCLIENT_BOXICON_H
#define TLMCLIENT_BOXICON_H

#include <TlmClient/CPopMessageBox.h>

#include <QPixmap>

namespace tlm {

// `question`: an information that asks. Null for kBoxNoIcon.
QPixmap boxIcon(TMessageBoxIcon icon, bool question, int side, qreal ratio);

}  // namespace tlm

#endif
