#ifndef TLMCLIENT_GENGUID32_H
#define TLMCLIENT_GENGUID32_H

#include <TlmClient/export.h>

#include <QByteArray>

// A fresh unique key: 32 upper-case hexadecimal characters. Any thread.
TLMCLIENT_API QByteArray GenGuid32();

#endif
