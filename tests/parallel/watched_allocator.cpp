#include "parallel/watched_allocator.h"

#include <cstdlib>

namespace tarnm::test {

Allocations& allocations()
{
    static Allocations counts;
    return counts;
}

void resetAllocations() { allocations() = {}; }

} // namespace tarnm::test

// The names under which the runtime offers them.
extern "C" __attribute__((visibility("default"))) void* kmpc_malloc(std::size_t size)
{
    auto& counts = tarnm::test::allocations();
    ++counts.made;
    counts.lastSize = size;
    counts.lastBlock = counts.fail ? nullptr : std::malloc(size);
    return counts.lastBlock;
}

extern "C" __attribute__((visibility("default"))) void kmpc_free(void* block)
{
    ++tarnm::test::allocations().released;
    std::free(block);
}
