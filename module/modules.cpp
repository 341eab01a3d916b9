#include "modules.h"

#include "CTlmMeasConfig.h"

#include <QTextCodec>

bool fl_first = true;

void* CppCliModule(CTlmCliApp* app, const char* name) {
  const QTextCodec* codec = QTextCodec::codecForName("Windows-1251");
  if (!name || !*name) return nullptr;
  if (codec->toUnicode(name) != QLatin1String("config")) return nullptr;
  return new CTlmMeasConfig(app);
}
