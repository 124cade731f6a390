// The extents of the member table: expressions in a call's sizes, such as "widthHeight * 3" or "(width + 1) * height".
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace tarnm::test {

using Sizes = std::map<std::string, int, std::less<>>;

// Sums, products and parentheses over numbers and names of sizes; `elementSize` stands for the bytes of an element.
// Throws std::invalid_argument for anything else.
std::int64_t evaluateExtent(std::string_view expression, const Sizes& sizes, int elementSize);

} // namespace tarnm::test
