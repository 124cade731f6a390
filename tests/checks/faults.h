// What can be wrong with the arguments of a call.
#pragma once

#include <string>
#include <vector>

#include "support/call.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {

struct Fault {
    int argument;       // which argument is replaced
    Value value;        // and by what
    tarnmStatus status; // what is said of it
    int step;           // when: the place in the order of checks, -1 where the argument is not tested
    bool onlyArrays;    // tested only where count is above 1
    std::string text;
};

// Every fault of every argument, one at a time. `call` is a valid call of the member.
std::vector<Fault> faultsOf(const Call& call);

// The call's arguments with the faults put in.
std::vector<Value> withFaults(const Call& call, std::initializer_list<const Fault*> faults);

} // namespace tarnm::test
