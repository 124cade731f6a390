// In which order a member tests its arguments, written down apart from the table that the library is made from.
//
//   N null pointers   C count   Z sizes   M agreement of sizes   S strides   R roi shifts
//   O object strides, tested only where count is above 1; S then leaves them out
//   a following s or d restricts S and R to the source or the destinations
#pragma once

#include <string>
#include <string_view>

namespace tarnm::test {

struct Name {
    std::string_view operation, code, type, layout; // "Add", "vav", "32f", "S"; Copy has two letters of layout
};

// Steps separated by blanks, such as "N Z C Rs Ss Rd Sd"; empty for the fixed forms that test nothing.
// Throws std::invalid_argument for a name that no rule covers.
std::string orderOfChecks(const Name& name);

// Arguments that a member accepts whatever their value, though its siblings test them.
bool isDeliberateGap(const Name& name, std::string_view argument);

} // namespace tarnm::test
