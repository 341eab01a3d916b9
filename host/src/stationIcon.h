#ifndef TLMHOST_STATIONICON_H
#define TLMHOST_STATIONICON_H

#include <QIcon>

namespace tlm {

QIcon stationIcon();  // a pylon on the workstation's blue, drawn in the usual sizes

}  // namespace tlm

#endif
