// Stored procedures.
#include "requests.h"

#include <TlmMdx/CMDArray.h>

#include "records.h"
#include "values.h"

namespace tlm::server {
namespace {

using wire::Reply;

// The first argument as text: the value itself, or the first element of an array.
std::string_view textArgument(const CVar* arguments) {
  if (arguments && arguments->type == CVAR_ARRAY) arguments = arguments->length > 0 ? arguments->items : nullptr;
  if (!arguments || arguments->type != CVAR_TEXT) return {};
  return {arguments->text, arguments->length};
}

void addForm(const MDArray* forms, const MDRData* form, MDArray* out) {
  MDRData* row = MDARecNew(out);
  put(out, row, 0, valueOf(forms, form, "file_"));
  put(out, row, 1, valueOf(forms, form, "caption"));
  put(out, row, 2, valueOf(forms, form, "order_"));
  MDARecPost(row, nullptr);
}

void addForms(const MDArray* forms, std::string_view key, MDArray* out) {
  constexpr int kByObject = 1;
  const MDRVar wanted = textVar(key);
  int position = 0;
  if (key.empty() || !MDARecSeekV(forms, kByObject, &wanted, &position)) return;
  for (const MDRData* form = MDARec(forms, kByObject, position); form && textOf(forms, form, "ObjectKey") == key;
       form = MDARec(forms, kByObject, ++position)) {
    addForm(forms, form, out);
  }
}

// A script value that holds the table and ends with it.
std::string packTable(MDArray* table) {
  CVar value;
  CVarInit(&value, 1);
  CVarSetTable(&value, table);
  std::string packed = packValue(value);
  CVarClear(&value, 1);
  return packed;
}

}  // namespace

// The forms of an object; of a measurement those of its unit too.
Reply objectForms(const RequestContext& context, const CVar* arguments) {
  const std::string_view key = textArgument(arguments);
  if (key.empty()) return Reply::failure(wire::kMalformed, "SrvReq_ObjectForms: expected the key of an object");
  const MDArray* forms = context.tables.table("ObjectForms");
  MDArray* out = nullptr;
  if (MDACreate(&out, 0) < 0) return Reply::failure(wire::kTooLarge, "no memory for the answer");
  static constexpr MDRFldDesc kFields[] = {
      {"file", 0, MDX_MEMO, {}}, {"caption", 0, MDX_MEMO, {}}, {"order", 0, MDX_INT32, {}}};
  for (const MDRFldDesc& field : kFields) MDAFldAdd(out, 1, &field);
  addForms(forms, key, out);
  const MDArray* measurements = context.tables.table("Measurement");
  if (const MDRData* row = seekKey(measurements, key)) addForms(forms, textOf(measurements, row, "RemoteUnitKey"), out);
  return {wire::kOk, packTable(out), std::nullopt};
}

}  // namespace tlm::server
