#include "block_mover_of.h"

BlockMovers doubleMovers() { return tarnm::moversOf<double>(); }
