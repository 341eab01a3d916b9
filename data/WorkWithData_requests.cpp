#include "CTlmMeasConfig.h"
#include "RecordAccess.h"
#include "Requests.h"
#include "WorkWithData.h"

#include <TlmClient/CLiteModel.h>

#include <QMessageBox>

#include <algorithm>
#include <cstring>

bool GetTableStructure(CTlmCliSes* session, std::string table, CMDArray* out) {
  return requestTable(session, "TableStructure", QByteArray::fromStdString(table), out) && MDAFldCount(out->array) > 0;
}

bool GetRecByKey(CTlmCliSes* session, std::string key, CMDArray* out) {
  return requestTable(session, "RecByKeyLink", QByteArray::fromStdString(key), out) && MDARecCount(out->array) > 0;
}

namespace {

void addField(CMDArray& array, const QByteArray& name, uint8_t type, uint8_t size) {
  MDRFldDesc field{};
  std::memcpy(field.name, name.constData(), std::min<size_t>(name.size(), sizeof field.name - 1));
  field.type = type;
  field.size = size;
  array.code = MDAFldAdd(array.array, 1, &field);
}

// The one-record table that names a table, a key of it, and the values to seek.
QByteArray packedSeek(const char* table, int key, const std::vector<MDRVar>& values) {
  CMDArray body;
  addField(body, "tblname", MDX_TEXT, 32);
  addField(body, "idxnum", MDX_INT32, 0);
  for (size_t i = 0; i < values.size(); ++i) {
    const uint8_t type = values[i].type;
    addField(body, "fld_" + QByteArray::number(static_cast<int>(i)), type >= 1 && type <= 8 ? type : uint8_t{MDX_MEMO},
             0);
  }
  MDRData* record = MDARecNew(body.array);
  const QByteArray name(table);
  body.SetVal(record, 0, textVar(name));
  body.SetVal(record, 1, intVar(key));
  for (size_t i = 0; i < values.size(); ++i) body.SetVal(record, static_cast<int>(i) + 2, values[i]);
  if (MDRRecPack(body.array, record, 1, 1) < 0) return QByteArray();
  return QByteArray(reinterpret_cast<const char*>(record->packed), static_cast<int>(record->packedLength));
}

}  // namespace

bool GetToolRecByKey1(CTlmCliSes* session, const char** table, int key, std::vector<MDRVar> values, CMDArray* out) {
  if (values.empty() || !table || !*table) return false;
  return requestTable(session, "RecByKey", packedSeek(*table, key, values), out) && MDARecCount(out->array) > 0;
}

bool GetValue(CTlmCliSes* session, QString key, char*& text) {
  return request(session, "ObjectHint", key.toUtf8(), [&text](const MDXCliParam* reply) {
    const char* value = replyText(reply);
    if (!value) return false;
    const size_t length = std::strlen(value);
    text = new char[length + 1]();
    std::memcpy(text, value, length);
    return true;
  });
}

QString GetPrefix(CTlmCliSes* session, QString key) {
  if (key.isEmpty()) return QString();
  CMDArray records;
  if (!GetRecByKey(session, key.toStdString(), &records)) return QString();
  const MDRData* first = MDARec(records.array, 0, 0);
  MDRVar prefixed{};
  records.GetVal(first, "prefName", prefixed);
  if (!hasValue(prefixed) || prefixed.flag == 0) return QString();
  return fieldText(records, first, "name_", serverCodec());
}

namespace {

// What stands in a text between a word and the next "[" (or the end). Null when the word is not there.
QString sectionOf(const QString& text, const QString& word, bool* closed) {
  const int start = text.indexOf(word);
  if (start < 0) return QString();
  const int from = start + word.size();
  const int end = text.indexOf('[', from);
  *closed = end >= 0;
  return text.mid(from, end < 0 ? -1 : end - from);
}

void addCurrentGroup(const QString& text, QStringList* out) {
  bool closed = false;
  QString section = sectionOf(text, QStringLiteral("[CurSrvGroup]"), &closed);
  if (!closed || !section.contains('=')) return;
  section.remove(QStringLiteral("\r\n"));
  if (section.mid(section.indexOf('=') + 1).toInt() != 0) out->append(QStringLiteral("0=Текущая группа сервера"));
}

void addGroups(const QString& text, QStringList* out) {
  bool closed = false;
  QString section = sectionOf(text, QStringLiteral("[Groups]"), &closed);
  section.remove(QStringLiteral("\r\n"));
  out->append(section.split(QStringLiteral("Group "), Qt::SkipEmptyParts));
}

}  // namespace

bool GetSrvGroup(CTlmCliSes* session, QStringList* out) {
  if (!out) return false;
  return request(session, "SRV_GROUPS_INFO", QByteArray(), [out](const MDXCliParam* reply) {
    const char* bytes = replyText(reply);
    if (!bytes) return false;
    const QString text = serverCodec()->toUnicode(bytes);
    if (!text.contains(QStringLiteral("[CurSrvGroup]")) && !text.contains(QStringLiteral("[Groups]"))) return false;
    addCurrentGroup(text, out);
    addGroups(text, out);
    return true;
  });
}

void CTlmMeasConfig::getLiteModel(QString key, CLiteModel& model) {
  model.Clear();
  QByteArray body = "obj=" + key.toUtf8();
  body.append('\0');
  request(session(), "LiteModel", body, [&model](const MDXCliParam* reply) {
    int length = 0;
    void* bytes = nullptr;
    MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_TEXT), reply, &length, &bytes);
    return bytes && model.LoadFromBuff(static_cast<const char*>(bytes), length);
  });
}

namespace {

void readAll(const CMDArray& table) {
  MDRVar value{};
  for (int row = 0; row < MDARecCount(table.array); ++row) {
    for (int field = 0; field < MDAFldCount(table.array); ++field)
      table.GetVal(MDARec(table.array, 0, row), field, value);
  }
}

}  // namespace

bool CTlmMeasConfig::FillCmdArray(CTlmCliSes* ses, std::string requestBody, CMDArray& out) {
  return requestReply(ses, "TableRecords", QByteArray::fromStdString(requestBody), [&out](const MDXCliParam* reply) {
    if (!replyIsGood(reply)) {
      QMessageBox::information(nullptr, QString(), QStringLiteral("CTlmMeasConfig::FillCmdArray : str"),
                               QMessageBox::Ok);
      return false;
    }
    unpackReply(reply, &out, 1);  // the status alone decides: a good reply may come without a payload
    readAll(out);
    return true;
  });
}
