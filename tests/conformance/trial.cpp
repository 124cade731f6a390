#include "conformance/trial.h"

#include <cmath>
#include <csignal>
#include <cstring>
#include <limits>
#include <random>
#include <unistd.h>

#include "support/thread_count.h"

namespace tarnm::test {
namespace {

char underWay[1024];

void sayWhatWasUnderWay(int signal)
{
    const char text[] = "memory outside the operands was touched by ";
    (void)!write(STDERR_FILENO, text, sizeof text - 1);
    (void)!write(STDERR_FILENO, underWay, std::strlen(underWay));
    (void)!write(STDERR_FILENO, "\n", 1);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

template <class T>
T specialValue(unsigned choice)
{
    using limits = std::numeric_limits<T>;
    const T values[] = {
        limits::quiet_NaN(),      limits::infinity(), -limits::infinity(), T(-0.0),       T(0),
        limits::denorm_min(),     -limits::min() / 2, limits::min(),       limits::max(), -limits::max(),
        std::sqrt(limits::max()), limits::epsilon()};
    return values[choice % std::size(values)];
}

// Random numbers everywhere a source is read, then what the family puts there, then special values.
template <class T>
void fillSources(Call& call, const reference::Options& options, const Trial& trial, std::mt19937& generator)
{
    std::uniform_real_distribution<double> uniform(-2, 2);
    const auto operands = call.member().operands();
    const auto overSources = [&](auto apply) {
        for (int i = 0; i < int(operands.size()); ++i) {
            if (operands[i].direction != Direction::in || (operands[i].letter == 'c' && !operands[i].isArray)) continue;
            for (int n = 0; n < call.objects(i); ++n)
                for (int r = 0; r < call.rows(i); ++r)
                    for (int c = 0; c < call.columns(i); ++c) apply(i, n, r, c);
        }
    };
    overSources([&](int i, int n, int r, int c) {
        if (operands[i].letter == 'i')
            call.write(i, n, r, c, std::int32_t(c));
        else
            call.write(i, n, r, c, T(uniform(generator)));
    });
    const auto arguments = call.member().arguments();
    const auto setValue = [&](int argument, T value) {
        if constexpr (sizeof(T) == 4)
            call.value(argument).single = value;
        else
            call.value(argument).real = value;
    };
    for (int i = 0; i < int(arguments.size()); ++i)
        if (arguments[i].kind == Kind::value) setValue(i, T(uniform(generator)));

    if (options.fill) {
        reference::Filler filler(call, trial.caseNumber, generator);
        for (int n = 0; n < call.setup().count; ++n) {
            filler.goTo(n);
            options.fill(filler);
        }
    }
    if (!trial.specials) return;
    overSources([&](int i, int n, int r, int c) {
        const unsigned choice = unsigned(generator());
        if (operands[i].letter != 'i' && choice % 5 == 0) call.write(i, n, r, c, specialValue<T>(choice / 5));
    });
    for (int i = 0; i < int(arguments.size()); ++i)
        if (const unsigned choice = unsigned(generator()); arguments[i].kind == Kind::value && choice % 3 == 0)
            setValue(i, specialValue<T>(choice / 3));
}

template <class T>
std::string run(const Member& member, const reference::Registration& registration, reference::Reference<T> reference,
                const Trial& trial, int threads)
{
    constexpr std::size_t limit = 3;
    const std::string description = std::string(member.name) + ": " + trial.setup.text() + ", case " +
                                    std::to_string(trial.caseNumber) + (trial.specials ? " with special values" : "") +
                                    ", threads " + std::to_string(threads);
    std::strncpy(underWay, description.c_str(), sizeof underWay - 1);

    Call call(member, trial.setup);
    std::mt19937 generator(unsigned(trial.setup.count * 31 + trial.caseNumber * 7 + trial.setup.offset));
    fillSources<T>(call, registration.options, trial, generator);
    call.remember();
    answerThreadCount({threads});
    const tarnmStatus status = call();
    const reference::Problem<T> problem(call, std::vector<std::int32_t>(threadCountQueries(), threads));
    reference::Outcome<T> outcome(call);
    reference(problem, outcome);
    std::string text;
    for (const std::string& line : outcome.mismatches(call, status, limit)) text += "\n  " + line;
    return text.empty() ? text : description + text;
}

} // namespace

std::string runTrial(const Member& member, const reference::Registration& registration, const Trial& trial, int threads)
{
    if (member.type == Type::f32) return run<float>(member, registration, registration.single, trial, threads);
    return run<double>(member, registration, registration.real, trial, threads);
}

int firstParallelCount(const Member& member, const reference::Registration& registration, const Trial& trial, int limit)
{
    const auto asks = [&](int count) {
        Trial with = trial;
        with.setup.count = count;
        Call call(member, with.setup);
        std::mt19937 generator(1);
        if (member.type == Type::f32)
            fillSources<float>(call, registration.options, with, generator);
        else
            fillSources<double>(call, registration.options, with, generator);
        answerThreadCount({1});
        call();
        return threadCountQueries() > 0;
    };
    int below = 0, above = 1;
    while (above < limit && !asks(above)) {
        below = above;
        above *= 2;
    }
    if (above >= limit) return 0;
    while (above - below > 1) {
        const int middle = below + (above - below) / 2;
        (asks(middle) ? above : below) = middle;
    }
    return above;
}

void reportFaults()
{
    std::signal(SIGSEGV, sayWhatWasUnderWay);
    std::signal(SIGBUS, sayWhatWasUnderWay);
}

} // namespace tarnm::test
