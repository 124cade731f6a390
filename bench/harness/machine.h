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
    // Seconds that it takes to move the bytes of a call (which are also its footprint) and do its arithmetic.
    double bound(double bytesRead, double bytesWritten, double flops, bool isDouble, int threads);

    // Bytes per second of a loop over `footprint` bytes of `readStreams` arrays that are read and one that is written.
    double bandwidth(double footprint, int readStreams, bool writes, int threads);
    // Additions and multiplications per second, fused where the processor can.
    double peak(bool isDouble);

    // Everything measured so far, as JSON.
    std::string json() const;

private:
    using Mix = std::tuple<int /* log2 of footprint */, int, bool, int>;
    std::map<Mix, double> bandwidths;
    std::map<bool, double> peaks;
};

// As the system tells it.
std::string processorName();

} // namespace bench
