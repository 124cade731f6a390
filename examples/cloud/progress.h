// Signs of life during long work, on standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace cloud {

// Prints a line such as "cloud: reading big.ply: 40 %" once a second. Work of less than a second prints nothing.
class Progress {
public:
    Progress(std::string work, std::uint64_t total);

    // Cheap enough to be called for every point.
    void at(std::uint64_t done)
    {
        if (done % callsBetweenLooks == 0) lookAtClock(done);
    }

    // For steps that are long by themselves.
    void lookAtClock(std::uint64_t done);

private:
    static constexpr std::uint64_t callsBetweenLooks = 1 << 14;
    using Clock = std::chrono::steady_clock;

    std::string work;
    std::uint64_t total;
    Clock::time_point next;
};

} // namespace cloud
