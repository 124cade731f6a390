// Copies, dense extracts, transposes and identities.
#include "reference/problem.h"

namespace tarnm::reference {
namespace {

template <class T> void copyOfVectors(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int k = 0; k < problem.size("len"); ++k)
            outcome.exactly("dst", n, k, problem.element("src", n, k));
}

template <class T> void copyOfMatrices(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int r = 0; r < problem.size("height"); ++r)
            for (int c = 0; c < problem.size("width"); ++c)
                outcome.exactly("dst", n, r, c, problem.stored("src", n, r, c));
}

template <class T> void extractOfVectors(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int k = 0; k < problem.size("len"); ++k)
            outcome.exactly("pDst", n, k, problem.element("src", n, k));
}

template <class T> void extractOfMatrices(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int width = problem.size("width");
    for (int n = 0; n < problem.count(); ++n)
        for (int r = 0; r < problem.size("height"); ++r)
            for (int c = 0; c < width; ++c)
                outcome.exactly("pDst", n, r * width + c, problem.seen("src", n, r, c));
}

template <class T> void transpose(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int r = 0; r < problem.size("height"); ++r)
            for (int c = 0; c < problem.size("width"); ++c)
                outcome.exactly("dst", n, c, r, problem.stored("src", n, r, c));
}

template <class T> void identity(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int r = 0; r < problem.size("height"); ++r)
            for (int c = 0; c < problem.size("width"); ++c)
                outcome.exactly("dst", n, r, c, T(r == c ? 1 : 0));
}

const Registration vectors("Copy", "va", copyOfVectors<float>, copyOfVectors<double>);
const Registration matrices("Copy", "ma", copyOfMatrices<float>, copyOfMatrices<double>);
const Registration extractedVectors("Extract", "v va", extractOfVectors<float>, extractOfVectors<double>);
const Registration extractedMatrices("Extract", "m t ma ta", extractOfMatrices<float>, extractOfMatrices<double>);
const Registration transposes("Transpose", "m ma", transpose<float>, transpose<double>);
const Registration identities("LoadIdentity", "", identity<float>, identity<double>);

} // namespace
} // namespace tarnm::reference
