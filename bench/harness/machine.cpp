#include "harness/machine.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <vector>

#include "harness/memory.h"
#include "harness/row.h"

namespace bench {
namespace {

// The widest registers that this source is compiled for.
constexpr int registerBytes = __BIGGEST_ALIGNMENT__;
template <class T> struct Register;
template <> struct Register<float> {
    typedef float type __attribute__((vector_size(registerBytes)));
};
template <> struct Register<double> {
    typedef double type __attribute__((vector_size(registerBytes)));
};
using Floats = Register<float>::type;

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

// The best of many short trials, in units of `work` per second.
template <class Trial> double best(double work, Trial trial)
{
    trial();
    double shortest = 1e9;
    const double end = now() + 0.03;
    for (int round = 0; round < 5 || now() < end; ++round) {
        const double begin = now();
        trial();
        shortest = std::min(shortest, now() - begin);
    }
    return work / shortest;
}

template <int readStreams, bool writes>
[[gnu::noinline]] void stream(const Floats* a, const Floats* b, Floats* d, std::ptrdiff_t n)
{
    Floats sum0 = {}, sum1 = {}, sum2 = {}, sum3 = {};
#pragma GCC unroll 4
#pragma GCC ivdep
    for (std::ptrdiff_t i = 0; i < n; i += 4) {
        Floats x[4];
        for (int k = 0; k < 4; ++k)
            x[k] = readStreams == 1 ? a[i + k] : a[i + k] + b[i + k];
        if constexpr (writes) {
            for (int k = 0; k < 4; ++k)
                d[i + k] = readStreams == 1 ? x[k] + x[k] : x[k];
        } else {
            sum0 += x[0], sum1 += x[1], sum2 += x[2], sum3 += x[3];
        }
    }
    sum0 += sum1 + sum2 + sum3;
    asm volatile("" ::"m"(sum0) : "memory");
}

template <class T> double measurePeak()
{
    using V = typename Register<T>::type;
    constexpr int chains = 12; // hides the latency of the arithmetic, and fits the registers
    constexpr int steps = 20000;
    V x[chains] = {}, factor = {}, term = {};
    for (std::size_t l = 0; l < registerBytes / sizeof(T); ++l)
        factor[l] = T(0.999), term[l] = T(0.001);
    const double flops = double(registerBytes) / sizeof(T) * chains * steps * 2;
    return best(flops, [&] {
        for (int s = 0; s < steps; ++s) {
            for (V& chain : x)
                chain = chain * factor + term;
        }
        asm volatile("" : "+m"(x) : : "memory");
    });
}

} // namespace

double Machine::bandwidth(double footprint, int readStreams, bool writes)
{
    const int level = std::clamp(int(std::lround(std::log2(footprint))), 12, 31);
    double& known = bandwidths[{level, readStreams, writes}];
    if (known > 0) return known;

    const int streams = readStreams + int(writes);
    constexpr std::ptrdiff_t step = 4;
    const std::ptrdiff_t length = (std::ptrdiff_t(1) << level) / streams / std::ptrdiff_t(sizeof(Floats)) / step * step;
    const std::size_t bytes = std::size_t(length) * sizeof(Floats);
    Memory memory(0);
    Floats* operands[3];
    for (Floats*& operand : operands) {
        operand = static_cast<Floats*>(memory.take(bytes));
        std::fill_n(reinterpret_cast<float*>(operand), bytes / sizeof(float), 1.0f);
    }

    const auto run = readStreams == 1 ? (writes ? stream<1, true> : stream<1, false>)
                                      : (writes ? stream<2, true> : stream<2, false>);
    const int repeats = std::max(1, int(100e3 / double(bytes)));
    known = best(double(bytes) * streams * repeats, [&] {
        for (int r = 0; r < repeats; ++r)
            run(operands[0], operands[1], operands[2], length);
    });
    return known;
}

double Machine::peak(bool isDouble)
{
    double& known = peaks[isDouble];
    if (known == 0) known = isDouble ? measurePeak<double>() : measurePeak<float>();
    return known;
}

double Machine::moving(double bytesRead, double bytesWritten, int threads)
{
    const double bytes = bytesRead + bytesWritten;
    // The mix of reads and writes that comes nearest.
    const double written = bytesWritten / bytes;
    return bytes / bandwidth(bytes / threads, written > 0.4 ? 1 : 2, written > 0.15) / threads;
}

std::string Machine::json() const
{
    std::string text = "{\"processor\": \"" + processorName() + "\", \"compiler\": \"" BENCH_COMPILER "\"";
    char number[200];
    for (const auto& [isDouble, flops] : peaks) {
        std::snprintf(number, sizeof number, ", \"peak_gflops_%s\": %.1f", isDouble ? "64f" : "32f", flops / 1e9);
        text += number;
    }
    text += ", \"bandwidths\": [";
    const char* separator = "";
    for (const auto& [mix, bytesPerSecond] : bandwidths) {
        const auto [level, readStreams, writes] = mix;
        std::snprintf(number, sizeof number,
                      "%s{\"footprint_bytes\": %lld, \"read_streams\": %d, \"write_streams\": %d, "
                      "\"gb_per_s\": %.1f}",
                      separator, 1LL << level, readStreams, int(writes), bytesPerSecond / 1e9);
        text += number;
        separator = ", ";
    }
    return text + "]}";
}

std::string processorName()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name") && line.find(": ") != std::string::npos)
            return line.substr(line.find(": ") + 2);
    return "unknown processor";
}

} // namespace bench
