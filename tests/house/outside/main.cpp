// A user of the installed libraries: a table with a key, and a value of the client library.
#include <TlmClient/CLiteModel.h>
#include <TlmClient/CStringParams.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/GenGuid32.h>
#include <TlmClient/TlmSession.h>
#include <TlmMdx/CMDArray.h>

#include <cstring>

int main() {
  CMDArray table;
  MDRFldDesc field{};
  std::strcpy(field.name, "KeyLink");
  field.type = MDX_TEXT;
  field.size = 32;
  if (MDAFldAdd(table.array, 1, &field) < 0 || table.KeyAdd("KeyLink", 0) < 0) return 1;
  const QByteArray key = GenGuid32();
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text = {static_cast<uint32_t>(key.size()), key.constData()};
  MDRData* record = MDARecNew(table.array);
  table.SetVal(record, 0, value);
  table.RecPost(record);
  CStringParams params;
  params.setParams("splitter=abc", ',');
  const bool found = MDARecSeekV(table.array, 0, &value, nullptr) == record;
  return found && params.getValue("splitter", "") == "abc" ? 0 : 1;
}
