// Checks and times the contenders of one row.
//
//   Timing           what one contender took
//   checkResults     every contender leaves the same results, within the row's tolerance
//   measure          many short batches, contenders in turn, so that all meet the same disturbances
#pragma once

#include <string>
#include <vector>

#include "harness/row.h"

namespace bench {

struct Timing {
    double minimum; // seconds per call
    double median;
};

// Empty, or what differs. A row without a peer has nothing to be compared with, which is an error too.
std::string checkResults(const Row& row);

// About `seconds` for the row, and up to five times as long for at least 9 rounds.
std::vector<Timing> measure(const Row& row, double seconds);

// Thread i of the teams to come stays on the i-th processor that the process may use.
void pinThreads(int threads);

} // namespace bench
