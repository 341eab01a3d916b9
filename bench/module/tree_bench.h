#ifndef TLMBENCH_TREE_H
#define TLMBENCH_TREE_H

#include <bench/bench.h>

namespace tlm::bench {

void addTreeBenches(Registry& registry);

}  // namespace tlm::bench

#endif
