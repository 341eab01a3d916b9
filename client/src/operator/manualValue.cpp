#include "manualValue.h"

#include <QTextCodec>

#include <cmath>

#include "exchange.h"

namespace tlm {
namespace {

struct KindName {
  const char* className;
  ManualRules::Kind kind;
};

constexpr KindName kKinds[] = {{"Analog", ManualRules::kNumber},
                               {"Discrete", ManualRules::kState},
                               {"Accumulator", ManualRules::kCounter},
                               {"StringMeasurement", ManualRules::kText}};

QString shown(double number) { return QString::number(number, 'g', 15).replace('.', ','); }

bool isNumeric(const ManualRules& rules) {
  return rules.kind == ManualRules::kNumber || rules.kind == ManualRules::kCounter;
}

QByteArray checkedNumber(const ManualRules& rules, QString text, QString* problem) {
  text = text.trimmed().replace(',', '.');
  bool read = false;
  const double number = text.toDouble(&read);
  if (!read || !std::isfinite(number)) {
    *problem = text.isEmpty() ? QStringLiteral("Введите значение.") : QStringLiteral("Это не число.");
  } else if (number < rules.low || number > rules.high) {
    *problem = QStringLiteral("Значение вне пределов: %1.").arg(limitsText(rules));
  } else if (rules.kind == ManualRules::kCounter && number != std::floor(number)) {
    *problem = QStringLiteral("Показание счетчика — целое число.");
  }
  return text.toLatin1();
}

QByteArray checkedText(const QString& text, QString* problem) {
  if (!serverCodec()->canEncode(text))
    *problem = QStringLiteral("В тексте есть знаки, которых нет в кодировке сервера.");
  return serverCodec()->fromUnicode(text);
}

}  // namespace

ManualRules manualRules(const Lines& lines) {
  ManualRules rules;
  const QString className = lines.value("class");
  for (const KindName& row : kKinds) {
    if (className == QLatin1String(row.className)) rules.kind = row.kind;
  }
  rules.allowed = !lines.has("manualAllowed") || lines.flag("manualAllowed");
  rules.unit = lines.value("unit");
  rules.states = QStringList{lines.value("text0"), lines.value("text1")};
  if (rules.kind == ManualRules::kNumber) {
    rules.low = lines.number("engMin", rules.low);
    rules.high = lines.number("engMax", rules.high);
  }
  if (rules.kind == ManualRules::kCounter) {
    rules.low = 0;
    const double rollover = lines.number("rollover");
    if (rollover > 0) rules.high = rollover;
  }
  const double length = lines.number("maxLength");
  if (length > 0) rules.maxLength = static_cast<int>(length);
  return rules;
}

QString limitsText(const ManualRules& rules) {
  if (rules.kind == ManualRules::kText) return QStringLiteral("не длиннее %1 знаков").arg(rules.maxLength);
  if (!isNumeric(rules)) return {};
  const QString low = std::isfinite(rules.low) ? QStringLiteral("от %1").arg(shown(rules.low)) : QString();
  const QString high = std::isfinite(rules.high) ? QStringLiteral("до %1").arg(shown(rules.high)) : QString();
  return (low + ' ' + high).trimmed();
}

QString whoText(const Lines& lines) {
  if (!lines.flag("manual")) return {};
  const QString who = lines.value("manualUser");
  const QString when = lines.value("manualTimeText");
  return QStringLiteral("Введено вручную: %1, %2").arg(who.isEmpty() ? QStringLiteral("неизвестно кем") : who, when);
}

QString editText(const ManualRules& rules, const QString& value) {
  return isNumeric(rules) ? QString(value).replace('.', ',') : value;
}

QByteArray checkedValue(const ManualRules& rules, const QString& entered, QString* problem) {
  switch (rules.kind) {
    case ManualRules::kState:
      return entered.toLatin1();
    case ManualRules::kText:
      return checkedText(entered, problem);
    default:
      return checkedNumber(rules, entered, problem);
  }
}

}  // namespace tlm
