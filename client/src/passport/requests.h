// What the sheet asks the server for by itself. Each request waits for its answer; a failure is a false.
#pragma once

#include "passport/paramText.h"

#include <TlmMdx/CMDArray.h>

#include <QByteArray>
#include <QString>

class CTlmCliSes;

namespace tlm::passport {

class Catalogue;

// A request whose payload is a packed array.
bool requestArray(CTlmCliSes* session, const char* request, const QByteArray& body, CMDArray* out);

// All rows of a table, in the named columns, or in all of them.
bool requestTable(CTlmCliSes* session, const QString& table, const QString& columns, CMDArray* out);

bool requestStructure(CTlmCliSes* session, const QString& table, CMDArray* out);

bool requestCatalogue(CTlmCliSes* session, Catalogue* out);

// The server's groups, the current one as number 0.
bool requestServerGroups(CTlmCliSes* session, QVector<Choice>* out);
QVector<Choice> parseServerGroups(const QString& text);

// The name of the measurement with that number. False when there is none or the server does not answer.
bool requestMeasName(CTlmCliSes* session, qint64 locId, QString* name);

}  // namespace tlm::passport
