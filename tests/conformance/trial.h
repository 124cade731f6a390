// Runs one trial and compares it with the reference.
#pragma once

#include <string>

#include "conformance/plan.h"

namespace tarnm::test {

// Empty where the call did what the reference says. `threads`: the answer to every question for the thread count.
std::string runTrial(const Member& member, const reference::Registration& registration, const Trial& trial,
                     int threads);

// The smallest count from which on the call asks for the number of threads, 0 where none up to `limit` does.
int firstParallelCount(const Member& member, const reference::Registration& registration, const Trial& trial,
                       int limit);

// Lets a segmentation fault name the call that was under way.
void reportFaults();

} // namespace tarnm::test
