#include "outcome.h"

#include "exchange.h"

namespace tlm {
namespace {

struct Outcome {
  const char* state;
  const char* text;
};

constexpr char kDone[] = "done";

constexpr Outcome kOutcomes[] = {
    {kDone, "Команда выполнена."},
    {"refused", "Команда не выполнена: устройство отказало."},
    {"timeout", "Команда не выполнена по таймауту."},
    {"rejected", "Команда не подана: сервер ее не принял."},
    {"none", "Команда не дошла до сервера и выполнена не будет."},
    {"forgotten", "Сервер уже не помнит этой команды: выполнена ли она, не известно. Проверьте положение объекта."},
};

const Outcome* outcomeOf(const Lines& lines) {
  const QString state = lines.value("state");
  for (const Outcome& row : kOutcomes) {
    if (state == QLatin1String(row.state)) return &row;
  }
  return nullptr;
}

}  // namespace

bool isDone(const Lines& outcome) { return outcome.value("state") == QLatin1String(kDone); }

QString outcomeText(const Lines& outcome) {
  const Outcome* const known = outcomeOf(outcome);
  if (!known) return unknownText();
  const QString why = outcome.value("why");
  const QString text = QString::fromUtf8(known->text);
  return why.isEmpty() ? text : text + ' ' + why;
}

QString unknownText() {
  return QStringLiteral(
      "Ответа нет: выполнена ли команда, не известно. Проверьте положение объекта. Второй раз команда не подается.");
}

}  // namespace tlm
