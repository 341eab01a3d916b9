#ifndef TLMCLIENT_EXPORT_H
#define TLMCLIENT_EXPORT_H

#include <QtGlobal>

#if defined(TLMCLIENT_BUILD)
#define TLMCLIENT_API Q_DECL_EXPORT
#else
#define TLMCLIENT_API Q_DECL_IMPORT
#endif

#endif
