#include "reference/problem.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace tarnm::reference {
namespace {

// References are found in the order of their sources; a deque would do, but its elements must never move.
std::vector<Registration*>& allRegistrations()
{
    static std::vector<Registration*> all;
    return all;
}

bool isByValue(const test::Operand& operand) { return operand.letter == 'c' && !operand.isArray; }

template <class T> T floatingArgument(const test::Value& value) { return test::valueAs<T>(value); }

std::string spelled(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%a (%.9g)", value, value);
    return text;
}

template <class T> bool sameBits(T a, T b)
{
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

Path AnyProblem::path() const
{
    const auto layout = member().layout;
    if (layout == "P" || layout == "PP") return Path::pointer;
    return call.isDense() ? Path::dense : Path::strided;
}

std::int32_t AnyProblem::count() const { return call.setup().count; }

std::int32_t AnyProblem::argument(std::string_view name) const { return call.value(call.argumentIndex(name)).integer; }

std::int32_t AnyProblem::index(std::string_view argument, int n, int k) const
{
    return call.before<std::int32_t>(call.operandIndex(argument), n, 0, k);
}

std::uintptr_t AnyProblem::address(std::string_view operand, int n, int r, int c) const
{
    return reinterpret_cast<std::uintptr_t>(call.address(call.operandIndex(operand), n, r, c));
}

std::uintptr_t AnyProblem::argumentAddress(std::string_view argument) const
{
    return reinterpret_cast<std::uintptr_t>(call.value(call.argumentIndex(argument)).pointer);
}

std::vector<Slice> AnyProblem::slices() const
{
    const int objects = count();
    if (answers.size() < 2 || answers[0] <= 1 || objects < answers[0]) return {{0, objects}};
    const int team = std::max(1, std::min(answers[0], answers[1]));
    std::vector<Slice> found;
    for (int thread = 0, first = 0; thread < team; ++thread) {
        const int length = objects / team + (thread < objects % team ? 1 : 0);
        found.push_back({first, length});
        first += length;
    }
    return found;
}

template <class T> T Problem<T>::value(std::string_view name) const
{
    return floatingArgument<T>(call.value(call.argumentIndex(name)));
}

template <class T> T Problem<T>::stored(std::string_view operand, int n, int r, int c) const
{
    const int index = call.operandIndex(operand);
    if (isByValue(member().operands()[index])) return value(operand);
    return call.before<T>(index, n, r, c);
}

template <class T> T Problem<T>::seen(std::string_view operand, int n, int r, int c) const
{
    const bool exchanged = member().operands()[call.operandIndex(operand)].letter == 't';
    return exchanged ? stored(operand, n, c, r) : stored(operand, n, r, c);
}

template <class T> T Problem<T>::element(std::string_view operand, int n, int k) const
{
    return stored(operand, n, 0, k);
}

template <class T> void Outcome<T>::exactly(std::string_view result, int n, int r, int c, T value)
{
    expectations.push_back({Kind::exact, call.operandIndex(result), n, r, c, double(value), 0});
}

template <class T> void Outcome<T>::within(std::string_view result, int n, int r, int c, double value, double bound)
{
    expectations.push_back({Kind::bounded, call.operandIndex(result), n, r, c, value, bound});
}

template <class T> void Outcome<T>::anything(std::string_view result, int n, int r, int c)
{
    expectations.push_back({Kind::free, call.operandIndex(result), n, r, c, 0, 0});
}

template <class T> void Outcome<T>::index(std::string_view argument, int n, int k, std::int32_t value)
{
    expectations.push_back({Kind::integer, call.operandIndex(argument), n, 0, k, double(value), 0});
}

template <class T>
std::vector<std::string> Outcome<T>::mismatches(test::Call& after, tarnmStatus returned, std::size_t limit) const
{
    std::vector<std::string> found;
    if (returned != status && std::ranges::find(otherStatuses, returned) == otherStatuses.end())
        found.push_back("status: expected " + std::to_string(status) + ", found " + std::to_string(returned));

    const auto report = [&](const Expectation& e, const std::string& expected, double got) {
        if (found.size() >= limit) return;
        std::ostringstream line;
        line << after.member().operands()[e.operand].name << " of object " << e.n << " at (" << e.r << ", " << e.c
             << "): expected " << expected << ", found " << spelled(got);
        found.push_back(line.str());
    };
    for (const Expectation& e : expectations) {
        if (e.kind == Kind::integer) {
            const auto got = after.read<std::int32_t>(e.operand, e.n, e.r, e.c);
            if (got != std::int32_t(e.value)) report(e, std::to_string(std::int32_t(e.value)), got);
        } else if (e.kind != Kind::free) {
            const T got = after.read<T>(e.operand, e.n, e.r, e.c);
            if (e.kind == Kind::exact && !sameBits(got, T(e.value))) report(e, spelled(e.value), double(got));
            if (e.kind == Kind::bounded && !(std::abs(double(got) - e.value) <= e.bound))
                report(e, spelled(e.value) + " within " + spelled(e.bound), double(got));
        }
        after.accept(e.operand, e.n, e.r, e.c);
    }
    after.acceptScratch();
    if (found.size() < limit) {
        const std::string difference = after.difference();
        if (!difference.empty()) found.push_back(difference + ", which is no part of the result");
    }
    return found;
}

std::int32_t Filler::size(std::string_view name) const { return call.value(call.argumentIndex(name)).integer; }

double Filler::random(double low, double high) { return std::uniform_real_distribution<double>(low, high)(generator); }

void Filler::set(std::string_view operand, int r, int c, double value)
{
    const bool single = member().type == test::Type::f32;
    if (!call.hasOperand(operand) || isByValue(member().operands()[call.operandIndex(operand)])) {
        test::Value& argument = call.value(call.argumentIndex(operand));
        if (single)
            argument.single = float(value);
        else
            argument.real = value;
        return;
    }
    const int index = call.operandIndex(operand);
    if (single)
        call.write(index, n, r, c, float(value));
    else
        call.write(index, n, r, c, value);
}

void Filler::setIndex(std::string_view argument, int k, std::int32_t value)
{
    call.write(call.operandIndex(argument), n, 0, k, value);
}

Registration::Registration(std::string_view operation, std::string_view codes, Reference<float> single,
                           Reference<double> real, Options options)
    : operation(operation)
    , single(single)
    , real(real)
    , options(std::move(options))
{
    std::istringstream words{std::string(codes)};
    for (std::string word; words >> word;)
        this->codes.push_back(word);
    allRegistrations().push_back(this);
}

bool Registration::covers(const test::Member& member) const
{
    return operation == member.operation && (codes.empty() || std::ranges::find(codes, member.code) != codes.end());
}

std::vector<const Registration*> registrationsOf(const test::Member& member)
{
    std::vector<const Registration*> found;
    for (const Registration* registration : allRegistrations())
        if (registration->covers(member)) found.push_back(registration);
    return found;
}

template class Problem<float>;
template class Problem<double>;
template class Outcome<float>;
template class Outcome<double>;

} // namespace tarnm::reference
