#include "support/styles.h"

#include <algorithm>

namespace tarnm::test {
namespace {

std::int64_t roundedUp(std::int64_t bytes, std::int64_t multiple)
{
    return (bytes + multiple - 1) / multiple * multiple;
}

} // namespace

std::string_view nameOf(Style style)
{
    switch (style) {
    case Style::packed:
        return "packed";
    case Style::padded:
        return "padded";
    case Style::rowsOf16:
        return "rows of 16 bytes";
    case Style::rowsOf32:
        return "rows of 32 bytes";
    case Style::interleavedRows:
        return "interleaved rows";
    case Style::overlapped:
        return "overlapped";
    case Style::strided:
        return "strided";
    case Style::columnOrder:
        return "column order";
    case Style::interleavedObjects:
        return "interleaved objects";
    case Style::planes:
        return "planes";
    case Style::paddedPlanes:
        return "padded planes";
    case Style::runs:
        return "runs";
    case Style::scattered:
        return "scattered";
    case Style::repeated:
        return "repeated";
    }
    return "?";
}

Strides stridesOf(Style style, int rows, int columns, int count, int elementSize)
{
    const std::int64_t e = elementSize;
    const std::int64_t row = columns * e;
    switch (style) {
    case Style::padded:
        return {rows * (row + 3 * e) + 5 * e, row + 3 * e, e};
    case Style::rowsOf16:
        return {rows * roundedUp(row, 16), roundedUp(row, 16), e};
    case Style::rowsOf32:
        return {rows * roundedUp(row, 32), roundedUp(row, 32), e};
    case Style::interleavedRows:
        return {row, row * count, e};
    case Style::overlapped:
        return {e, row, e};
    case Style::strided:
        return {rows * (2 * row + e) + e, 2 * row + e, 2 * e};
    case Style::columnOrder:
        return {rows * row, e, rows * e};
    case Style::interleavedObjects:
        return {e, row * count, e * count};
    default:
        return {rows * row, row, e};
    }
}

} // namespace tarnm::test
