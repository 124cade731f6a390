#include "block_mover_of.h"

BlockMovers singleMovers() { return tarnm::moversOf<float>(); }
