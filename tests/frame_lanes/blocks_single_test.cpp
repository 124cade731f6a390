#include "block_cases.h"

namespace tarnm {
namespace {

using Widths = testing::Types<float, lanes<float, 4>, lanes<float, 8>, lanes<float, 16>>;
INSTANTIATE_TYPED_TEST_SUITE_P(Single, Blocks, Widths);

} // namespace
} // namespace tarnm
