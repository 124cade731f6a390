#include "support/usual_sizes.h"

#include <algorithm>
#include <utility>

namespace tarnm::test {
namespace {

const int lengths[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 24, 33};
const int orders[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 16};
const std::pair<int, int> rectangles[] = { // width, height
    {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {8, 8}, {1, 5},  {5, 1},  {2, 3}, {3, 5},
    {4, 3}, {3, 4}, {5, 3}, {6, 4}, {4, 6}, {7, 2}, {8, 3}, {9, 4}, {16, 2}, {17, 3}, {33, 2}};

struct Product { // rows and columns of the result, and the inner size
    int rows, columns, inner;
};
const Product products[] = {{1, 1, 1},  {2, 2, 2},  {3, 3, 3},  {4, 4, 4},   {5, 5, 5},  {6, 6, 6},
                            {7, 7, 7},  {8, 8, 8},  {1, 4, 3},  {4, 1, 3},   {3, 4, 1},  {2, 3, 7},
                            {3, 2, 8},  {4, 5, 9},  {5, 4, 15}, {3, 3, 16},  {4, 3, 17}, {9, 10, 8},
                            {8, 9, 16}, {3, 8, 24}, {17, 5, 3}, {16, 16, 4}, {2, 2, 33}, {6, 3, 3}};

bool has(const Member& member, std::string_view name)
{
    return std::ranges::any_of(member.arguments(), [&](const Argument& argument) { return argument.name == name; });
}

char letterOf(const Member& member, std::string_view name)
{
    for (const Operand& operand : member.operands())
        if (operand.name == name) return operand.letter;
    return 'm';
}

// The sizes of the products describe the matrices as stored.
Sizes productSizes(const Member& member, const Product& product)
{
    Sizes sizes;
    const auto matrix = [&](const std::string& name, int rows, int columns) {
        if (letterOf(member, name) == 't') std::swap(rows, columns);
        sizes[name + "Height"] = rows;
        sizes[name + "Width"] = columns;
    };
    matrix("src1", product.rows, product.inner);
    if (has(member, "src2Width")) matrix("src2", product.inner, product.columns);
    if (has(member, "src2Len")) sizes["src2Len"] = product.inner;
    if (has(member, "src3Len")) sizes["src3Len"] = product.rows;
    return sizes;
}

} // namespace

std::vector<Sizes> usualSizes(const Member& member)
{
    std::vector<Sizes> found;
    if (has(member, "src1Width")) {
        for (const Product& product : products)
            found.push_back(productSizes(member, product));
    } else if (has(member, "height")) {
        const bool notWider = member.operation.substr(0, 2) == "QR";
        for (const auto& [width, height] : rectangles)
            if (!notWider || width <= height) found.push_back({{"width", width}, {"height", height}});
    } else if (has(member, "len")) {
        for (const int length : lengths)
            found.push_back({{"len", length}});
    } else if (has(member, "width")) {
        for (const int order : orders)
            found.push_back({{"width", order}});
    } else if (has(member, "widthHeight")) {
        for (const int order : orders)
            found.push_back({{"widthHeight", order}});
    } else {
        found.push_back({});
    }
    return found;
}

} // namespace tarnm::test
