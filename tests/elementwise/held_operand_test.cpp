// A result that overlaps the single vector of an array call. Kernels with code of their own for lengths of 3 to 6
// have read the vector before they write the first object; the others read it again for each object.
#include <gtest/gtest.h>

#include "elementwise/member_kinds.h"
#include "support/call.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

constexpr int count = 4;
constexpr int struckObject = 1; // the object of the result that is the single vector itself

// Which kernels hold the single vector, by layout and spacing of the elements.
bool holdsTheVector(const Member& member, bool dense, int length)
{
    if (length < 3 || length > 6 || member.layout == "P") return false;
    if (dense) return true;
    if (member.layout == "L") return member.code != "vav" && member.code != "vava";
    return member.name != "tarnmSub_vva_64f";
}

int singleVector(const Member& member)
{
    for (int i : {0, 1})
        if (member.operands()[i].letter == 'v' && !member.operands()[i].isArray) return i;
    return -1;
}

template <class T> void runStruck(const Member& member, int length, Style style)
{
    const int single = singleVector(member), array = 1 - single, result = 2;
    Call call(member, {.sizes = {{"len", length}}, .count = count, .styles = {style, style, style}});
    // The single vector moves into the result's object; in tables entry by entry.
    Value& pointer = call.value(call.argumentIndex(std::string(member.layout == "P" ? "pp" : "p") +
                                                   (member.operands()[single].name == "src"    ? "Src"
                                                    : member.operands()[single].name == "src1" ? "Src1"
                                                                                               : "Src2")));
    std::vector<std::byte*> table;
    if (member.layout == "P") {
        const auto shift = call.value(call.argumentIndex(std::string(member.operands()[single].name) + "RoiShift"));
        for (int k = 0; k < length; ++k)
            table.push_back(call.address(result, struckObject, 0, k) - shift.integer);
        pointer.pointer = table.data();
    } else {
        pointer.pointer = call.address(result, struckObject, 0, 0);
    }
    std::vector<T> vector(length);
    for (int k = 0; k < length; ++k) {
        vector[k] = T(100) * T(k + 1);
        call.write(result, struckObject, 0, k, vector[k]);
    }
    for (int n = 0; n < count; ++n)
        for (int k = 0; k < call.columns(array); ++k)
            call.write(array, n, 0, k, T(n + 1) + T(k) / 8);

    answerThreadCount({1});
    ASSERT_EQ(call(), StatusOk) << member.name;
    const bool held = holdsTheVector(member, call.isDense(), length);
    std::vector<T> seen = vector;
    for (int n = 0; n < count; ++n) {
        std::vector<T> written(length);
        for (int k = 0; k < length; ++k) {
            const T other = call.read<T>(array, n, 0, member.operands()[array].letter == 'c' ? 0 : k);
            written[k] = single == 0 ? combine(member, seen[k], other) : combine(member, other, seen[k]);
            ASSERT_EQ(call.read<T>(result, n, 0, k), written[k])
                << member.name << ", " << nameOf(style) << ", length " << length << ", object " << n
                << (held ? ": the vector is to be held" : ": the vector is to be read again");
        }
        if (n == struckObject && !held) seen = written;
    }
}

TEST(ElementwiseHeldOperand, IsReadOnceAtLengths3To6AndAgainElsewhere)
{
    int tried = 0;
    for (const Member& member : members()) {
        if (!isElementwise(member) || !isArrayCode(member.code) || !isVectorCode(member.code)) continue;
        if (singleVector(member) < 0) continue;
        // Nothing is promised of multiples in tables.
        if (member.operation == "Mul" && member.layout == "P") continue;
        ++tried;
        const auto styles = member.layout == "P" ? std::vector{Style::planes, Style::scattered}
                                                 : std::vector{Style::packed, Style::padded, Style::strided};
        for (const Style style : styles)
            for (int length = 1; length <= 20; ++length) {
                if (member.type == Type::f32)
                    ASSERT_NO_FATAL_FAILURE(runStruck<float>(member, length, style));
                else
                    ASSERT_NO_FATAL_FAILURE(runStruck<double>(member, length, style));
            }
    }
    // vav and vca of Add, vav, vva, vca and cav of Sub in six members each, vca of Mul in four.
    EXPECT_EQ(tried, 6 * 6 + 4);
}

} // namespace
} // namespace tarnm::test
