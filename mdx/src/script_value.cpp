// CVar: values of scripts and what they own.

#include <cstdlib>
#include <cstring>

#include "array.h"

namespace {

void release(CVar& var) {
  switch (var.type) {
    case CVAR_TEXT:
      std::free(var.text);
      break;
    case CVAR_ARRAY:
      CVarClear(var.items, static_cast<int>(var.length));
      std::free(var.items);
      break;
    case CVAR_TABLE:
      if (var.table) MDADestroy(*var.table);
      std::free(var.table);
      break;
    default:
      break;
  }
}

}  // namespace

void CVarInit(CVar* var, int n) {
  for (int i = 0; var && i < n; ++i) var[i] = CVar{};
}

void CVarClear(CVar* var, int n) {
  for (int i = 0; var && i < n; ++i) {
    release(var[i]);
    var[i] = CVar{};
  }
}

int CVarSetArr(CVar* var, int n) {
  if (!var || n < 0) return MDX_E_ARG;
  auto* items = static_cast<CVar*>(std::calloc(n ? static_cast<size_t>(n) : 1, sizeof(CVar)));
  if (!items) return MDX_E_MEMORY;
  CVarClear(var, 1);
  var->type = CVAR_ARRAY;
  var->length = static_cast<uint32_t>(n);
  var->items = items;
  return MDX_OK;
}

int CVarSetInt(CVar* var, int64_t value) {
  if (!var) return MDX_E_ARG;
  CVarClear(var, 1);
  var->type = CVAR_INT;
  var->i64 = value;
  return MDX_OK;
}

int CVarSetDouble(CVar* var, double value) {
  if (!var) return MDX_E_ARG;
  CVarClear(var, 1);
  var->type = CVAR_DOUBLE;
  var->f64 = value;
  return MDX_OK;
}

int CVarSetStr(CVar* var, const char* text, int length) {
  if (!var || length < 0 || (!text && length)) return MDX_E_ARG;
  auto* copy = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
  if (!copy) return MDX_E_MEMORY;
  if (length) std::memcpy(copy, text, static_cast<size_t>(length));
  copy[length] = 0;
  CVarClear(var, 1);  // only now: the text may be its own
  var->type = CVAR_TEXT;
  var->length = static_cast<uint32_t>(length);
  var->text = copy;
  return MDX_OK;
}

int CVarSetTable(CVar* var, MDArray* table) {
  if (!var || !table) return MDX_E_ARG;
  auto* cell = static_cast<MDArray**>(std::malloc(sizeof(MDArray*)));
  if (!cell) return MDX_E_MEMORY;
  if (var->type == CVAR_TABLE && var->table && *var->table == table) *var->table = nullptr;
  CVarClear(var, 1);
  *cell = table;
  var->type = CVAR_TABLE;
  var->table = cell;
  return MDX_OK;
}
