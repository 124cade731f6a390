// Determinants and inverses.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t orders(const Sizes& s, std::int64_t count) { return at(s, "widthHeight") * count; }
std::int64_t twoOrders(const Sizes& s, std::int64_t count) { return 2 * at(s, "widthHeight") * count; }

const ThresholdRow determinants("Det", "ma", "S L P", "32f 64f", orders, 14401, 14401);

// The entries answer order 1 themselves.
const ThresholdRow inversesS32("Invert", "ma", "S", "32f", twoOrders, 3601, 2501, 2);
const ThresholdRow inversesLP32("Invert", "ma", "L P", "32f", twoOrders, 2501, 2501, 2);
const ThresholdRow inverses64("Invert", "ma", "S L P", "64f", twoOrders, 2501, 2501, 2);

} // namespace
} // namespace tarnm::test
