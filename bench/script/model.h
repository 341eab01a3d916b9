// The model of the script benches: a million measurements with their objects, in units of a thousand.
#ifndef TLM_BENCH_SCRIPT_MODEL_H
#define TLM_BENCH_SCRIPT_MODEL_H

#include <TlmServer/ModelTables.h>

#include <string>

namespace tlm::bench {

constexpr int kMeasurements = 1'000'000;
constexpr int kUnitSize = 1000;

std::string keyOf(char kind, int number);  // 32 characters
std::string unitKey(int unit);

// Made once for all script benches, kept to the end.
const server::ModelTables& scriptModel();

// Looks for the first hole by a script of Lua with the table functions bound; 0 when there is none.
class LuaHole {
 public:
  explicit LuaHole(const server::ModelTables& tables);
  ~LuaHole();
  LuaHole(const LuaHole&) = delete;
  LuaHole& operator=(const LuaHole&) = delete;
  long long run();

 private:
  struct Impl;
  Impl* impl_;
};

}  // namespace tlm::bench

#endif
