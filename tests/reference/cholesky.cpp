// Cholesky factors, and solutions with them: one object at a time, element by element as stated. All sums ascend.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "reference/problem.h"

namespace tarnm::reference {
namespace {

// The estimate of 1/sqrt(s) that the results are built on is the machine's own: only the machine can tell its bits.
float machineEstimate(float s)
{
#if defined(__SSE__)
    float y;
    asm("rsqrtss %1, %0" : "=x"(y) : "x"(s));
    return y;
#elif defined(__aarch64__)
    // Eight bits, and a step towards sixteen.
    float y, step;
    asm("frsqrte %s0, %s1" : "=w"(y) : "w"(s));
    asm("frsqrts %s0, %s1, %s2" : "=w"(step) : "w"(s * y), "w"(y));
    return y * step;
#else
    return 1 / std::sqrt(s);
#endif
}

enum class Step { usual, ofGroups };

float reciprocalRoot(float s, Step step)
{
    const float y = machineEstimate(s);
    return step == Step::usual ? y * (s * y * y - 3.0f) * -0.5f : y * (3.0f - y * y * s) * 0.5f;
}

double reciprocalRoot(double s, Step) { return 1.0 / std::sqrt(s); }

template <class T> T toleranceOf(const AnyProblem& problem)
{
    const int n = problem.size("widthHeight");
    if (problem.path() == Path::pointer) return n == 3 ? T(1.1920928955078125e-7) : T(0);
    const bool isStridedArray = problem.member().code == "ma" && problem.member().layout == "S" &&
                                problem.path() == Path::strided && sizeof(T) == 8;
    return isStridedArray && (n < 3 || n > 5) ? T(2.220446049250313e-16) : T(0);
}

// One object: its factor up to the pivot that fails, or all of it.
template <class T> struct Factor {
    int n;
    int rows; // finished
    std::vector<T> values;

    T& at(int i, int j) { return values[std::size_t(i * n + j)]; }

    Factor(const Problem<T>& problem, int object, T tolerance, Step step)
        : n(problem.size("widthHeight"))
        , rows(0)
        , values(std::size_t(n * n))
    {
        for (; rows < n; ++rows) {
            const int i = rows;
            for (int j = 0; j <= i; ++j) {
                T s = problem.stored("src", object, i, j);
                for (int k = 0; k < j; ++k)
                    s -= at(i, k) * at(j, k);
                if (j < i)
                    at(i, j) = s * at(j, j);
                else if (tolerance >= s)
                    return;
                else
                    at(i, i) = reciprocalRoot(s, step);
            }
        }
    }

    // What is left where step `failed` was the first that could not be done.
    void tell(Outcome<T>& outcome, int object, int failed)
    {
        for (int i = 0; i < n && i <= failed; ++i)
            for (int j = 0; j < i + (i < failed); ++j)
                outcome.exactly("dst", object, i, j, at(i, j));
    }
};

template <class T> bool singly(const Problem<T>& problem, Outcome<T>& outcome, int first, int end)
{
    for (int object = first; object < end; ++object) {
        Factor<T> factor(problem, object, toleranceOf<T>(problem), Step::usual);
        factor.tell(outcome, object, factor.rows);
        if (factor.rows < factor.n) return false;
    }
    return true;
}

bool inGroups(const Problem<float>& problem, Outcome<float>& outcome, int first, int end)
{
    for (int group = first; group < end; group += 4) {
        std::vector<Factor<float>> factors;
        for (int object = group; object < group + 4; ++object)
            factors.emplace_back(problem, object, 0.0f, Step::ofGroups);
        int reached = factors[0].n;
        for (const auto& factor : factors)
            reached = std::min(reached, factor.rows);
        for (int g = 0; g < 4; ++g)
            factors[std::size_t(g)].tell(outcome, group + g, reached);
        if (reached < factors[0].n) return false;
    }
    return true;
}

template <class T> void decompose(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int n = problem.size("widthHeight");
    const bool isGrouped = sizeof(T) == 4 && problem.member().code == "ma" && problem.member().layout == "S" &&
                           problem.path() == Path::dense && n >= 3 && n <= 6;
    for (const Slice& slice : problem.slices()) {
        const int end = slice.first + slice.count, groups = isGrouped ? slice.count / 4 * 4 : 0;
        bool succeeds = true;
        if constexpr (sizeof(T) == 4) succeeds = inGroups(problem, outcome, slice.first, slice.first + groups);
        if (!succeeds || !singly(problem, outcome, slice.first + groups, end))
            outcome.status = StatusNotPositiveDefinite;
    }
}

template <class T> void solve(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int n = problem.size("widthHeight");
    for (int object = 0; object < problem.count(); ++object) {
        const auto L = [&](int i, int j) { return problem.stored("src1", object, i, j); };
        std::vector<T> x(std::size_t(n), T(0));
        for (int i = 0; i < n; ++i) {
            T s = problem.element("src2", object, i);
            for (int k = 0; k < i; ++k)
                s -= L(i, k) * x[std::size_t(k)];
            x[std::size_t(i)] = s * L(i, i);
        }
        for (int i = n - 1; i >= 0; --i) {
            T s = x[std::size_t(i)];
            for (int k = i + 1; k < n; ++k)
                s -= L(k, i) * x[std::size_t(k)];
            x[std::size_t(i)] = s * L(i, i);
        }
        for (int i = 0; i < n; ++i)
            outcome.exactly("dst", object, i, x[std::size_t(i)]);
    }
}

void fillAbove(Filler& filler, const char* operand, int n)
{
    for (int r = 0; r < n; ++r)
        for (int c = r + 1; c < n; ++c)
            filler.set(operand, r, c, std::numeric_limits<double>::quiet_NaN());
}

// The product of a random triangle with its transpose. In the last two cases some objects are not definite: at a step
// that goes round with the object, or far behind each other, so that the first of them stands anywhere in a group.
void fillDefinite(Filler& filler)
{
    const int n = filler.size("widthHeight"), object = filler.object();
    std::vector<double> m(std::size_t(n * n), 0.0);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c <= r; ++c)
            m[std::size_t(r * n + c)] = r == c ? filler.random(0.5, 2) : filler.random(-1, 1);
    const bool isBroken = (filler.caseNumber() == 2 && object % 23 == 17) || (filler.caseNumber() == 3 && object == 5);
    const int broken = isBroken ? object % n : n;
    const double scale = filler.caseNumber() == 1 ? std::pow(2.0, object % 9 * 4 - 16) : 1;
    for (int r = 0; r < n; ++r)
        for (int c = 0; c <= r; ++c) {
            double s = 0;
            for (int k = 0; k <= c; ++k)
                s += m[std::size_t(r * n + k)] * m[std::size_t(c * n + k)];
            filler.set("src", r, c, (r == broken && c == r ? s - 5 : s) * scale);
        }
    fillAbove(filler, "src", n);
}

void fillFactor(Filler& filler)
{
    const int n = filler.size("widthHeight");
    for (int i = 0; i < n; ++i)
        filler.set("src1", i, i, filler.random(0.25, 1));
    if (filler.caseNumber() > 0) fillAbove(filler, "src1", n);
}

const Registration registrations[] = {
    {"CholeskyDecomp", "", decompose<float>, decompose<double>, {.fill = fillDefinite, .cases = 4}},
    {"CholeskyBackSubst", "", solve<float>, solve<double>, {.fill = fillFactor}},
};

} // namespace
} // namespace tarnm::reference
