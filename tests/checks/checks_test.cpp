// What a call with bad arguments answers: every fault of every argument, and which of two faults is told.
#include <gtest/gtest.h>

#include "checks/faults.h"
#include "checks/orders.h"
#include "support/call.h"
#include "support/interface_names.h"
#include "support/members.h"
#include "support/valid_call.h"

namespace tarnm::test {
namespace {

bool isValidationStatus(tarnmStatus status)
{
    return status == StatusNullPointer || status == StatusBadCount || status == StatusBadSize ||
           status == StatusSizeMismatch || status == StatusBadStride || status == StatusBadRoiShift;
}

class Checks : public testing::TestWithParam<const Member*> {
protected:
    // Runs the call with these faults and compares its status and that it wrote nothing.
    static void expectStatus(Call& call, std::initializer_list<const Fault*> faults, tarnmStatus expected)
    {
        const std::vector<Value> values = withFaults(call, faults);
        const tarnmStatus status = call.member()(values.data());
        std::string text;
        for (const Fault* fault : faults)
            text += fault->text + ", ";
        ASSERT_EQ(status, expected) << call.member().name << ": " << text << "count " << call.setup().count;
        ASSERT_EQ(call.difference(), "") << call.member().name << ": " << text << "yet a result was written";
    }
};

TEST_P(Checks, AcceptAValidCall)
{
    Call call = validCall(*GetParam(), 2);
    EXPECT_FALSE(isValidationStatus(call()));
}

TEST_P(Checks, RejectEveryFault)
{
    Call call = validCall(*GetParam(), 2);
    call.remember();
    int tested = 0;
    for (const Fault& fault : faultsOf(call)) {
        if (fault.step < 0) continue;
        ++tested;
        ASSERT_NO_FATAL_FAILURE(expectStatus(call, {&fault}, fault.status));
    }
    EXPECT_GT(tested, 0);
}

TEST_P(Checks, TellTheEarlierOfTwoFaults)
{
    Call call = validCall(*GetParam(), 2);
    call.remember();
    const std::vector<Fault> faults = faultsOf(call);
    for (std::size_t i = 0; i < faults.size(); ++i)
        for (std::size_t j = i + 1; j < faults.size(); ++j) {
            const Fault &a = faults[i], &b = faults[j];
            if (a.argument == b.argument || (a.step < 0 && b.step < 0)) continue;
            const bool first = b.step < 0 || (a.step >= 0 && a.step <= b.step);
            ASSERT_NO_FATAL_FAILURE(expectStatus(call, {&a, &b}, first ? a.status : b.status));
        }
}

// An object stride that only arrays of two and more use is accepted with one object, whatever it is.
TEST_P(Checks, IgnoreObjectStridesOfOneObjectWhereCountGatesThem)
{
    Call call = validCall(*GetParam(), 1);
    call.remember();
    for (const Fault& fault : faultsOf(call)) {
        if (!fault.onlyArrays) {
            const bool isStride = GetParam()->arguments()[fault.argument].kind == Kind::objectStride;
            if (isStride && fault.step >= 0) {
                ASSERT_NO_FATAL_FAILURE(expectStatus(call, {&fault}, StatusBadStride));
            }
            continue;
        }
        EXPECT_FALSE(isValidationStatus(call.member()(withFaults(call, {&fault}).data()))) << fault.text;
    }
}

// With one object the object stride is in no address; shifts are made good by the table.
TEST_P(Checks, AcceptTheDeliberateGaps)
{
    const int elementSize = elementSizeOf(*GetParam());
    Call call = validCall(*GetParam(), 1);
    for (const Fault& fault : faultsOf(call)) {
        if (fault.step >= 0 || GetParam()->arguments()[fault.argument].kind == Kind::value) continue;
        if (std::abs(std::int64_t(fault.value.integer)) > 2 * elementSize) continue; // far outside of any memory
        std::vector<Value> values = withFaults(call, {&fault});
        std::vector<std::uintptr_t> table;
        if (GetParam()->arguments()[fault.argument].kind == Kind::roiShift) {
            const int operand = GetParam()->arguments()[fault.argument].operand;
            for (int c = 0; c < call.columns(operand); ++c)
                table.push_back(reinterpret_cast<std::uintptr_t>(call.address(operand, 0, 0, c)) -
                                std::uintptr_t(std::intptr_t(fault.value.integer)));
            values[fault.argument - 1].pointer = table.data();
        }
        EXPECT_EQ(call.member()(values.data()), StatusOk) << call.member().name << ": " << fault.text;
    }
}

std::vector<const Member*> checkedMembers()
{
    std::vector<const Member*> found;
    for (const Member& member : members())
        if (!orderOfChecks({member.operation, member.code, member.type == Type::f32 ? "32f" : "64f", member.layout})
                 .empty())
            found.push_back(&member);
    return found;
}

INSTANTIATE_TEST_SUITE_P(Members, Checks, testing::ValuesIn(checkedMembers()),
                         [](const auto& info) { return std::string(info.param->name.substr(sizeof "tarnm" - 1)); });

TEST(Orders, CoverTheWholeInterface)
{
    int unchecked = 0;
    for (const InterfaceName& name : interfaceNames()) {
        std::string order;
        ASSERT_NO_THROW(order = orderOfChecks({name.operation, name.code, name.type, name.layout})) << name.text();
        unchecked += order.empty();
    }
    // The fixed forms but two: the product of two 4x4 matrices tests its pointers, the homogeneous transform all.
    EXPECT_EQ(unchecked, 85);
}

TEST(Orders, HaveThreeMembersWithGaps)
{
    std::string found;
    for (const InterfaceName& name : interfaceNames())
        for (const char* argument : {"srcRoiShift", "dstRoiShift", "srcObjectStride", "dstObjectStride"})
            if (isDeliberateGap({name.operation, name.code, name.type, name.layout}, argument))
                found += name.text() + ' ' + argument + '\n';
    EXPECT_EQ(found, "tarnmAdd_vca_64f_P srcRoiShift\ntarnmAdd_vca_64f_P dstRoiShift\n"
                     "tarnmAdd_vaca_32f_P srcObjectStride\n"
                     "tarnmSub_cav_32f_P srcRoiShift\ntarnmSub_cav_32f_P dstRoiShift\n");
}

} // namespace
} // namespace tarnm::test
