#include "checks/faults.h"

#include <limits>
#include <sstream>

#include "checks/orders.h"

namespace tarnm::test {
namespace {

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();

Value integer(std::int32_t number)
{
    Value value{};
    value.integer = number;
    return value;
}

Name nameOf(const Member& member)
{
    return {member.operation, member.code, member.type == Type::f32 ? "32f" : "64f", member.layout};
}

char letterOf(Kind kind)
{
    switch (kind) {
    case Kind::count:
        return 'C';
    case Kind::size:
        return 'Z';
    case Kind::objectStride:
    case Kind::rowStride:
    case Kind::elementStride:
        return 'S';
    case Kind::roiShift:
        return 'R';
    case Kind::value:
        return ' ';
    default:
        return 'N';
    }
}

tarnmStatus statusOf(char letter)
{
    switch (letter) {
    case 'N':
        return StatusNullPointer;
    case 'C':
        return StatusBadCount;
    case 'Z':
        return StatusBadSize;
    case 'M':
        return StatusSizeMismatch;
    case 'R':
        return StatusBadRoiShift;
    default:
        return StatusBadStride;
    }
}

std::vector<std::string> stepsOf(const std::string& order)
{
    std::istringstream words(order);
    std::vector<std::string> steps;
    for (std::string step; words >> step;)
        steps.push_back(step);
    return steps;
}

// The step at which an argument is tested, -1 for never.
int stepOf(const std::vector<std::string>& steps, const Argument& argument, char letter)
{
    const bool gates = !steps.empty() && steps.back() == "O";
    if (argument.kind == Kind::objectStride && gates) return int(steps.size()) - 1;
    const char side = argument.name.substr(0, 3) == "src" ? 's' : 'd';
    for (int i = 0; i < int(steps.size()); ++i)
        if (steps[i][0] == letter && (steps[i].size() == 1 || steps[i][1] == side)) return i;
    return -1;
}

std::vector<std::int32_t> badValues(char letter, std::int32_t elementSize)
{
    switch (letter) {
    case 'C':
    case 'Z':
        return {0, -1, lowest};
    case 'S':
        return {0, -elementSize, 2, elementSize / 2, elementSize + 1, lowest};
    case 'R':
        return {-elementSize, 2, elementSize / 2, elementSize + 1, lowest};
    default:
        return {};
    }
}

// Sizes that do not agree: one size of each rule of agreement made too large.
std::vector<std::pair<std::string_view, int>> mismatches(const Call& call)
{
    const auto size = [&](std::string_view name) { return call.value(call.argumentIndex(name)).integer; };
    const auto& member = call.member();
    if (member.operation.substr(0, 2) == "QR") return {{"width", size("height") + 1}};
    if (member.operation == "Gaxpy")
        return {{"src2Len", size("src2Len") + 1}, {"src3Len", size("src3Len") + 1}, {"src2Len", size("src2Len") - 1}};
    const auto operands = member.operands();
    const bool firstTransposed = operands[0].letter == 't', secondTransposed = operands[1].letter == 't';
    const std::string_view inner = firstTransposed ? "src1Height" : "src1Width";
    if (operands[1].letter == 'v') return {{inner, size(inner) + 1}, {"src2Len", size("src2Len") - 1}};
    const std::string_view other = secondTransposed ? "src2Width" : "src2Height";
    return {{inner, size(inner) + 1}, {other, size(other) - 1}};
}

} // namespace

std::vector<Fault> faultsOf(const Call& call)
{
    const Member& member = call.member();
    const Name name = nameOf(member);
    const auto steps = stepsOf(orderOfChecks(name));
    const auto arguments = member.arguments();
    std::vector<Fault> faults;
    for (int i = 0; i < int(arguments.size()); ++i) {
        const Argument& argument = arguments[i];
        const char letter = letterOf(argument.kind);
        const int step = isDeliberateGap(name, argument.name) ? -1 : stepOf(steps, argument, letter);
        const bool onlyArrays = step >= 0 && steps[step] == "O";
        const auto add = [&](Value value, const std::string& text) {
            faults.push_back({i, value, statusOf(letter), step, onlyArrays, std::string(argument.name) + ' ' + text});
        };
        if (letter == 'N') add(Value{nullptr}, "null");
        for (const std::int32_t bad : badValues(letter, elementSizeOf(member)))
            add(integer(bad), std::to_string(bad));
    }
    for (int step = 0; step < int(steps.size()); ++step)
        if (steps[step] == "M")
            for (const auto& [size, value] : mismatches(call))
                faults.push_back({call.argumentIndex(size), integer(value), StatusSizeMismatch, step, false,
                                  std::string(size) + ' ' + std::to_string(value)});
    return faults;
}

std::vector<Value> withFaults(const Call& call, std::initializer_list<const Fault*> faults)
{
    std::vector<Value> values;
    for (int i = 0; i < int(call.member().arguments().size()); ++i)
        values.push_back(call.value(i));
    for (const Fault* fault : faults)
        values[fault->argument] = fault->value;
    return values;
}

} // namespace tarnm::test
