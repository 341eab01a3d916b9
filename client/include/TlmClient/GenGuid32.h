#ifndef TLMCLIENT_GENGUID32_H
#define TLMCLIENT_GENGUID32_H

#include <TlmClient/export.h>

#include <QByteArray>

// A fresh unique key: 32 upper-case hexadecimal characters, sixteen of them random. Keys that one thread makes one
// after the other ascend. Any thread.
TLMCLIENT_API QByteArray GenGuid32();

#endif
