#ifndef TLMBENCH_TREEEVENTS_H
#define TLMBENCH_TREEEVENTS_H

#include <bench/bench.h>

namespace tlm::bench {

void addTreeEventBenches(Registry& registry);

}  // namespace tlm::bench

#endif
