// The names of the whole interface, spelled from the table of operations and codes, whether implemented or not.
#pragma once

#include <string>
#include <vector>

namespace tarnm::test {

struct InterfaceName {
    std::string operation, code, type, layout; // layout: S, L, P, or two letters

    std::string text() const; // "tarnmAdd_vav_32f_L"
};

const std::vector<InterfaceName>& interfaceNames();

} // namespace tarnm::test
