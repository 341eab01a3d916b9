#include "Events.h"

#include <QStringList>
#include <QTextCodec>

namespace {

constexpr int kTablePrefix = 4;  // characters before the table's name in the parameter text

int32_t intAt(const MDXCliParam* message, int position) {
  int32_t value = 0;
  MDRGetAsInt32(MDXParamFld(message, position), message, &value);
  return value;
}

const char* textAt(const MDXCliParam* message, int position) {
  char* text = nullptr;
  MDRGetTextPtr(MDXParamFld(message, position), message, &text);
  return text ? text : "";
}

bool carriesRecord(int kind) {
  return kind == kEventAdded || kind == kEventChanged || kind == kEventDeleted || kind == kEventOther;
}

// From the fifth character up to the first comma; empty without a comma.
QString tableOf(const QString& paramText) {
  const int comma = paramText.indexOf(QLatin1Char(','));
  return comma < kTablePrefix ? QString() : paramText.mid(kTablePrefix, comma - kTablePrefix);
}

}  // namespace

TEventNciParse::TEventNciParse(MDXCliParam* message, QTextCodec* codec) : param(message) {
  MDRTypInit(&var);
  MDRRecInit(&rec);
  kind = intAt(message, MDX_EVENT_KIND);
  key = textAt(message, MDX_EVENT_KEY);
  paramText = textAt(message, MDX_EVENT_PARAM);
  if (!carriesRecord(kind)) return;
  table = tableOf(codec->toUnicode(paramText));
  if (kind == kEventDeleted) return;
  int length = 0;
  void* image = nullptr;
  MDRGetTextRef(MDXParamFld(message, MDX_EVENT_IMAGE), message, &length, &image);
  if (length > 0 && MDRRecSet(&rec, image, static_cast<uint32_t>(length)) >= 0) MDRTypGen(&var, "NCI", &rec);
}

TEventNciParse::~TEventNciParse() { MDRTypFree(&var); }

TEventTuParse::TEventTuParse(MDXCliParam* message) : param(message) {
  kind = intAt(message, MDX_EVENT_KIND);
  MDRGetAsDouble(MDXParamFld(message, MDX_EVENT_TIME), message, &time);
  const QString text = QString::fromLatin1(textAt(message, MDX_EVENT_PARAM));
  if (text.isEmpty()) return;
  const QStringList pieces = text.split(QLatin1Char(','));
  locId = pieces[0].mid(3).toInt();
  if (pieces.size() > 1) extra = pieces[1].mid(4).toInt();
}
