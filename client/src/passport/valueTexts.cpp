#include "passport/valueTexts.h"

#include "passport/requests.h"
#include "passport/values.h"

#include <TlmClient/CLiteModel.h>
#include <TlmClient/CTlmCliSes.h>

#include <QLocale>

#include <cmath>

namespace tlm::passport {

namespace {

constexpr int kMeasKeyLocId = 1;
constexpr double kMsInDay = 86400000.0;
const char* const kTimeFormat = "dd.MM.yy hh:mm:ss";

QLocale userLocale() {
  QLocale locale;
  locale.setNumberOptions(QLocale::OmitGroupSeparator | QLocale::OmitLeadingZeroInExponent);
  return locale;
}

QString measName(const CLiteModel& model, qint64 locId) {
  const CModelTable* measurements = model.GetTableByName("Measurement");
  const CModelTable* objects = model.GetTableByName("IdentifiedObject");
  if (!measurements || !objects) return {};
  const MDRData* row = seekNumber(measurements->Array(), kMeasKeyLocId, locId);
  const QString key = row ? readText(measurements->Array(), row, "KeyLink") : QString();
  const MDRData* object = key.isEmpty() ? nullptr : seekText(objects->Array(), 0, key);
  return object ? readText(objects->Array(), object, "name_") : QString();
}

}  // namespace

const char* const kNothing = "(нет)";
const char* const kDeletedRow = "(запись удалена)";

QString numberText(double value) {
  QString text = QString::number(value, 'g', QLocale::FloatingPointShortest);
  const double size = std::fabs(value);
  if (text.contains('e') && size >= 1e-9 && size < 1e15)
    text = QString::number(value, 'f', QLocale::FloatingPointShortest);
  return text.replace('.', userLocale().decimalPoint());
}

bool parseNumber(const QString& text, double* value) {
  QString plain = text;
  plain.remove(' ').remove(QChar::Nbsp).replace(',', '.').replace(userLocale().decimalPoint(), '.');
  bool read = false;
  const double number = QLocale::c().toDouble(plain, &read);
  if (!read || !std::isfinite(number)) return false;
  *value = number;
  return true;
}

QString dateTimeText(const QDateTime& time) { return time.toString(QString::fromLatin1(kTimeFormat)); }

QDateTime parseDateTime(const QString& text) {
  static const char* const formats[] = {"d.M.yyyy h:m:s", "d.M.yyyy h:m", "d.M.yyyy"};
  QString full = text.simplified();
  const QString year = full.section('.', 2).section(' ', 0, 0);
  if (year.size() == 2) full.insert(full.indexOf('.', full.indexOf('.') + 1) + 1, "20");
  for (const char* format : formats) {
    QDateTime time = QDateTime::fromString(full, QString::fromLatin1(format));
    time.setTimeSpec(Qt::UTC);
    if (time.isValid()) return time;
  }
  return {};
}

QDateTime fromDays(double days) {
  const QDateTime start(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
  return start.addMSecs(qint64(std::llround(days * kMsInDay / 1000.0)) * 1000);
}

double toDays(const QDateTime& time) {
  const QDateTime start(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
  return double(start.msecsTo(time)) / kMsInDay;
}

void ValueTexts::setSession(CTlmCliSes* session) {
  if (session == session_) return;
  session_ = session;
  groups_.clear();
}

double ValueTexts::toSession(double days) const { return session_ ? session_->MdxTimeToSesTime(days) : days; }

QDateTime ValueTexts::fromServerTime(double days) const { return fromDays(toSession(days)); }

double ValueTexts::toServerTime(const QDateTime& time) const {
  const double wanted = toDays(time);
  const double near = wanted - (toSession(wanted) - wanted);
  return near + (wanted - toSession(near));  // a second step, for the hours around a change of the clock
}

const QVector<Choice>& ValueTexts::serverGroups() {
  if (groups_.isEmpty()) requestServerGroups(session_, &groups_);
  return groups_;
}

QString ValueTexts::measText(const QVariant& locId, const QString& name) {
  if (locId.toLongLong() == 0) return QString::fromUtf8(kNothing);
  return name.isEmpty() ? plainText(locId) : plainText(locId) + ", " + name;
}

QString ValueTexts::text(const FieldMeta& meta, const QVariant& value) {
  switch (meta.kind) {
    case FieldKind::kReference:
      return sameValue(value, {}) ? QString::fromUtf8(kNothing) : value.toString();
    case FieldKind::kMeasNumber:
      return measText(value, {});
    case FieldKind::kFlag:
      return QString::fromUtf8(value.toBool() ? "Да" : "Нет");
    default:
      break;
  }
  if (!value.isValid()) return {};
  QString known;
  switch (meta.kind) {
    case FieldKind::kChoice:
      known = choiceText(meta.choices, value.toLongLong());
      break;
    case FieldKind::kServerGroup:
      known = choiceText(serverGroups(), value.toLongLong());
      break;
    case FieldKind::kDateTime:
      return dateTimeText(fromServerTime(value.toDouble()));
    case FieldKind::kDouble:
      return numberText(value.toDouble());
    default:
      break;
  }
  return known.isEmpty() ? plainText(value) : known;
}

QString ValueTexts::text(const FieldMeta& meta, const QVariant& value, const CLiteModel& model,
                         const TModelRecord& record) {
  if (meta.kind == FieldKind::kReference && !sameValue(value, {})) {
    const QString shown = model.TextValue(record, meta.name);
    return shown == value.toString() ? QString::fromUtf8(kDeletedRow) : shown;
  }
  if (meta.kind == FieldKind::kMeasNumber) return measText(value, measName(model, value.toLongLong()));
  return text(meta, value);
}

}  // namespace tlm::passport
