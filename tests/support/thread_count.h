// Takes the place of tarncore's answer: a program that links thread_count.cpp decides how many threads tarnm uses.
#pragma once

#include <cstdint>
#include <vector>

namespace tarnm::test {

// From now on the questions get these answers in turn, and the last one again and again. Forgets earlier questions.
void answerThreadCount(std::vector<std::int32_t> answers);
// Questions since then.
int threadCountQueries();

} // namespace tarnm::test
