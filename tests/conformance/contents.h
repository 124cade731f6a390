// What stands in the sources of a trial.
#pragma once

#include "conformance/plan.h"

namespace tarnm::test {

// Random numbers everywhere a source is read, then what the family puts there, then special values. The same trial
// has the same contents in every program, on every machine.
void fillSources(Call& call, const reference::Options& options, const Trial& trial);

} // namespace tarnm::test
