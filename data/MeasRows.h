// Rows of measurements as the server's scripts return them.
#ifndef TLMMEAS_MEASROWS_H
#define TLMMEAS_MEASROWS_H

#include <TlmMdx/CMDArray.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

class CTlmMeasConfig;
class QTextCodec;

struct MergeRules {
  QByteArray except;          // a key that is left out; empty: none
  bool leaveOutHeld = false;  // leave out rows whose key `held` has already
};

// Adds rows to those at hand. The first rows bring the structure with them, and make the keys "KeyLink",
// "RemoteUnitKey", "locId" and "primaryLocId", numbers 0 to 3; no rule applies to them.
void mergeMeasurements(CMDArray& held, MDArray* rows, const MergeRules& rules);

// Appends "key" or "key,class" for each row that has a key.
void listMeasurements(MDArray* rows, QTextCodec* codec, QStringList* keys);

// Asks for the measurements of a remote unit and hands the table to `take`, which is not called when the
// server gives none within five seconds.
bool fetchMeasurements(CTlmMeasConfig* module, const QString& rtu, const std::function<void(MDArray*)>& take);

#endif
