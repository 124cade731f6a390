// A small call that no family rejects or fails on: all sizes alike where they may be, sources like identities.
#pragma once

#include "support/call.h"

namespace tarnm::test {

// The simplest style of each operand: packed, or planes in tables of elements.
std::vector<Style> simpleStyles(const Member& member);

// Writes 2 on the diagonals of all sources and 0 elsewhere; index arrays get 0, 1, 2 ...
void fillWithIdentities(Call& call);

// Sizes of 3 where the member allows.
Call validCall(const Member& member, int count);

} // namespace tarnm::test
