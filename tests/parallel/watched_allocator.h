// Takes the place of the OpenMP runtime's allocator, which the scratch of a team comes from.
#pragma once

#include <cstddef>

namespace tarnm::test {

struct Allocations {
    int made = 0;
    int released = 0;
    std::size_t lastSize = 0;
    void* lastBlock = nullptr;
    bool fail = false;
};

// Counts from the last reset on.
Allocations& allocations();
void resetAllocations();

} // namespace tarnm::test
