// Identity patterns.
//
//   loadIdentities    the kernel of all members
#pragma once

#include "frame/operands.h"
#include "tarnm/tarnm.h"

namespace tarnm {

// Each row is cleared over its width; then the 1 is set, in rows that have a place for it.
template <class D> tarnmStatus loadIdentities(const D& to, std::int32_t rows, std::int32_t columns, Place place)
{
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n) {
        const auto object = to[n];
        for (std::ptrdiff_t r = 0; r < rows; ++r) {
            for (std::ptrdiff_t c = 0; c < columns; ++c)
                object.set(r, c, 0);
            if (r < columns) object.set(r, r, 1);
        }
    }
    return StatusOk;
}

} // namespace tarnm
