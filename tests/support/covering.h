// Combinations for tests whose full product is too large.
#pragma once

#include <vector>

namespace tarnm::test {

// Rows of one level per factor (0 .. levels[i] - 1), such that any two levels of any two factors meet in some row.
// The same for every run.
std::vector<std::vector<int>> coverPairs(const std::vector<int>& levels);

} // namespace tarnm::test
