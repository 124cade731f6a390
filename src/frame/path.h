// Which of a member's serial kernels runs, and in which layout the caller's operands lie. Kernels that differ by
// these take them as template arguments.
#pragma once

namespace tarnm {

enum class Path {
    dense,   // every element stride equals the element size
    strided, // any other element strides
    pointer, // a table of pointers, one per element
    serial,  // families with one kernel for all element strides
};

enum class Layout { standard, pointerList, pointerPerElement };

} // namespace tarnm
