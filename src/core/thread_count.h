// The default number of threads, as a function of what runtime and machine report.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tarncore {

struct RuntimeState {
    int32_t maxThreads;      // of the next parallel region of the calling thread
    int32_t threadLimit;     // of the whole program
    int32_t activeLevel;     // active parallel regions around the calling thread
    int32_t maxActiveLevels; // how many of them the runtime allows
};

// cpuQuota is a number of processors, 0 for no limit.
inline int32_t defaultThreads(const RuntimeState& runtime, int32_t cpuQuota)
{
    if (runtime.activeLevel >= runtime.maxActiveLevels) return 1;
    int32_t threads = std::min(runtime.maxThreads, runtime.threadLimit);
    if (cpuQuota > 0) threads = std::min(threads, cpuQuota);
    return std::max(threads, 1);
}

} // namespace tarncore
