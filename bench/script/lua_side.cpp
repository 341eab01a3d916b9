// The same walk in Lua 5.4, with the same functions bound: tables, records and fields by name. Tables and
// records are light user data, as cheap as a binding can be; the field is looked up by its name, as the
// function's contract has it.
#include "model.h"

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

#include <TlmMdx/mdx.h>

namespace tlm::bench {
namespace {

constexpr char kScript[] = R"(
local Result = 0
local t_meas = ModelTableByName("Measurement")
local n = CTblRecCount(t_meas)
if n == 0 then return 0 end
local rec = CTblRec(t_meas, 1, 0)
local val = CRecFldGet(rec, "locId")
if type_(val) ~= var_Int then return 0 end
local vPrev = int(val)
local idx = 1
while idx < n do
  rec = CTblRec(t_meas, 1, idx)
  val = CRecFldGet(rec, "locId")
  if type_(val) ~= var_Int then break end
  local v = int(val)
  if v - vPrev > 1 then return vPrev + 1 end
  vPrev = v
  idx = idx + 1
end
return 0
)";

int modelTableByName(lua_State* lua) {
  const auto* tables = static_cast<const server::ModelTables*>(lua_touserdata(lua, lua_upvalueindex(1)));
  lua_pushlightuserdata(lua, tables->table(luaL_checkstring(lua, 1)));
  return 1;
}

int recCount(lua_State* lua) {
  lua_pushinteger(lua, MDARecCount(static_cast<MDArray*>(lua_touserdata(lua, 1))));
  return 1;
}

int rec(lua_State* lua) {
  MDRData* record = MDARec(static_cast<MDArray*>(lua_touserdata(lua, 1)), static_cast<int>(luaL_checkinteger(lua, 2)),
                           static_cast<int>(luaL_checkinteger(lua, 3)));
  if (record)
    lua_pushlightuserdata(lua, record);
  else
    lua_pushnil(lua);
  return 1;
}

int fldGet(lua_State* lua) {
  const auto* record = static_cast<const MDRData*>(lua_touserdata(lua, 1));
  MDRVar var{};
  if (record) MDRGetVal(MDRFldByName(MDROwner(record), luaL_checkstring(lua, 2)), record, &var);
  if (var.type == MDX_NONE || var.isNull) {
    lua_pushnil(lua);
  } else if (var.type == MDX_TEXT || var.type == MDX_MEMO) {
    lua_pushlstring(lua, var.text.data, var.text.length);
  } else if (var.type == MDX_DOUBLE) {
    lua_pushnumber(lua, var.f64);
  } else {
    lua_pushinteger(lua, var.type == MDX_INT64 ? int64_t{var.i64} : var.type == MDX_INT32 ? var.i32 : var.flag);
  }
  return 1;
}

int typeOf(lua_State* lua) {
  lua_pushinteger(lua, lua_isinteger(lua, 1) ? 1 : lua_type(lua, 1) == LUA_TSTRING ? 3 : 0);
  return 1;
}

int toInt(lua_State* lua) {
  lua_pushinteger(lua, luaL_checkinteger(lua, 1));
  return 1;
}

}  // namespace

struct LuaHole::Impl {
  lua_State* lua = luaL_newstate();
};

LuaHole::LuaHole(const server::ModelTables& tables) : impl_(new Impl) {
  lua_State* lua = impl_->lua;
  luaL_openlibs(lua);
  lua_pushlightuserdata(lua, const_cast<server::ModelTables*>(&tables));
  lua_pushcclosure(lua, modelTableByName, 1);
  lua_setglobal(lua, "ModelTableByName");
  lua_register(lua, "CTblRecCount", recCount);
  lua_register(lua, "CTblRec", rec);
  lua_register(lua, "CRecFldGet", fldGet);
  lua_register(lua, "type_", typeOf);
  lua_register(lua, "int", toInt);
  lua_pushinteger(lua, 1);
  lua_setglobal(lua, "var_Int");
  luaL_loadstring(lua, kScript);
}

LuaHole::~LuaHole() {
  lua_close(impl_->lua);
  delete impl_;
}

long long LuaHole::run() {
  lua_State* lua = impl_->lua;
  lua_pushvalue(lua, -1);
  if (lua_pcall(lua, 0, 1, 0) != LUA_OK) return -1;
  const long long result = lua_tointeger(lua, -1);
  lua_pop(lua, 1);
  return result;
}

}  // namespace tlm::bench
