// Which calls a member is tried with.
#pragma once

#include <vector>

#include "reference/problem.h"
#include "support/call.h"

namespace tarnm::test {

struct Trial {
    Setup setup;
    int caseNumber = 0;
    bool specials = false;
};

// Sizes, counts, memory styles, base addresses, contents and the two inaccessible pages, so that any two choices meet.
std::vector<Trial> planTrials(const Member& member, const reference::Options& options);

// Few sizes in a few styles: for the runs on several threads, whose counts are large.
std::vector<Trial> planTeamTrials(const Member& member, const reference::Options& options);

} // namespace tarnm::test
