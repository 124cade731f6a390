#include "frame/scratch.h"

#include <cstddef>
#include <cstdlib>
#include <limits>

// The allocator of the OpenMP runtime, where the program runs with one that has it. It keeps per-thread pools,
// so that a call per region costs no lock.
extern "C" {
[[gnu::weak]] void* kmpc_malloc(std::size_t size);
[[gnu::weak]] void kmpc_free(void* block);
}

namespace tarnm {
namespace {

bool runtimeAllocates() { return kmpc_malloc != nullptr && kmpc_free != nullptr; }

} // namespace

void* allocateScratch(std::uint64_t bytes)
{
    if (bytes > std::numeric_limits<std::ptrdiff_t>::max()) return nullptr;
    const auto size = static_cast<std::size_t>(bytes);
    return runtimeAllocates() ? kmpc_malloc(size) : std::malloc(size);
}

void releaseScratch(void* block)
{
    if (runtimeAllocates())
        kmpc_free(block);
    else
        std::free(block);
}

} // namespace tarnm
