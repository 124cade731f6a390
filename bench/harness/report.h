// What a run has found: table, JSON, chart.
//
//   Finding        one row with the times of its contenders
//   tableHead, tableLines
//                  a Markdown table, a line per row and build of ours: times and ratios
//   summary        the ratios in short
//   json           everything measured
//   chart          a line per row, every contender at its time relative to the best peer
//
// All times are nanoseconds per object.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "harness/row.h"

namespace bench {

struct Entrant {
    std::string name;
    Role role;
    double minimum;
    double median;
};

struct Finding {
    std::string row;
    int count;
    int threads;
    double moving;    // what the machine takes for the bytes alone
    double computing; // and for the arithmetic alone
    std::vector<Entrant> entrants;

    double bound() const { return std::max(moving, computing); }

    // The peer that a user would do best with.
    const Entrant& bestPeer() const;
    // The best of several builds of ours.
    const Entrant& ours() const;
};

const char* tableHead();
std::string tableLines(const Finding& finding);
// Geometric mean and extremes of ours / best peer, one line per build of ours, and what a second thread gains.
std::string summary(const std::vector<Finding>& findings);
// `machine` is JSON text.
std::string json(const std::vector<Finding>& findings, const std::string& machine);
std::string chart(const std::vector<Finding>& findings, const std::string& title);

} // namespace bench
