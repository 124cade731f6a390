// Which element-wise members a test is about.
#pragma once

#include <string_view>

#include "support/members.h"

namespace tarnm::test {

inline bool isElementwise(const Member& member)
{
    const auto operation = member.operation, code = member.code;
    if (code.find_first_of("234") != code.npos) return false;
    return operation == "Add" || operation == "Sub" || (operation == "Mul" && code.find('c') != code.npos);
}

inline bool isArrayCode(std::string_view code) { return code.find('a') != code.npos; }
inline bool isVectorCode(std::string_view code) { return code.find_first_of("mt") == code.npos; }

// One operation on two elements, as the member's operation and code say. `first` is the operand that stands first
// in the argument list.
template <class T> T combine(const Member& member, T first, T second)
{
    if (member.operation == "Add") return first + second;
    if (member.operation == "Mul") return first * second;
    return member.code.front() == 'c' ? second - first : first - second;
}

} // namespace tarnm::test
