#include "passport/requests.h"

#include "passport/catalogue.h"
#include "passport/values.h"

#include <TlmClient/CTlmCliSes.h>

namespace tlm::passport {

namespace {

constexpr int kMeasKeyLocId = 1;  // number of the key "locId" of the server's table "Measurement"

// A request and its reply, which is freed with it.
class Request {
 public:
  Request(CTlmCliSes* session, const char* name, const QByteArray& body) : session_(session) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(body.constData());
    answered_ = session && session->PacketExec(name, bytes, body.size(), &reply_) && session->WaitResult(&reply_, -1) &&
                reply_ && status() == 0;
  }
  ~Request() {
    if (reply_) session_->PrmFree(reply_);
  }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  // Null when the request failed or has no payload.
  const char* payload(int* length) const {
    void* data = nullptr;
    if (answered_) MDRGetTextRef(MDXParamFld(reply_, MDX_REPLY_PAYLOAD), reply_, length, &data);
    return static_cast<const char*>(data);
  }

 private:
  int status() const {
    int32_t value = -1;
    return MDRGetAsInt32(MDXParamFld(reply_, MDX_REPLY_STATUS), reply_, &value) < 0 ? -1 : value;
  }

  CTlmCliSes* session_;
  MDXCliParam* reply_ = nullptr;
  bool answered_ = false;
};

// What follows "[name]" up to the next section, line breaks removed. Null when there is no such section.
QString section(const QString& text, const QString& name) {
  const int at = text.indexOf(name);
  if (at < 0) return {};
  const int from = at + name.size();
  const int end = text.indexOf('[', from);
  return text.mid(from, end < 0 ? -1 : end - from).remove('\r').remove('\n');
}

void addField(MDArray* array, const char* name, uint8_t type, uint8_t size) {
  MDRFldDesc field{};
  qstrncpy(field.name, name, sizeof field.name);
  field.type = type;
  field.size = size;
  MDAFldAdd(array, 1, &field);
}

// The body of "RecByKey" for one integer value.
QByteArray keySearch(const char* table, int key, qint64 value) {
  CMDArray body;
  addField(body.array, "tblname", MDX_TEXT, 32);
  addField(body.array, "idxnum", MDX_INT32, 0);
  addField(body.array, "fld_0", MDX_INT64, 0);
  MDRData* record = MDARecNew(body.array);
  writeValue(MDRFldByNum(body.array, 0), record, QString::fromLatin1(table));
  writeValue(MDRFldByNum(body.array, 1), record, qlonglong(key));
  writeValue(MDRFldByNum(body.array, 2), record, qlonglong(value));
  record = body.RecPost(record);
  if (!record || MDRRecPack(body.array, record, 1, 1) < 0) return {};
  return QByteArray(reinterpret_cast<const char*>(record->packed), int(record->packedLength));
}

}  // namespace

bool requestArray(CTlmCliSes* session, const char* request, const QByteArray& body, CMDArray* out) {
  const Request reply(session, request, body);
  int length = 0;
  const char* bytes = reply.payload(&length);
  return bytes && MDXArrayUnPackN(out->array, bytes, size_t(length), 1) == 0 && MDAFldCount(out->array) > 0;
}

bool requestTable(CTlmCliSes* session, const QString& table, const QString& columns, CMDArray* out) {
  const QString body = columns.isEmpty() ? table : table + "," + columns;
  return requestArray(session, "TableRecords", codePage()->fromUnicode(body), out);
}

bool requestStructure(CTlmCliSes* session, const QString& table, CMDArray* out) {
  return requestArray(session, "TableStructure", codePage()->fromUnicode(table), out);
}

bool requestCatalogue(CTlmCliSes* session, Catalogue* out) {
  CMDArray tables, fields, types;
  if (!requestTable(session, "Tables", {}, &tables) || !requestTable(session, "Fields", {}, &fields) ||
      !requestTable(session, "FieldsType", {}, &types))
    return false;
  out->read(tables.array, fields.array, types.array);
  return true;
}

QVector<Choice> parseServerGroups(const QString& text) {
  QVector<Choice> out;
  const QString current = section(text, "[CurSrvGroup]");
  if (current.section('=', 1).trimmed().toInt() != 0) out.push_back({0, QString::fromUtf8("Текущая группа сервера")});
  for (const QString& piece : section(text, "[Groups]").split("Group ", Qt::SkipEmptyParts)) {
    const int equal = piece.indexOf('=');
    if (equal > 0) out.push_back({piece.left(equal).trimmed().toLongLong(), piece.mid(equal + 1).trimmed()});
  }
  return out;
}

bool requestServerGroups(CTlmCliSes* session, QVector<Choice>* out) {
  const Request reply(session, "SRV_GROUPS_INFO", {});
  int length = 0;
  const char* text = reply.payload(&length);
  if (!text) return false;
  *out = parseServerGroups(codePage()->toUnicode(text, int(qstrnlen(text, uint(length)))));
  return true;
}

bool requestMeasName(CTlmCliSes* session, qint64 locId, QString* name) {
  CMDArray measurements, objects;
  const QByteArray body = keySearch("Measurement", kMeasKeyLocId, locId);
  if (!requestArray(session, "RecByKey", body, &measurements) || MDARecCount(measurements.array) == 0) return false;
  const QString key = readText(measurements.array, MDARec(measurements.array, 0, 0), "KeyLink");
  if (!requestArray(session, "RecByKeyLink", codePage()->fromUnicode(key), &objects) || MDARecCount(objects.array) == 0)
    return false;
  *name = readText(objects.array, MDARec(objects.array, 0, 0), "name_");
  return true;
}

}  // namespace tlm::passport
