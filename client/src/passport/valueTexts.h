// How a value looks in the sheet, and how a typed text becomes a value.
#pragma once

#include "passport/fieldMeta.h"

#include <QDateTime>
#include <QVariant>

class CLiteModel;
class CTlmCliSes;
struct TModelRecord;

namespace tlm::passport {

extern const char* const kNothing;     // "(нет)"
extern const char* const kDeletedRow;  // of a reference to a row that is gone

// Decimal, the shortest that reads back as the same number, in the user's notation.
QString numberText(double value);
bool parseNumber(const QString& text, double* value);

QString dateTimeText(const QDateTime& time);
QDateTime parseDateTime(const QString& text);  // invalid when it is none

// Time stamps are days since 30.12.1899; the naive time of the session's clock here.
QDateTime fromDays(double days);
double toDays(const QDateTime& time);

class ValueTexts {
 public:
  void setSession(CTlmCliSes* session);
  CTlmCliSes* session() const { return session_; }

  // The text of a value alone. References and measurement numbers are shown as they are stored.
  QString text(const FieldMeta& meta, const QVariant& value);

  // The same with what the object's model knows of references and measurements.
  QString text(const FieldMeta& meta, const QVariant& value, const CLiteModel& model, const TModelRecord& record);

  // "1001, name", and "(нет)" for null and 0.
  static QString measText(const QVariant& locId, const QString& name);

  // Server time of a naive time of the session's clock, and the reverse.
  double toServerTime(const QDateTime& time) const;
  QDateTime fromServerTime(double days) const;

  // The server's groups, asked for once.
  const QVector<Choice>& serverGroups();

 private:
  double toSession(double days) const;

  CTlmCliSes* session_ = nullptr;
  QVector<Choice> groups_;
};

}  // namespace tlm::passport
