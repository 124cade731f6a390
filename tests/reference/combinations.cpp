// Cross products and sums of vectors with constant factors.
#include "reference/problem.h"

namespace tarnm::reference {
namespace {

template <class T> void crossProduct(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n) {
        const auto x = [&](int k) { return problem.element("src1", n, k); };
        const auto y = [&](int k) { return problem.element("src2", n, k); };
        const auto difference = [](T minuend, T subtrahend) { return minuend - subtrahend; };
        outcome.exactly("dst", n, 0, difference(x(1) * y(2), x(2) * y(1)));
        outcome.exactly("dst", n, 1, difference(x(2) * y(0), x(0) * y(2)));
        outcome.exactly("dst", n, 2, difference(x(0) * y(1), x(1) * y(0)));
    }
}

template <class T> void linearCombination(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int k = 0; k < problem.size("len"); ++k) {
            const T first = problem.value("val1") * problem.element("src1", n, k);
            const T second = problem.value("val2") * problem.element("src2", n, k);
            outcome.exactly("dst", n, k, first + second);
        }
}

template <class T> void scaledSum(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int k = 0; k < problem.size("len"); ++k) {
            const T scaled = problem.value("val") * problem.element("src1", n, k);
            outcome.exactly("dst", n, k, scaled + problem.element("src2", n, k));
        }
}

const Registration crossProducts("CrossProduct", "vv vav vva vava", crossProduct<float>, crossProduct<double>);
const Registration combinations("LComb", "", linearCombination<float>, linearCombination<double>);
const Registration scaledSums("Saxpy", "", scaledSum<float>, scaledSum<double>);

} // namespace
} // namespace tarnm::reference
