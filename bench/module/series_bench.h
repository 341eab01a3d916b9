#ifndef TLMBENCH_SERIES_H
#define TLMBENCH_SERIES_H

#include <bench/bench.h>

namespace tlm::bench {

void addSeriesBenches(Registry& registry);

}  // namespace tlm::bench

#endif
