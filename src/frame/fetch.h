// Memory asked for ahead of its use.
//
//   lineBytes    the processor's unit of memory in a cache
//   fetchLine    asks for the line of an address, which need not be one of ours
#pragma once

#include "frame/machine.h"

namespace tarnm {

inline constexpr std::ptrdiff_t lineBytes = 64;

template <bool forWriting, class T> TARNM_INLINE void fetchLine(T* address) { __builtin_prefetch(address, forWriting); }

} // namespace tarnm
