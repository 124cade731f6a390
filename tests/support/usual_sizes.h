// Sizes to try a member with, unless its reference names others.
#pragma once

#include <vector>

#include "support/extent.h"
#include "support/members.h"

namespace tarnm::test {

// Every entry assigns all size arguments of the member. One empty entry for members without sizes.
std::vector<Sizes> usualSizes(const Member& member);

} // namespace tarnm::test
