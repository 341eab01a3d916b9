// What the host's own windows show of an object.
#ifndef TLMHOST_OBJECTINFO_H
#define TLMHOST_OBJECTINFO_H

#include <TlmServer/LiveValues.h>

#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

namespace tlm {

struct ObjectInfo {
  QString key;
  QString name;
  QString className;
  QString unitName;   // of the remote unit; empty without one
  QString measure;    // unit of measure, such as "МВт"
  QString states[2];  // texts of 0 and 1 of a discrete signal; empty where none are set
  int locId = 0;      // 0 when the object is no measurement
  int decimals = -1;
};

class StationServer;

// Empty when there is no such object, or no answer.
std::optional<ObjectInfo> findObject(StationServer& server, const QString& key);

// The title of a form file that is linked with the object; the file's own name when it has none.
QString formTitle(StationServer& server, const QString& file);

// What was measured between two times (server time), oldest first; the last is the current value.
std::vector<server::LiveValue> history(StationServer& server, int locId, double from, double to);
std::optional<server::LiveValue> currentValue(StationServer& server, int locId);

QString classTitle(const QString& className);  // "Аналоговое измерение"
QString qualityText(server::Quality quality);  // "достоверно"
QString shownValue(const server::LiveValue& value, const ObjectInfo& object);  // "12.5 МВт"
QDateTime localTime(double serverTime);

}  // namespace tlm

#endif
