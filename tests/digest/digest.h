// One number for all results of a member, and results that can be compared object by object.
#pragma once

#include <cstdint>
#include <vector>

#include "conformance/plan.h"

namespace tarnm::test {

const reference::Options& optionsOf(const Member& member);

// Everything that calls of the member leave in their results, and their statuses, over a fixed set of inputs. The bits
// of a NaN do not count: they are not promised.
std::uint64_t digestOf(const Member& member);

struct Results {
    tarnmStatus status;
    std::vector<std::vector<std::uint64_t>> objects; // the bits of all elements of an object, in all results
};

// The results of a call that has been made.
Results resultsOf(const Call& call, tarnmStatus status);

} // namespace tarnm::test
