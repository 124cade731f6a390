#include "conformance/trial.h"

#include <csignal>
#include <cstring>
#include <unistd.h>

#include "conformance/contents.h"
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
std::string run(const Member& member, const reference::Registration& registration, reference::Reference<T> reference,
                const Trial& trial, int threads)
{
    constexpr std::size_t limit = 3;
    const std::string description = std::string(member.name) + ": " + trial.setup.text() + ", case " +
                                    std::to_string(trial.caseNumber) + (trial.specials ? " with special values" : "") +
                                    ", threads " + std::to_string(threads);
    std::strncpy(underWay, description.c_str(), sizeof underWay - 1);

    Call call(member, trial.setup);
    fillSources(call, registration.options, trial);
    call.remember();
    answerThreadCount({threads});
    const tarnmStatus status = call();
    const reference::Problem<T> problem(call, std::vector<std::int32_t>(threadCountQueries(), threads));
    reference::Outcome<T> outcome(call);
    reference(problem, outcome);
    std::string text;
    for (const std::string& line : outcome.mismatches(call, status, limit))
        text += "\n  " + line;
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
        fillSources(call, registration.options, with);
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
