// The library's entry: the only symbols that it exports.
#ifndef TLMMEAS_MODULES_H
#define TLMMEAS_MODULES_H

#include <QtGlobal>

class CTlmCliApp;

extern "C" {
// A new module of that name (zero-terminated, Windows-1251), owned by the caller: "config", respecting case, and
// no other. Null for any other name. Touches no session.
Q_DECL_EXPORT void* CppCliModule(CTlmCliApp* app, const char* name);

// Kept for hosts that ask for it by name; nothing reads or writes it.
extern Q_DECL_EXPORT bool fl_first;
}

#endif
