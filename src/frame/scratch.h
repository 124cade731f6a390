// Scratch of a parallel region: one block for the whole team.
#pragma once

#include <cstdint>

namespace tarnm {

// Null where the memory cannot be had; no request of zero bytes is made.
void* allocateScratch(std::uint64_t bytes);
void releaseScratch(void* block);

} // namespace tarnm
