#include "frame/parallel.h"

#include <algorithm>
#include <omp.h>

#include "frame/scratch.h"
#include "tarncore/tarncore.h"

namespace tarnm {
namespace {

// The block is released on every way out of the region.
class TeamScratch {
public:
    TeamScratch(std::int32_t threads, std::uint64_t bytesPerThread)
        : slotSize(bytesPerThread)
        , block(slotSize > 0 ? allocateScratch(slotSize * std::uint64_t(threads)) : nullptr)
    {}
    ~TeamScratch()
    {
        if (block != nullptr) releaseScratch(block);
    }
    TeamScratch(const TeamScratch&) = delete;
    TeamScratch& operator=(const TeamScratch&) = delete;

    bool missing() const { return slotSize > 0 && block == nullptr; }
    void* slot(std::int32_t thread) const
    {
        return block == nullptr ? nullptr : static_cast<char*>(block) + slotSize * std::uint64_t(thread);
    }

private:
    std::uint64_t slotSize;
    void* block;
};

tarnmStatus runRegion(std::int32_t threads, std::int32_t count, Merge merge, const TeamScratch& scratch,
                      SliceFunction slice)
{
    tarnmStatus status = StatusOk;
    std::int32_t teamSize = 1;
#pragma omp parallel num_threads(threads) default(none) shared(status, teamSize, scratch)                              \
    firstprivate(count, merge, slice)
    {
        // The split follows the size that the team really got.
#pragma omp master
        teamSize = omp_get_num_threads();
#pragma omp barrier
        const std::int32_t thread = omp_get_thread_num();
        const tarnmStatus ours = slice(sliceOf(count, teamSize, thread), scratch.slot(thread));
        if (merge == Merge::firstFailure) {
#pragma omp critical(tarnmStatusMerge)
            if (status == StatusOk) status = ours;
        }
    }
    return status;
}

} // namespace

Place sliceOf(std::int32_t count, std::int32_t teamSize, std::int32_t thread)
{
    const std::int32_t chunk = count / teamSize;
    const std::int32_t rest = count % teamSize;
    if (thread < rest) return {thread * (chunk + 1), chunk + 1, count};
    return {(thread - rest) * chunk + rest * (chunk + 1), chunk, count};
}

tarnmStatus forkOverThreads(std::int32_t threads, std::int32_t count, Merge merge, std::uint64_t scratchPerThread,
                            void* serialScratch, SliceFunction slice)
{
    const TeamScratch scratch(threads, scratchPerThread);
    if (scratch.missing()) return slice(Place::whole(count), serialScratch);

    // The number may have changed since; the scratch is sized for the first answer.
    const std::int32_t requested = std::clamp(ownGetNumThreads(), std::int32_t(1), threads);
    return runRegion(requested, count, merge, scratch, slice);
}

} // namespace tarnm
