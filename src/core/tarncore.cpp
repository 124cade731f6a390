// The four exports. Nothing thrown below may reach a C caller: what cannot be read is treated as not known.
#include <tarncore/tarncore.h>

#include "cache_size.h"
#include "cpu_quota.h"
#include "thread_count.h"

#include <atomic>

#include <omp.h>

namespace {

constexpr int32_t Ok = 0;
constexpr int32_t BadSize = -6;
constexpr int32_t NullPointer = -8;

// 0 while the default holds.
std::atomic<int32_t> numThreadsSet{0};

int32_t readCpuQuota() noexcept
{
    try {
        return tarncore::cpuQuota("");
    } catch (...) {
        return 0;
    }
}

int32_t readMaxCacheSize() noexcept
{
    try {
        const int32_t size = tarncore::cacheSizeFromLibrary();
        return size > 0 ? size : tarncore::cacheSizeFromKernel("");
    } catch (...) {
        return 0;
    }
}

// Both queries inline it: one that called the other would do so through the table of the dynamic linker.
inline int32_t numThreads()
{
    const int32_t set = numThreadsSet.load(std::memory_order_relaxed);
    if (set > 0) return set;
    static const int32_t quota = readCpuQuota();
    return tarncore::defaultThreads({.maxThreads = omp_get_max_threads(),
                                     .threadLimit = omp_get_thread_limit(),
                                     .activeLevel = omp_get_active_level(),
                                     .maxActiveLevels = omp_get_max_active_levels()},
                                    quota);
}

} // namespace

int32_t tarnSetNumThreads(int32_t numThreads)
{
    if (numThreads < 0) return BadSize;
    numThreadsSet.store(numThreads, std::memory_order_relaxed);
    return Ok;
}

int32_t tarnGetNumThreads(void) { return numThreads(); }

int32_t tarnGetMaxCacheSizeB(int32_t* size)
{
    if (!size) return NullPointer;
    static const int32_t largest = readMaxCacheSize();
    *size = largest;
    return Ok;
}

int32_t ownGetNumThreads(void) { return numThreads(); }
