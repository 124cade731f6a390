// Which square matrices have code of their own, member by member. It shows in the sign of a sum of negative zeros: such
// code begins with the first product and gives -0, all other code begins with 0 and gives +0.
#include <algorithm>
#include <cmath>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "support/call.h"
#include "support/members.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

// The largest order with code of its own, from 3 on, where it is not 6; 0 for none.
const std::map<std::string, int> packedExceptions = {
    {"tarnmMul_tm_32f", 5}, {"tarnmMul_mta_32f_L", 0}, {"tarnmMul_tta_32f_L", 0}, {"tarnmMul_tta_64f_L", 0}};
const std::map<std::string, int> stridedExceptions = {
    {"tarnmMul_mama_32f", 5},  {"tarnmMul_mat_32f", 3},   {"tarnmMul_tam_32f", 3},  {"tarnmMul_mam_32f_L", 3},
    {"tarnmMul_mat_32f_L", 3}, {"tarnmMul_tam_32f_L", 3}, {"tarnmMul_tat_32f_L", 3}};
const std::map<std::string, int> tableExceptions = {
    {"tarnmMul_mam_32f_P", 3}, {"tarnmMul_mat_32f_P", 3}, {"tarnmMul_tam_32f_P", 3}};

std::vector<const Member*> productMembers()
{
    std::vector<const Member*> found;
    for (const Member& member : members())
        if ((member.operation == "Mul" && member.code.find_first_of("c4") == member.code.npos) ||
            member.operation == "Gaxpy")
            found.push_back(&member);
    return found;
}

template <class T> bool keepsNegativeZero(const Member& member, int order, Style style)
{
    Setup setup;
    for (const Argument& argument : member.arguments())
        if (argument.kind == Kind::size) setup.sizes[std::string(argument.name)] = order;
    setup.count = member.code.find('a') == member.code.npos ? 1 : 3;
    setup.styles.assign(member.operands().size(), style);
    Call call(member, setup);
    const auto operands = member.operands();
    for (int i = 0; i < int(operands.size()); ++i)
        for (int n = 0; n < call.objects(i); ++n)
            for (int r = 0; r < call.rows(i); ++r)
                for (int c = 0; c < call.columns(i); ++c)
                    call.write(i, n, r, c, operands[i].name == "src2" ? T(1) : T(-0.0));
    EXPECT_EQ(call(), StatusOk) << member.name;
    const int result = call.operandIndex("dst");
    int negative = 0, all = 0;
    for (int n = 0; n < call.objects(result); ++n)
        for (int r = 0; r < call.rows(result); ++r)
            for (int c = 0; c < call.columns(result); ++c) {
                const T value = call.template read<T>(result, n, r, c);
                EXPECT_EQ(value, 0) << member.name;
                negative += std::signbit(value);
                ++all;
            }
    EXPECT_TRUE(negative == 0 || negative == all) << member.name << " order " << order;
    return negative != 0;
}

void expectCases(const Member& member, Style style, const std::map<std::string, int>& exceptions)
{
    const auto exception = exceptions.find(std::string(member.name));
    const int largest = exception == exceptions.end() ? 6 : exception->second;
    for (int order = 1; order <= 8; ++order) {
        const bool keeps = member.type == Type::f32 ? keepsNegativeZero<float>(member, order, style)
                                                    : keepsNegativeZero<double>(member, order, style);
        EXPECT_EQ(keeps, order >= 3 && order <= largest) << member.name << " order " << order;
    }
}

TEST(Cases, AreThoseOfTheMember)
{
    answerThreadCount({1});
    const auto found = productMembers();
    EXPECT_EQ(found.size(), 148u);
    for (const Member* member : found)
        if (member->layout == "P")
            expectCases(*member, Style::runs, tableExceptions);
        else {
            expectCases(*member, Style::packed, packedExceptions);
            expectCases(*member, Style::strided, stridedExceptions);
        }
}

} // namespace
} // namespace tarnm::test
