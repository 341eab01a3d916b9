// Requests that answer with rows: tables, structures, objects by key, rows by a key's value.
#include "requests.h"

#include <TlmMdx/CMDArray.h>
#include <TlmMdx/bulk.h>

#include "objects.h"
#include "records.h"
#include "values.h"

#include <algorithm>
#include <array>
#include <limits>

namespace tlm::server {
namespace {

using wire::Reply;

constexpr size_t kMostKeys = 100'000;

Reply unknownTable(std::string_view name) {
  return Reply::failure(wire::kUnknownTable, "no table \"" + std::string(name.substr(0, 64)) + "\"");
}

std::vector<std::string_view> splitAtCommas(std::string_view text) {
  std::vector<std::string_view> parts;
  for (size_t at = 0;;) {
    const size_t end = text.find(',', at);
    parts.push_back(text.substr(at, end == std::string_view::npos ? end : end - at));
    if (end == std::string_view::npos) return parts;
    at = end + 1;
  }
}

// One column of an answer: a field of the asked table or of one of its parents.
struct Column {
  size_t level;  // 0 the table itself, 1 its parent ...
  const MDRField* field;
};

// A table with its parents, the rows of which belong to the same objects.
class Levels {
 public:
  Levels(const ModelTables& tables, const TableDef& def) {
    for (const TableDef* at = &def; at; at = tables.catalogue().table(at->parent)) {
      arrays_.push_back(tables.table(at->name));
    }
  }

  bool find(const std::string& name, std::vector<Column>* columns) const {
    for (size_t level = 0; level < arrays_.size(); ++level) {
      const MDRField* field = MDRFldByName(arrays_[level], name.c_str());
      if (!field) continue;
      const bool there =
          std::any_of(columns->begin(), columns->end(), [&](const Column& c) { return c.field == field; });
      if (!there) columns->push_back({level, field});
      return true;
    }
    return false;
  }

  void own(std::vector<Column>* columns) const {
    for (int i = 0; i < MDAFldCount(arrays_[0]); ++i) columns->push_back({0, MDRFldByNum(arrays_[0], i)});
  }

  // Adds all rows of the table, in the order of its key 0, in the wanted columns.
  void fill(const std::vector<Column>& columns, MDArray* out) const {
    size_t deepest = 0;
    for (const Column& column : columns) {
      addFieldLike(out, column.field);
      deepest = std::max(deepest, column.level);
    }
    const int count = MDARecCount(arrays_[0]);
    std::vector<const MDRData*> rows;  // of a batch: for each row those of all levels
    for (int from = 0; from < count; from += kBatch) {
      const int until = std::min(count, from + kBatch);
      gather(columns, from, until, deepest + 1, &rows);
      if (deepest > 0) callTexts(columns, rows, deepest + 1);
      for (size_t at = 0; at < rows.size(); at += deepest + 1) copy(columns, &rows[at], out);
    }
  }

 private:
  // A few units among a million objects lie far apart: their rows are sought ahead and called into the cache
  // together, so that copying does not wait for one after the other.
  static constexpr int kBatch = 32;

  static void callIntoCache(const std::vector<Column>& columns, size_t level, const MDRData* row) {
    for (const Column& column : columns)
      if (column.level == level) MDXRecFetch(column.field, row);
  }

  void gather(const std::vector<Column>& columns, int from, int until, size_t levels,
              std::vector<const MDRData*>* rows) const {
    const MDRField* keyField = MDRFldByNum(arrays_[0], 0);
    const int many = until - from;
    rows->assign(static_cast<size_t>(many) * levels, nullptr);
    for (int i = 0; i < many; ++i) {
      const MDRData* row = (*rows)[i * levels] = MDARec(arrays_[0], 0, from + i);
      MDXRecFetch(keyField, row);
      callIntoCache(columns, 0, row);
    }
    if (levels == 1) return;
    std::array<MDRVar, kBatch> keys;
    std::array<MDRData*, kBatch> found;
    for (int i = 0; i < many; ++i) keys[i] = valueOf(keyField, (*rows)[i * levels]);
    for (size_t level = 1; level < levels; ++level) {
      MDXRecsSeek(arrays_[level], 0, keys.data(), many, found.data());
      for (int i = 0; i < many; ++i) callIntoCache(columns, level, (*rows)[i * levels + level] = found[i]);
    }
  }

  // Long texts stand apart from their rows.
  static void callTexts(const std::vector<Column>& columns, const std::vector<const MDRData*>& rows, size_t levels) {
    for (size_t at = 0; at < rows.size(); at += levels) {
      for (const Column& column : columns) {
        if (const MDRData* row = rows[at + column.level]) __builtin_prefetch(textOf(valueOf(column.field, row)).data());
      }
    }
  }

  static void copy(const std::vector<Column>& columns, const MDRData* const* rows, MDArray* out) {
    MDRData* row = MDARecNew(out);
    for (size_t c = 0; c < columns.size(); ++c) {
      const MDRData* from = rows[columns[c].level];
      if (from) put(out, row, static_cast<int>(c), valueOf(columns[c].field, from));
    }
    MDARecPost(row, nullptr);
  }

  std::vector<const MDArray*> arrays_;
};

// Collects the rows of objects, one row for each, in the columns of all their tables.
class ObjectRows {
 public:
  void add(Object&& object) {
    for (const ObjectRow& row : object.rows) {
      for (int i = 0; i < MDAFldCount(row.array); ++i) addColumn(MDRFldByNum(row.array, i));
    }
    objects_.push_back(std::move(object));
  }

  bool empty() const { return objects_.empty(); }

  Reply reply(const RequestContext& context) const {
    const CMDArray out;
    for (const MDRField* column : columns_) addFieldLike(out.array, column);
    for (const Object& object : objects_) {
      MDRData* row = MDARecNew(out.array);
      for (size_t c = 0; c < columns_.size(); ++c) {
        const MDRVar value = objectValue(object, columns_[c]->name);
        if (value.type != MDX_NONE) put(out.array, row, static_cast<int>(c), value);
      }
      MDARecPost(row, nullptr);
    }
    return arrayReply(context, out.array);
  }

 private:
  void addColumn(const MDRField* field) {
    const auto same = [&](const MDRField* column) { return std::strcmp(column->name, field->name) == 0; };
    if (columns_.size() < 255 && std::none_of(columns_.begin(), columns_.end(), same)) columns_.push_back(field);
  }

  std::vector<const MDRField*> columns_;
  std::vector<Object> objects_;
};

Object objectByText(const ModelTables& tables, std::string_view text) {
  if (text.empty() || text.front() != '#') return findObject(tables, text);
  const auto locId = parseInteger(text.substr(1));
  const MDRData* row = locId ? findNumber(tables, *locId) : nullptr;
  return row ? findObject(tables, textOf(tables.table("Measurement"), row, "KeyLink")) : Object{};
}

// A foreign packed record with its type.
struct BoundRecord {
  MDRType type{};
  MDRData record{};
  bool ok = false;

  explicit BoundRecord(std::string_view body) {
    MDRTypInit(&type);
    MDRRecInit(&record);
    ok = body.size() <= std::numeric_limits<uint32_t>::max() &&
         MDRRecSet(&record, body.data(), static_cast<uint32_t>(body.size())) >= 0 &&
         MDRTypGen(&type, "key", &record) >= 0;
  }
  ~BoundRecord() { MDRTypFree(&type); }
  BoundRecord(const BoundRecord&) = delete;
  BoundRecord& operator=(const BoundRecord&) = delete;

  MDRVar value(const char* name) const { return valueOf(MDRTypFldByName(&type, name), &record); }
};

bool equalValues(const MDRVar& a, const MDRVar& b) {
  if (isNull(a) || isNull(b)) return isNull(a) && isNull(b);
  if (isText(a) || isText(b)) return isText(a) && isText(b) && textOf(a) == textOf(b);
  const auto number = [](const MDRVar& v) {
    return v.type == MDX_DOUBLE ? v.f64 : v.type == MDX_FLOAT ? v.f32 : static_cast<double>(intOf(v).value_or(0));
  };
  return number(a) == number(b);
}

// What "RecByKey" asks for.
struct KeyQuestion {
  const MDArray* array = nullptr;
  int key = 0;
  std::vector<const MDRField*> fields;  // of the key
  std::vector<MDRVar> values;

  Reply read(const ModelTables& tables, const BoundRecord& question) {
    if (!question.ok) return Reply::failure(wire::kMalformed, "RecByKey: not a packed record");
    const std::string_view name = textOf(question.value("tblname"));
    array = tables.table(name);
    if (!array) return unknownTable(name);
    const auto number = intOf(question.value("idxnum"));
    if (!number || *number < 0 || *number >= MDAKeyCount(array))
      return Reply::failure(wire::kUnknownField, "RecByKey: no key of that number");
    key = static_cast<int>(*number);
    std::string expression = MDAKeyExpr(array, key);
    for (size_t at = 0; at <= expression.size();) {
      const size_t end = std::min(expression.find(';', at), expression.size());
      fields.push_back(MDRFldByName(array, expression.substr(at, end - at).c_str()));
      at = end + 1;
    }
    return readValues(question);
  }

  bool matches(const MDRData* record) const {
    for (size_t i = 0; i < fields.size(); ++i) {
      if (!equalValues(valueOf(fields[i], record), values[i])) return false;
    }
    return true;
  }

 private:
  Reply readValues(const BoundRecord& question) {
    for (size_t i = 0; i < fields.size(); ++i) {
      const MDRVar value = question.value(("fld_" + std::to_string(i)).c_str());
      if (value.type == MDX_NONE) return Reply::failure(wire::kMalformed, "RecByKey: a value of the key is missing");
      const bool text = fields[i]->type == MDX_TEXT || fields[i]->type == MDX_MEMO;
      if (!value.isNull && isText(value) != text)
        return Reply::failure(wire::kMalformed, "RecByKey: a value of another type than the key");
      values.push_back(value);
    }
    return {};
  }
};

}  // namespace

Reply tableRecords(const RequestContext& context, std::string_view body) {
  const std::vector<std::string_view> parts = splitAtCommas(bodyText(body));
  const TableDef* def = context.tables.catalogue().table(parts[0]);
  if (!def) return unknownTable(parts[0]);
  const Levels levels(context.tables, *def);
  std::vector<Column> columns;
  for (size_t i = 1; i < parts.size(); ++i) {
    const std::string name(parts[i].substr(0, 64));
    if (!levels.find(name, &columns)) return Reply::failure(wire::kUnknownField, def->name + " has no field " + name);
  }
  if (parts.size() == 1) levels.own(&columns);
  const CMDArray out;
  levels.fill(columns, out.array);
  return arrayReply(context, out.array);
}

Reply tableStructure(const RequestContext& context, std::string_view body) {
  const TableDef* def = context.tables.catalogue().table(bodyText(body));
  if (!def) return unknownTable(bodyText(body));
  const CMDArray out;
  Catalogue::makeFields(*def, out.array);
  return arrayReply(context, out.array);
}

Reply recByKeyLink(const RequestContext& context, std::string_view body) {
  const std::vector<std::string_view> keys = splitAtCommas(bodyText(body));
  if (keys.size() > kMostKeys) return Reply::failure(wire::kTooLarge, "RecByKeyLink: too many keys");
  ObjectRows rows;
  for (const std::string_view key : keys) {
    if (Object object = objectByText(context.tables, key)) rows.add(std::move(object));
  }
  if (rows.empty()) return Reply::failure(wire::kNotFound, "RecByKeyLink: no such object");
  return rows.reply(context);
}

Reply recByKey(const RequestContext& context, std::string_view body) {
  const BoundRecord bound(body);
  KeyQuestion question;
  Reply reply = question.read(context.tables, bound);
  if (reply.status != wire::kOk) return reply;
  int position = 0;
  MDARecSeekV(question.array, question.key, question.values.data(), &position);
  const CMDArray out;
  for (int i = 0; i < MDAFldCount(question.array); ++i) addFieldLike(out.array, MDRFldByNum(question.array, i));
  for (;; ++position) {
    const MDRData* record = MDARec(question.array, question.key, position);
    if (!record || !question.matches(record)) break;
    MDRData* row = MDARecNew(out.array);
    copyRow(record, row);
    MDARecPost(row, nullptr);
  }
  return arrayReply(context, out.array);
}

}  // namespace tlm::server
