// Another engineer at the same server: a session without a window, which writes whole blocks.
#ifndef TLMTEST_COLLEAGUE_H
#define TLMTEST_COLLEAGUE_H

#include <memory>
#include <vector>

#include "ModuleWindow.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

namespace tlm::test {

// Fields are written as "name=value"; "name" alone is a null. Keys and texts are QStrings, numbers decimal.
class Colleague {
 public:
  explicit Colleague(server::Core& core) : line_(core, "colleague", &failures_, &log_) {}

  // Queues the rows of a new object, in all tables of its class. A field goes to the first table that has it.
  Colleague& add(const char* className, const QString& key, const QStringList& fields) {
    QStringList rest = fields;
    if (QString(className) != "RemoteUnitFolder") rest += QString("ClassName=") + className;
    for (const QString& table : tablesOf(className)) rest = queue(table, key, rest, MDX_REC_INSERT, true);
    EXPECT_EQ(rest, QStringList()) << "no table has these fields";
    return *this;
  }
  // Queues a change of some fields of one table.
  Colleague& change(const QString& table, const QString& key, const QStringList& fields) {
    EXPECT_EQ(queue(table, key, fields, MDX_REC_UPDATE, false), QStringList());
    return *this;
  }
  // Queues the removal of an object.
  Colleague& remove(const char* className, const QString& key) {
    for (const QString& table : tablesOf(className)) queue(table, key, {}, MDX_REC_DELETE, false);
    return *this;
  }
  // Queues a row of one table alone, such as the second half of an object.
  Colleague& row(const QString& table, const QString& key, const QStringList& fields, int mark) {
    EXPECT_EQ(queue(table, key, fields, mark, mark == MDX_REC_INSERT), QStringList());
    return *this;
  }

  // Sends what is queued as one block, tables in the order of their first use. True when the server took it.
  bool commit() {
    CTlmCliSes* session = line_.session();
    session->BlockBeg();
    for (const auto& [table, rows] : block_) session->SqlUpdate(table.toLatin1(), rows->array, true, nullptr);
    block_.clear();
    MDXCliParam* reply = nullptr;
    if (!session->BlockEnd(true, &reply) || !session->WaitResult(&reply, -1)) return false;
    int32_t status = -1;
    MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status);
    session->PrmFree(reply);
    return status == 0;
  }

 private:
  static QStringList tablesOf(const QString& className) {
    for (const TTablesForSave& each : TablesForSave)
      if (each.className == className) return each.tables.split(',');
    ADD_FAILURE() << "no class " << className.toStdString();
    return {};
  }

  // Returns the fields that the table has not.
  QStringList queue(const QString& table, const QString& key, const QStringList& fields, int mark, bool all) {
    CMDArray& rows = entry(table);
    MDRData* record = MDARecNew(rows.array);
    MDRSetFlags(record, mark);
    QStringList rest;
    for (const QString& each : fields)
      if (!write(rows, record, each)) rest += each;
    const QByteArray bytes = key.toLatin1();
    rows.SetVal(record, 0, textVar(bytes));
    for (int i = 0; all && i < MDAFldCount(rows.array); ++i) MDRSetUser(MDRFldByNum(rows.array, i), record, 1);
    rows.RecPost(record);
    return rest;
  }

  bool write(CMDArray& rows, MDRData* record, const QString& text) {
    const MDRField* field = MDRFldByName(rows.array, text.section('=', 0, 0).toLatin1());
    if (!field) return false;
    MDRSetUser(field, record, 1);
    if (!text.contains('=')) return true;
    const QByteArray bytes = line_.session()->Codec()->fromUnicode(text.section('=', 1));
    const bool isText = field->type == MDX_TEXT || field->type == MDX_MEMO;
    const MDRVar value = isText ? textVar(bytes) : intVar(bytes.toInt());
    EXPECT_GE(MDRSetVal(field, record, &value), 0) << text.toStdString();
    return true;
  }

  CMDArray& entry(const QString& table) {
    for (const auto& [name, rows] : block_)
      if (name == table) return *rows;
    block_.emplace_back(table, std::make_unique<CMDArray>());
    CMDArray& rows = *block_.back().second;
    EXPECT_TRUE(GetTableStructure(line_.session(), table.toStdString(), &rows)) << table.toStdString();
    return rows;
  }

  Failures failures_;
  QStringList log_;
  TestLine line_;
  std::vector<std::pair<QString, std::unique_ptr<CMDArray>>> block_;
};

}  // namespace tlm::test

#endif
