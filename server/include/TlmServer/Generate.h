// Models of any size, made from numbers alone: for benches, tests and "tlmctl generate".
#ifndef TLMSERVER_GENERATE_H
#define TLMSERVER_GENERATE_H

#include <TlmServer/ModelTables.h>

#include <cstdint>
#include <string>

namespace tlm::server {

struct GenerateOptions {
  int units = 150;          // at least 1
  int measurements = 8000;  // spread evenly over the units, in the order of the units
  int withoutUnit = 0;      // how many of them have no unit (null and empty text in turn)
  bool holes = true;        // in the numbers, about one for every 64 measurements
  uint64_t seed = 1;
};

inline constexpr int kMaxGenerated = 20'000'000;  // units or measurements

// Fills empty tables: folders, units, measurements of all four classes and the reference tables of the sample.
// The same options give the same rows in the same order on every machine. Tables without keys (Keys::kLater)
// fill fastest; their keys are left to the caller. False with a message in *error for options out of range and
// when memory runs out.
bool generateModel(const GenerateOptions& options, ModelTables* tables, std::string* error);

}  // namespace tlm::server

#endif
