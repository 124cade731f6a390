// How accurate the general eigenproblem is: prints the table of its reference pages.
//
// Each matrix is a call of its own. An error is the residual S u - lambda u of a left vector u, relative to |u|, or that of
// a right vector with the transpose of S, in units of epsilon |S|, in long double; that of a matrix is the largest of
// its vectors'. The columns of percents tell what so many of the matrices that converge stay below.
#include <cmath>
#include <cstdlib>
#include <functional>
#include <random>

#include "eigen/accuracy_table.h"
#include "eigen/general_calls.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

constexpr double wrongFrom = 1000;

struct Kind {
    const char* name;
    // From row, column and a number from -1 to 1.
    std::function<double(int, int, double)> element;
};

const Kind kinds[] = {
    {"random elements", [](int, int, double x) { return x; }},
    {"graded by rows and columns", [](int r, int c, double x) { return x * std::pow(0.1, r + c); }},
    {"far from normal", [](int r, int c, double x) { return r <= c ? x : x * 1e-3; }},
    {"nearly defective", [](int r, int c, double x) { return (r == c) + (r + 1 == c) + 1e-4 * x; }},
    {"random elements of 1e-3", [](int, int, double x) { return x * 1e-3; }},
    {"random elements of 1e-8", [](int, int, double x) { return x * 1e-8; }},
};

template <class T> Matrix<T> drawn(const Kind& kind, int n, std::mt19937& generator)
{
    std::uniform_real_distribution<double> uniform(-1, 1);
    return Matrix<T>(n, [&](int r, int c) { return kind.element(r, c, uniform(generator)); });
}

template <class T> long double norm(const Matrix<T>& a)
{
    long double square = 0;
    for (const T x : a.elements)
        square += (long double)(x)*x;
    return std::sqrt(square);
}

// |A v - (re + i im) v| / |v|, where `imaginary` may be null for a real v.
template <class T, class Element>
long double residual(int n, const Element& a, const T* real, const T* imaginary, long double re, long double im)
{
    long double square = 0, length = 0;
    for (int r = 0; r < n; ++r) {
        const long double x = real[r * n], y = imaginary == nullptr ? 0 : imaginary[r * n];
        long double u = -(re * x - im * y), v = -(re * y + im * x);
        for (int c = 0; c < n; ++c) {
            u += a(r, c) * real[c * n];
            v += imaginary == nullptr ? 0 : a(r, c) * imaginary[c * n];
        }
        square += u * u + v * v;
        length += x * x + y * y;
    }
    return std::sqrt(square / length);
}

template <class T> double errorOf(const Matrix<T>& s, const Solution<T>& found)
{
    const auto straight = [&](int r, int c) { return (long double)(s(r, c)); };
    const auto transposed = [&](int r, int c) { return (long double)(s(c, r)); };
    long double worst = 0;
    for (int j = 0; j < s.n; ++j) {
        const bool isPair = found.im[j] != 0;
        const T *left = found.left.data() + j, *right = found.right.data() + j;
        for (const long double error :
             {residual(s.n, straight, left, isPair ? left + 1 : nullptr, found.re[j], found.im[j]),
              residual(s.n, transposed, right, isPair ? right + 1 : nullptr, found.re[j], found.im[j])})
            // A NaN is to stay.
            if (!(error <= worst)) worst = error;
        if (isPair) ++j;
    }
    return double(worst / (epsilon<T> * norm(s)));
}

template <class T> void printRow(const Kind& kind, int n, int trials)
{
    std::mt19937 generator(std::uint32_t(1000 * n + (&kind - kinds)));
    ErrorQuantiles errors;
    int notConverged = 0;
    for (int trial = 0; trial < trials; ++trial) {
        const Matrix<T> matrix = drawn<T>(kind, n, generator);
        const Solution<T> found = vectorsOf(matrix);
        if (found.status == StatusOk)
            errors.add(errorOf(matrix, found));
        else
            ++notConverged;
    }
    std::string line = "| " + std::to_string(n) + " | " + kind.name + " |";
    for (const double part : {0.5, 0.99, 1.0})
        line += " " + units(errors.below(part)) + " |";
    std::printf("%s %s | %s |\n", line.c_str(), share(notConverged, trials).c_str(),
                share(errors.above(wrongFrom), trials).c_str());
    std::fflush(stdout);
}

template <class T> void printTable(int trials)
{
    std::printf("| `%s` | | 50 %% | 99 %% | all | not converged | above %.0f |\n|---|---|---|---|---|---|---|\n",
                sizeof(T) == 4 ? "32f" : "64f", wrongFrom);
    for (const int n : {3, 4, 6, 8})
        for (const Kind& kind : kinds)
            printRow<T>(kind, n, trials);
    std::printf("\n");
}

} // namespace
} // namespace tarnm::test

int main(int argc, char** argv)
{
    using namespace tarnm::test;
    const int trials = argc > 1 ? std::atoi(argv[1]) : 2000;
    if (trials < 1) {
        std::fprintf(stderr, "usage: %s [matrices per row of the tables]\n", argv[0]);
        return 2;
    }
    answerThreadCount({1});
    printTable<float>(trials);
    printTable<double>(trials);
}
