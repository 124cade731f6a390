// From which amount of work on an array call goes to several threads, written down apart from the table that the
// library is made from.
//
//   ThresholdRow    one statement about some members; a family adds a source in tests/parallel/thresholds
//   isAlwaysSerial  members with objects to share out that never do
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/extent.h"
#include "support/members.h"

namespace tarnm::test {

using Measure = std::int64_t (*)(const Sizes& sizes, std::int64_t count);

struct ThresholdRow {
    // `codes`, `layouts` and `types` are blank separated lists. `dense` and `other`: the smallest measure that goes
    // to several threads, with element strides that all equal the element size and otherwise. `smallest`: sizes
    // below it are answered without a look at the measure.
    ThresholdRow(std::string_view operation, std::string_view codes, std::string_view layouts, std::string_view types,
                 Measure measure, std::int64_t dense, std::int64_t other, int smallest = 1);

    std::string operation;
    std::vector<std::string> codes, layouts, types;
    Measure measure;
    std::int64_t dense, other;
    int smallest;

    bool covers(const Member& member) const;
};

// The first value that is above a limit.
constexpr std::int64_t above(std::int64_t limit) { return limit + 1; }

inline std::int64_t at(const Sizes& sizes, std::string_view name) { return sizes.find(name)->second; }

std::vector<const ThresholdRow*> thresholdsOf(const Member& member);
bool isAlwaysSerial(const Member& member);

} // namespace tarnm::test
