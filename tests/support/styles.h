// The ways in which a test lays out an operand in memory.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarnm::test {

enum class Style {
    // Element stride equal to the element size.
    packed,
    padded,          // gaps behind rows and objects
    rowsOf16,        // rows and objects start every multiple of 16 bytes
    rowsOf32,        // and of 32
    interleavedRows, // row 0 of all objects, then row 1 of all objects, ...
    overlapped,      // each object begins one element behind the one before: sources only
    // Other element strides.
    strided,            // every second element
    columnOrder,        // columns are contiguous
    interleavedObjects, // element (0, 0) of all objects, then element (0, 1) of all objects, ...
    // Tables of pointers, one per element.
    planes,       // the same elements of all objects stand together
    paddedPlanes, // with gaps
    runs,         // objects are packed
    scattered,    // elements in no order, gaps between the objects
    repeated,     // several entries are equal: sources only
};

std::string_view nameOf(Style style);

// Byte distances of an operand that is laid out with strides.
struct Strides {
    std::int64_t object;
    std::int64_t row;
    std::int64_t element;
};

Strides stridesOf(Style style, int rows, int columns, int count, int elementSize);

} // namespace tarnm::test
