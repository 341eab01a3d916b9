#include "outcome.h"

#include "exchange.h"

namespace tlm {
namespace {

struct Outcome {
  const char* state;
  bool receipted;
  const char* text;
};

constexpr Outcome kOutcomes[] = {
    {"done", true, "Команда выполнена."},
    {"refused", true, "Команда не выполнена: устройство отказало."},
    {"timeout", true, "Команда не выполнена по таймауту."},
    {"rejected", false, "Команда не подана: сервер её не принял."},
    {"none", false, "Команда не дошла до сервера и выполнена не будет."},
    {"forgotten", false, "Сервер был запущен заново: выполнена ли команда, не известно. Проверьте положение объекта."},
};

const Outcome* outcomeOf(const Lines& lines) {
  const QString state = lines.value("state");
  for (const Outcome& row : kOutcomes) {
    if (state == QLatin1String(row.state)) return &row;
  }
  return nullptr;
}

}  // namespace

bool isReceipted(const Lines& outcome) {
  const Outcome* const known = outcomeOf(outcome);
  return known && known->receipted;
}

QString outcomeText(const Lines& outcome) {
  const Outcome* const known = outcomeOf(outcome);
  if (!known) return unknownText();
  const QString why = outcome.value("why");
  const QString text = QString::fromUtf8(known->text);
  return why.isEmpty() ? text : text + ' ' + why;
}

QString unknownText() {
  return QStringLiteral(
      "Ответа нет: выполнена ли команда, не известно. Проверьте положение объекта. Второй раз команда не подаётся.");
}

}  // namespace tlm
