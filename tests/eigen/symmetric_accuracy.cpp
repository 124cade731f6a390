// How accurate the symmetric eigenproblem is: prints the tables of its reference pages.
//
// Matrices of norm 1 or little above, each in a call of its own, beside long double. Errors are in units of epsilon times
// the norm: of a value, and of the residual A v - lambda v where there are vectors, the larger of the two. The columns of
// percents tell what so many of the matrices that converge stay below.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "eigen/accuracy_table.h"
#include "eigen/symmetric_matrices.h"
#include "eigen/symmetric_members.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

constexpr double wrongFrom = 1000;

enum class Spectrum { random, nearlyEqual, repeated, graded };
constexpr Spectrum spectra[] = {Spectrum::random, Spectrum::nearlyEqual, Spectrum::repeated, Spectrum::graded};
constexpr const char* names[] = {"random elements", "two values nearly equal", "repeated values", "graded values"};

template <class T> std::vector<T> drawn(Spectrum spectrum, int n, std::mt19937& generator)
{
    if (spectrum == Spectrum::random) return randomSymmetric<T>(n, generator);
    std::uniform_real_distribution<double> uniform(0.25, 0.75);
    std::vector<double> values;
    for (int i = 0; i < n; ++i)
        values.push_back(spectrum == Spectrum::nearlyEqual ? (i < 2 ? 1 - 1e-6 * i : uniform(generator))
                         : spectrum == Spectrum::repeated  ? (i % 2 == 0 ? 1 : 0.5)
                                                           : std::pow(0.1, i));
    return withSpectrum<T>(values, generator);
}

struct Errors {
    double values = 0, residual = 0, orthogonality = 0;
};

// The errors of a row of a table.
struct Tally {
    ErrorQuantiles main;
    double orthogonality = 0;
    int notConverged = 0;

    void add(const Errors& errors, bool isVectors)
    {
        main.add(isVectors ? std::max(errors.residual, errors.values) : errors.values);
        orthogonality = std::max(orthogonality, errors.orthogonality);
    }
};

template <class T>
Errors errorsOf(const std::vector<T>& a, int n, const std::vector<long double>& exact, std::vector<T> values,
                const std::vector<T>& vectors, bool isVectors)
{
    const long double unit = epsilon<T> * std::max(std::abs(exact.front()), std::abs(exact.back()));
    Errors errors;
    for (int j = 0; isVectors && j < n; ++j) {
        long double square = 0;
        for (int r = 0; r < n; ++r) {
            long double image = -(long double)(values[j]) * vectors[r * n + j];
            for (int c = 0; c < n; ++c)
                image += (long double)(a[r * n + c]) * vectors[c * n + j];
            square += image * image;
        }
        errors.residual = std::max(errors.residual, double(std::sqrt(square) / unit));
        for (int k = 0; k <= j; ++k) {
            long double dot = j == k ? -1 : 0;
            for (int r = 0; r < n; ++r)
                dot += (long double)(vectors[r * n + j]) * vectors[r * n + k];
            errors.orthogonality = std::max(errors.orthogonality, double(std::abs(dot) / epsilon<T>));
        }
    }
    std::sort(values.rbegin(), values.rend());
    for (int j = 0; j < n; ++j)
        errors.values = std::max(errors.values, double(std::abs(values[j] - exact[j]) / unit));
    return errors;
}

// Singular matrices have their values too, but those of order 2.
template <class T> Tally tally(const SymmetricKernel& kernel, Spectrum spectrum, int n, int trials)
{
    std::mt19937 generator(std::uint32_t(1000 * n + int(spectrum)));
    Tally tally;
    for (int trial = 0; trial < trials; ++trial) {
        const auto a = drawn<T>(spectrum, n, generator);
        const auto call = callSymmetric<T>(kernel, {a}, n);
        if (call.status == StatusNotConverged) ++tally.notConverged;
        if (call.status == StatusNotConverged || (call.status == StatusSingular && n == 2)) continue;
        const auto exact = jacobiValues(std::vector<long double>(a.begin(), a.end()), n);
        tally.add(errorsOf(a, n, exact, call.values[0], call.vectors[0], kernel.isVectors), kernel.isVectors);
    }
    return tally;
}

template <class T> void printTable(const SymmetricKernel& kernel, int trials)
{
    std::printf("| `%s` | | 50 %% | 99 %% | all |%s not converged | above %.0f |\n|---|---|---|---|---|%s---|---|\n",
                sizeof(T) == 4 ? "32f" : "64f", kernel.isVectors ? " orthogonality |" : "", wrongFrom,
                kernel.isVectors ? "---|" : "");
    for (const int n : {2, 3, 4, 6, 8})
        for (const Spectrum spectrum : spectra) {
            Tally row = tally<T>(kernel, spectrum, n, trials);
            std::string line = "| " + std::to_string(n) + " | " + names[int(spectrum)] + " |";
            for (const double part : {0.5, 0.99, 1.0})
                line += " " + units(row.main.below(part)) + " |";
            if (kernel.isVectors) line += " " + units(row.orthogonality) + " |";
            std::printf("%s %s | %s |\n", line.c_str(), share(row.notConverged, trials).c_str(),
                        share(row.main.above(wrongFrom), trials).c_str());
            std::fflush(stdout);
        }
    std::printf("\n");
}

void printTables(const char* title, const SymmetricKernel& kernel, int trials)
{
    std::printf("%s, %d matrices per row\n\n", title, trials);
    printTable<float>(kernel, trials);
    printTable<double>(kernel, trials);
}

} // namespace
} // namespace tarnm::test

int main(int argc, char** argv)
{
    using namespace tarnm::test;
    const int trials = argc > 1 ? std::atoi(argv[1]) : 20000;
    if (trials < 1) {
        std::fprintf(stderr, "usage: %s [matrices per row of the tables]\n", argv[0]);
        return 2;
    }
    answerThreadCount({1});
    printTables("EigenValuesSym_ma", {false, true, 'S', true}, trials);
    printTables("EigenValuesVectorsSym_ma", {true, true, 'S', true}, trials);
    printTables("EigenValuesSym_m", {false, false, 'S', true}, trials);
    printTables("EigenValuesVectorsSym_m", {true, false, 'S', true}, trials);
}
