#include "progress.h"

#include <cstdio>
#include <utility>

namespace cloud {

Progress::Progress(std::string theWork, std::uint64_t theTotal)
    : work(std::move(theWork))
    , total(theTotal)
    , next(Clock::now() + std::chrono::seconds(1))
{}

void Progress::lookAtClock(std::uint64_t done)
{
    const auto now = Clock::now();
    if (now < next || total == 0) return;
    next = now + std::chrono::seconds(1);
    std::fprintf(stderr, "cloud: %s: %.0f %%\n", work.c_str(),
                 100 * static_cast<double>(done) / static_cast<double>(total));
}

} // namespace cloud
