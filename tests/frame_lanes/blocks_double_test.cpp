#include "block_cases.h"

namespace tarnm {
namespace {

using Widths = testing::Types<double, lanes<double, 2>, lanes<double, 4>, lanes<double, 8>>;
INSTANTIATE_TYPED_TEST_SUITE_P(Double, Blocks, Widths);

} // namespace
} // namespace tarnm
