// Looks for what contradicts itself in a model.
#ifndef TLMSERVER_MODELCHECK_H
#define TLMSERVER_MODELCHECK_H

#include <TlmServer/ModelTables.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tlm::server {

struct ModelProblems {
  std::vector<std::string> lines;  // UTF-8, the first ones
  size_t count = 0;                // of all
};

// Keys that are malformed or doubled, objects without one of the rows of their chain or with a class that does
// not fit, links to rows that are not there, numbers that are missing, doubled or point nowhere, and rows that
// are their own ancestors. At most `limit` lines. Requires tables with their keys.
ModelProblems checkModel(const ModelTables& tables, size_t limit);

}  // namespace tlm::server

#endif
