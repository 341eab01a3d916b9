#ifndef TLMBENCH_SEARCH_H
#define TLMBENCH_SEARCH_H

#include <bench/bench.h>

namespace tlm::bench {

void addSearchBenches(Registry& registry);

}  // namespace tlm::bench

#endif
