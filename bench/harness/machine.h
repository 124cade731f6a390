// What the machine can do at best, measured when it is first asked for.
//
//   Machine    bandwidth by footprint, peak arithmetic
#pragma once

#include <map>
#include <string>
#include <tuple>

namespace bench {

class Machine {
public:
    // Seconds that it takes to move the bytes of a call, which are also its footprint. Threads are taken to disturb each
    // other nowhere.
    double moving(double bytesRead, double bytesWritten, int threads);
    // Seconds for additions and multiplications.
    double computing(double flops, bool isDouble, int threads) { return flops / peak(isDouble) / threads; }

    // Bytes per second of one thread in a loop over `footprint` bytes: `readStreams` arrays that are read, and one that
    // is written or none.
    double bandwidth(double footprint, int readStreams, bool writes);
    // Additions and multiplications per second, fused where the processor can.
    double peak(bool isDouble);

    // Everything measured so far, as JSON.
    std::string json() const;

private:
    using Mix = std::tuple<int /* log2 of footprint */, int, bool>;
    std::map<Mix, double> bandwidths;
    std::map<bool, double> peaks;
};

// As the system tells it.
std::string processorName();

} // namespace bench
