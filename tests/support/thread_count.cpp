#include "support/thread_count.h"

#include <algorithm>
#include <atomic>

#include "tarncore/tarncore.h"

namespace {

std::vector<std::int32_t> answers{1};
std::atomic<int> queries{0};

} // namespace

// The definition in the program goes before that of the shared library.
extern "C" std::int32_t ownGetNumThreads(void)
{
    const auto asked = static_cast<std::size_t>(queries.fetch_add(1));
    return answers[std::min(asked, answers.size() - 1)];
}

namespace tarnm::test {

void answerThreadCount(std::vector<std::int32_t> newAnswers)
{
    answers = std::move(newAnswers);
    queries = 0;
}

int threadCountQueries() { return queries; }

} // namespace tarnm::test
