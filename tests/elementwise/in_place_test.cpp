// A result that is the same memory as a source: every member, every layout.
#include <gtest/gtest.h>

#include "elementwise/member_kinds.h"
#include "support/call.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

// The operands of a member in the order of its list; the third is the result.
constexpr int resultOperand = 2;

template <class T> T before(const Call& call, int operand, int n, int r, int c)
{
    const Operand& o = call.member().operands()[operand];
    if (o.letter == 'c' && !o.isArray) return valueAs<T>(call.value(call.argumentIndex(o.name)));
    if (o.letter == 'c') return call.before<T>(operand, n, 0, 0);
    return o.letter == 't' ? call.before<T>(operand, n, c, r) : call.before<T>(operand, n, r, c);
}

template <class T> void fill(Call& call)
{
    const auto operands = call.member().operands();
    T next = T(1.25);
    for (int i = 0; i < resultOperand; ++i) {
        if (operands[i].letter == 'c' && !operands[i].isArray) {
            Value& value = call.value(call.argumentIndex(operands[i].name));
            if constexpr (sizeof(T) == 4)
                value.single = T(3.5);
            else
                value.real = T(3.5);
            continue;
        }
        for (int n = 0; n < call.objects(i); ++n)
            for (int r = 0; r < call.rows(i); ++r)
                for (int c = 0; c < call.columns(i); ++c) {
                    call.write(i, n, r, c, next);
                    // Back to the start long before a difference of infinities.
                    next = next > T(1000) ? T(1.25) : next * T(1.01) + T(0.75);
                }
    }
}

// Gives the result the pointer, strides and shift of a source.
void shareMemory(Call& call, int source)
{
    const auto arguments = call.member().arguments();
    for (int i = 0; i < int(arguments.size()); ++i) {
        if (arguments[i].operand != resultOperand) continue;
        for (int k = 0; k < int(arguments.size()); ++k)
            if (arguments[k].operand == source && arguments[k].kind == arguments[i].kind) call.value(i) = call.value(k);
    }
}

template <class T> void runInPlace(const Member& member, int source, const Sizes& sizes, int count, Style style)
{
    Call call(member, {.sizes = sizes, .count = count, .styles = {style, style, style}, .offset = 4});
    fill<T>(call);
    shareMemory(call, source);
    call.remember();
    ASSERT_EQ(call(), StatusOk) << member.name;
    for (int n = 0; n < call.objects(resultOperand); ++n)
        for (int r = 0; r < call.rows(resultOperand); ++r)
            for (int c = 0; c < call.columns(resultOperand); ++c)
                ASSERT_EQ(call.read<T>(source, n, r, c),
                          combine(member, before<T>(call, 0, n, r, c), before<T>(call, 1, n, r, c)))
                    << member.name << " in place of operand " << source << ", " << call.setup().text();
}

// A source can take the result if it has the result's objects, shape and layout.
bool canHoldTheResult(const Member& member, int source)
{
    const Operand &from = member.operands()[source], &to = member.operands()[resultOperand];
    return from.letter == to.letter && from.isArray == to.isArray && from.layout == to.layout;
}

TEST(ElementwiseInPlace, AResultMayBeASource)
{
    int tried = 0;
    for (const Member& member : members()) {
        if (!isElementwise(member)) continue;
        for (const int source : {0, 1}) {
            if (!canHoldTheResult(member, source)) continue;
            ++tried;
            const bool isTable = member.layout == "P";
            for (const int size : {1, 2, 3, 4, 5, 6, 7, 8, 17, 40})
                for (const int count : {1, 2, 5, 16, 33})
                    for (const Style style : isTable ? std::vector{Style::planes, Style::scattered, Style::runs}
                                                     : std::vector{Style::packed, Style::padded, Style::strided}) {
                        if (!isArrayCode(member.code) && count > 1) continue;
                        const Sizes sizes = isVectorCode(member.code)
                                                ? Sizes{{"len", size}}
                                                : Sizes{{"width", size}, {"height", (size + 3) / 2}};
                        answerThreadCount({1});
                        if (member.type == Type::f32)
                            ASSERT_NO_FATAL_FAILURE(runInPlace<float>(member, source, sizes, count, style));
                        else
                            ASSERT_NO_FATAL_FAILURE(runInPlace<double>(member, source, sizes, count, style));
                    }
        }
    }
    EXPECT_GT(tried, 100);
}

// Objects that are the same memory as their source do not meet those of other threads.
TEST(ElementwiseInPlace, AResultMayBeASourceOnSeveralThreads)
{
    for (const Member& member : members()) {
        if (!isElementwise(member) || !isArrayCode(member.code) || !canHoldTheResult(member, 0)) continue;
        const Sizes sizes = isVectorCode(member.code) ? Sizes{{"len", 4}} : Sizes{{"width", 3}, {"height", 3}};
        const Style style = member.layout == "P" ? Style::planes : Style::packed;
        answerThreadCount({3});
        if (member.type == Type::f32)
            ASSERT_NO_FATAL_FAILURE(runInPlace<float>(member, 0, sizes, 2500, style));
        else
            ASSERT_NO_FATAL_FAILURE(runInPlace<double>(member, 0, sizes, 2500, style));
        EXPECT_EQ(threadCountQueries(), member.name == "tarnmSub_vva_64f_P" ? 0 : 2) << member.name;
    }
    answerThreadCount({1});
}

} // namespace
} // namespace tarnm::test
