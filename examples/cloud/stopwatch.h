// Adds the nanoseconds of its life to a total.
#pragma once

#include <chrono>

namespace cloud {

class Stopwatch {
public:
    explicit Stopwatch(double& total)
        : total(total)
    {}
    ~Stopwatch() { total += std::chrono::duration<double, std::nano>(Clock::now() - start).count(); }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    double& total;
    Clock::time_point start = Clock::now();
};

} // namespace cloud
