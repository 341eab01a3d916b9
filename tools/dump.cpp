#include <TlmMdx/CMDArray.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/CodePage.h>
#include <TlmServer/SqliteStore.h>

#include <charconv>
#include <cstdio>

#include "commands.h"

namespace tlm::ctl {
namespace {

using namespace tlm::server;

void appendEscaped(const std::string& text, std::string* line) {
  for (const char c : text) {
    switch (c) {
      case '\t':
        *line += "\\t";
        break;
      case '\n':
        *line += "\\n";
        break;
      case '\r':
        *line += "\\r";
        break;
      case '\0':
        *line += "\\0";
        break;
      case '\\':
        *line += "\\\\";
        break;
      default:
        *line += c;
    }
  }
}

template <typename Number>
void appendNumber(Number number, std::string* line) {
  char text[32];
  line->append(text, std::to_chars(text, text + sizeof text, number).ptr);
}

// Null is an empty cell, the empty text is "".
void appendValue(const MDRVar& value, std::string* line) {
  if (value.type == MDX_NONE || value.isNull) return;
  switch (value.type) {
    case MDX_BOOL:
      *line += value.flag ? '1' : '0';
      return;
    case MDX_INT32:
      return appendNumber(value.i32, line);
    case MDX_INT64:
      return appendNumber(value.i64, line);
    case MDX_FLOAT:
      return appendNumber(value.f32, line);
    case MDX_DOUBLE:
      return appendNumber(value.f64, line);
    default:
      break;
  }
  if (value.text.length == 0)
    *line += "\"\"";
  else
    appendEscaped(fromCodePage({value.text.data, value.text.length}), line);
}

bool chooseColumns(const TableDef& table, const Arguments& arguments, std::vector<int>* columns, std::string* error) {
  if (!arguments.has("--columns")) {
    for (size_t i = 0; i < table.fields.size(); ++i) columns->push_back(static_cast<int>(i));
    return true;
  }
  std::string rest = arguments.options.at("--columns") + ",";
  for (size_t end = 0; (end = rest.find(',')) != std::string::npos; rest.erase(0, end + 1)) {
    const std::string name = rest.substr(0, end);
    columns->push_back(table.field(name));
    if (columns->back() < 0) return *error = "the table " + table.name + " has no column \"" + name + "\"", false;
  }
  return true;
}

bool writeLine(std::string* line) {
  *line += '\n';
  const bool written = std::fwrite(line->data(), 1, line->size(), stdout) == line->size();
  line->clear();
  return written;
}

// Ends early when the output takes no more; the program tells that of every command.
void writeRows(const MDArray* array, const std::vector<int>& columns) {
  std::string line;
  for (const int column : columns) (line += line.empty() ? "" : "\t") += MDAFldName(array, column);
  bool written = writeLine(&line);
  for (int i = 0, n = MDARecCount(array); written && i < n; ++i) {
    const MDRData* record = MDARec(array, 0, i);
    for (size_t c = 0; c < columns.size(); ++c) {
      if (c > 0) line += '\t';
      MDRVar value{};
      MDRGetVal(MDRFldByNum(array, columns[c]), record, &value);
      appendValue(value, &line);
    }
    written = writeLine(&line);
  }
}

}  // namespace

int dump(const Arguments& arguments) {
  const Catalogue& catalogue = Catalogue::builtIn();
  const std::string& name = arguments.options.at("--table");
  const Command& self = commandOf("dump");
  const TableDef* table = catalogue.table(name);
  if (!table) return misused(self, "there is no table \"" + name + "\"");
  std::vector<int> columns;
  std::string error;
  if (!chooseColumns(*table, arguments, &columns, &error)) return misused(self, error);
  auto store = readSqliteStore(arguments.file, catalogue, &error);
  if (!store) return failed(error);
  CMDArray rows;
  Catalogue::makeFields(*table, rows.array);
  if (Catalogue::describesItself(name))
    catalogue.describe(name, rows.array);
  else if (!store->load(name, rows.array, &error))
    return failed(error);
  store.reset();  // others may have it while the reader of the output takes its time
  writeRows(rows.array, columns);
  return kDone;
}

}  // namespace tlm::ctl
