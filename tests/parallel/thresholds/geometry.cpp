// The homogeneous transform, the one member of the geometry kit that goes to several threads.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t points(const Sizes&, std::int64_t count) { return 6 * count; }

const ThresholdRow homogeneousTransform("AffineTransform3DH", "mva", "S", "32f", points, above(784), above(784));

} // namespace
} // namespace tarnm::test
