#ifndef TLMBENCH_PASTE_H
#define TLMBENCH_PASTE_H

#include <bench/bench.h>

namespace tlm::bench {

void addPasteBenches(Registry& registry);

}  // namespace tlm::bench

#endif
