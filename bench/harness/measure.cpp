#include "harness/measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <sched.h>

namespace bench {
namespace {

constexpr double shortestBatch = 30e-6; // far above the cost of reading the clock, far below a scheduler's slice
constexpr int fewestRounds = 9;
constexpr int mostRounds = 2001;

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double timeBatch(const Contender& contender, std::int64_t calls)
{
    const double begin = now();
    contender.batch(calls);
    return now() - begin;
}

// Calls that make a batch long enough. Warms up as well.
std::int64_t callsPerBatch(const Contender& contender)
{
    contender.batch(1);
    for (std::int64_t calls = 1;; calls *= 2)
        if (std::min(timeBatch(contender, calls), timeBatch(contender, calls)) >= shortestBatch) return calls;
}

std::size_t bytesOf(const Result& result, int count)
{
    return std::size_t(result.size) * count * (result.isDouble ? sizeof(double) : sizeof(float));
}

std::vector<char> comparedBytes(const Row& row)
{
    std::vector<char> bytes;
    for (const Result& result : row.compared()) {
        const auto* const base = static_cast<const char*>(result.base);
        bytes.insert(bytes.end(), base, base + bytesOf(result, row.count));
    }
    return bytes;
}

// No contender can pass with what another has left.
void poisonResults(const Row& row)
{
    for (const auto* results : {&row.results, &row.comparables})
        for (const Result& result : *results)
            std::memset(result.base, 0xff, bytesOf(result, row.count));
}

template <class T> bool objectsAgree(const char* a, const char* b, int size, int count, double tolerance)
{
    for (std::size_t n = 0; n < std::size_t(count); ++n) {
        double largest = 0, difference = 0;
        bool ordered = true;
        for (int k = 0; k < size; ++k) {
            T x, y;
            std::memcpy(&x, a + (n * size + k) * sizeof(T), sizeof(T));
            std::memcpy(&y, b + (n * size + k) * sizeof(T), sizeof(T));
            ordered = ordered && !std::isunordered(x, y);
            largest = std::max(largest, std::abs(double(x)));
            difference = std::max(difference, std::abs(double(x) - double(y)));
        }
        if (!ordered || difference > tolerance * largest) return false;
    }
    return true;
}

bool resultsAgree(const Row& row, const std::vector<char>& a, const std::vector<char>& b)
{
    std::size_t at = 0;
    for (const Result& result : row.compared()) {
        const double rounding =
            result.isDouble ? std::numeric_limits<double>::epsilon() : std::numeric_limits<float>::epsilon();
        const double tolerance = row.relativeTolerance > 0 ? row.relativeTolerance : 32 * rounding;
        const auto agree = result.isDouble ? objectsAgree<double> : objectsAgree<float>;
        if (!agree(a.data() + at, b.data() + at, result.size, row.count, tolerance)) return false;
        at += bytesOf(result, row.count);
    }
    return true;
}

} // namespace

std::string checkResults(const Row& row)
{
    if (row.compared().empty()) return "has no result";
    std::vector<char> expected;
    std::string first;
    int peers = 0;
    for (const Contender& contender : row.contenders) {
        if (contender.role == Role::floor) continue;
        poisonResults(row);
        if (const tarnmStatus status = contender.once(); status != StatusOk)
            return contender.name + " returns " + std::to_string(status);
        if (contender.convert) contender.convert();
        if (first.empty()) {
            first = contender.name;
            expected = comparedBytes(row);
        } else if (!resultsAgree(row, expected, comparedBytes(row))) {
            return contender.name + " differs from " + first;
        }
        peers += contender.role == Role::peer;
    }
    return peers > 0 ? "" : "has no peer";
}

std::vector<Timing> measure(const Row& row, double seconds)
{
    const std::size_t contenders = row.contenders.size();
    std::vector<std::int64_t> calls;
    for (const Contender& contender : row.contenders)
        calls.push_back(callsPerBatch(contender));

    std::vector<std::vector<double>> times(contenders);
    const double end = now() + seconds;
    // Slow rows get their rounds, but not on a machine so busy that they would take for ever.
    const auto goesOn = [&](int round) {
        return round < 3 || (round < fewestRounds ? now() < end + 4 * seconds : round < mostRounds && now() < end);
    };
    for (int round = 0; goesOn(round); ++round) {
        for (std::size_t i = 0; i < contenders; ++i) {
            // Forwards and backwards and from every beginning: no contender has a fixed neighbour.
            const std::size_t turn = (round % 2 == 0 ? i : contenders - 1 - i) + std::size_t(round) / 2;
            const std::size_t c = turn % contenders;
            times[c].push_back(timeBatch(row.contenders[c], calls[c]) / double(calls[c]));
        }
    }

    std::vector<Timing> timings;
    for (std::vector<double>& t : times) {
        std::sort(t.begin(), t.end());
        timings.push_back({t.front(), t[t.size() / 2]});
    }
    return timings;
}

void pinThreads(int threads)
{
    // Read once: each pinned thread would see only its own processor.
    static const std::vector<int> processors = [] {
        cpu_set_t set;
        CPU_ZERO(&set);
        std::vector<int> allowed;
        if (sched_getaffinity(0, sizeof set, &set) == 0)
            for (int p = 0; p < CPU_SETSIZE; ++p)
                if (CPU_ISSET(p, &set)) allowed.push_back(p);
        return allowed;
    }();
    if (processors.empty()) return;
    const auto pin = [](int thread) {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(processors[std::size_t(thread) % processors.size()], &set);
        sched_setaffinity(0, sizeof set, &set);
    };
    if (threads == 1) {
        pin(0);
        return;
    }
#pragma omp parallel num_threads(threads)
    pin(omp_get_thread_num());
}

} // namespace bench
