// Determinants.
#include "reference/elimination.h"
#include "reference/matrices_near_singular.h"
#include "reference/problem.h"
#include "reference/tracked.h"

namespace tarnm::reference {
namespace {

// ---- Closed forms whose order of operations is given; T is the type that they are computed in ----

template <class T> T lastRow3(const Rows<T>& a)
{
    return ((a[0][0] * a[1][1] - a[0][1] * a[1][0]) * a[2][2] - (a[0][0] * a[1][2] - a[1][0] * a[0][2]) * a[2][1]) +
           (a[0][1] * a[1][2] - a[1][1] * a[0][2]) * a[2][0];
}

template <class T> T lastRow4(const Rows<T>& a)
{
    const T m01 = a[0][0] * a[1][1] - a[0][1] * a[1][0], m02 = a[0][0] * a[1][2] - a[0][2] * a[1][0];
    const T m03 = a[0][0] * a[1][3] - a[0][3] * a[1][0], m12 = a[0][1] * a[1][2] - a[0][2] * a[1][1];
    const T m13 = a[0][1] * a[1][3] - a[0][3] * a[1][1], m23 = a[0][2] * a[1][3] - a[0][3] * a[1][2];
    const T x = m12 * a[2][3] - m13 * a[2][2] + m23 * a[2][1];
    const T y = m02 * a[2][3] - m03 * a[2][2] + m23 * a[2][0];
    const T z = m01 * a[2][3] - m03 * a[2][1] + m13 * a[2][0];
    const T w = m01 * a[2][2] - m02 * a[2][1] + m12 * a[2][0];
    return (((0 - a[3][0]) * x + y * a[3][1]) - z * a[3][2]) + w * a[3][3];
}

double singles3(const Rows<double>& a)
{
    return ((a[2][0] * a[1][2] - a[1][0] * a[2][2]) * a[0][1] + (a[2][1] * a[1][0] - a[2][0] * a[1][1]) * a[0][2]) +
           (a[1][1] * a[2][2] - a[1][2] * a[2][1]) * a[0][0];
}

double doubles3(const Rows<double>& a)
{
    return ((a[1][2] * a[0][1] - a[1][1] * a[0][2]) * a[2][0] + (a[1][1] * a[2][2] - a[1][2] * a[2][1]) * a[0][0]) +
           (a[2][1] * a[0][2] - a[0][1] * a[2][2]) * a[1][0];
}

double firstRow4(const Rows<double>& a)
{
    const double c0 = a[1][1] * (a[2][2] * a[3][3] - a[3][2] * a[2][3]) -
                      a[1][2] * (a[2][1] * a[3][3] - a[3][1] * a[2][3]) +
                      a[1][3] * (a[3][2] * a[2][1] - a[3][1] * a[2][2]);
    const double c1 = a[1][0] * (a[2][2] * a[3][3] - a[3][2] * a[2][3]) -
                      a[1][2] * (a[2][0] * a[3][3] - a[3][0] * a[2][3]) +
                      a[1][3] * (a[2][0] * a[3][2] - a[2][2] * a[3][0]);
    const double c2 = a[1][0] * (a[2][1] * a[3][3] - a[3][1] * a[2][3]) -
                      a[1][1] * (a[2][0] * a[3][3] - a[3][0] * a[2][3]) +
                      a[1][3] * (a[2][0] * a[3][1] - a[2][1] * a[3][0]);
    const double c3 = a[1][0] * (a[3][2] * a[2][1] - a[3][1] * a[2][2]) -
                      a[1][1] * (a[2][0] * a[3][2] - a[2][2] * a[3][0]) +
                      a[1][2] * (a[2][0] * a[3][1] - a[2][1] * a[3][0]);
    return c0 * a[0][0] - c1 * a[0][1] + c2 * a[0][2] - c3 * a[0][3];
}

float fixed4(const Rows<float>& a)
{
    const float p = a[2][0] * a[3][3] - a[2][3] * a[3][0], q = a[2][1] * a[3][3] - a[2][3] * a[3][1];
    const float r = a[2][0] * a[3][2] - a[2][2] * a[3][0], s = a[2][2] * a[3][3] - a[2][3] * a[3][2];
    const float u = a[2][1] * a[3][2] - a[2][2] * a[3][1], v = a[2][0] * a[3][1] - a[2][1] * a[3][0];
    return (s * a[1][1] - q * a[1][2] + u * a[1][3]) * a[0][0] - (s * a[1][0] - p * a[1][2] + r * a[1][3]) * a[0][1] +
           ((q * a[1][0] - p * a[1][1] + v * a[1][3]) * a[0][2] - (u * a[1][0] - r * a[1][1] + v * a[1][2]) * a[0][3]);
}

// ---- Expansions whose order is open ----

// Along the first row of the rows from `row` on over the columns that `isOut` leaves.
template <class T> Tracked<T> expansion(const Rows<T>& a, std::size_t row, std::vector<bool>& isOut)
{
    Tracked<T> sum;
    if (row == a.size()) return Tracked<T>(T(1));
    bool isNegative = false;
    for (std::size_t c = 0; c < a.size(); ++c) {
        if (isOut[c]) continue;
        isOut[c] = true;
        const Tracked<T> term = Tracked<T>(a[row][c]) * expansion(a, row + 1, isOut);
        sum = isNegative ? sum - term : sum + term;
        isNegative = !isNegative;
        isOut[c] = false;
    }
    return sum;
}

template <class T> bool hasNaN(const Rows<T>& a)
{
    for (const auto& row : a)
        for (const T element : row)
            if (std::isnan(element)) return true;
    return false;
}

template <class T, class Result> void bounded(const Rows<T>& a, Outcome<Result>& outcome, int n)
{
    if (hasNaN(a)) return outcome.exactly("pDst", n, 0, std::numeric_limits<Result>::quiet_NaN());
    using limits = std::numeric_limits<Result>;
    std::vector<bool> isOut(a.size());
    const Tracked<T> det = expansion(a, 0, isOut);
    if (!det.isKnown() || det.magnitude() > limits::max() / 2) return outcome.anything("pDst", n, 0);
    const long double rounding =
        sizeof(T) == sizeof(Result) ? 0 : det.magnitude() * limits::epsilon() + limits::denorm_min();
    outcome.within("pDst", n, 0, double(det.value), double(Tracked<T>::slack * det.bound + rounding));
}

// ---- The kernels ----

template <class To, class T> Rows<To> converted(const Rows<T>& a)
{
    Rows<To> result;
    for (const auto& row : a)
        result.emplace_back(row.begin(), row.end());
    return result;
}

template <class T> T eliminated(const Problem<T>& problem, const Rows<T>& a)
{
    const int n = int(a.size());
    const bool isOne = problem.member().code == "m";
    const T t = tolerance<T>(n);
    const Elimination<T> e(a, t, false, sizeof(T) == 8 && isOne && problem.path() == Path::dense);
    if (e.failed && isOne) return 0;
    const T l = e.last();
    return std::fabs(l) > t ? e.product * (l * T(e.failed ? 0 : e.sign)) : T(0);
}

// The aligned 4x4 singles of a dense array, but for the last of an odd number.
template <class T> bool isPaired(const Problem<T>& problem, int n)
{
    const auto strides = problem.argument("srcObjectStride") | problem.argument("srcRowStride");
    const bool isAligned = strides % 16 == 0 && problem.argumentAddress("pSrc") % 16 == 0;
    return isAligned && n < problem.count() / 2 * 2;
}

template <class T> void denseShape(const Rows<T>& a, Outcome<T>& outcome, int n)
{
    const Rows<double> wide = converted<double>(a);
    if (a.size() > 4)
        bounded(wide, outcome, n);
    else if (a.size() == 4)
        outcome.exactly("pDst", n, 0, T(firstRow4(wide)));
    else
        outcome.exactly("pDst", n, 0, T(sizeof(T) == 4 ? singles3(wide) : doubles3(wide)));
}

template <class T> void stridedShape(const Rows<T>& a, Outcome<T>& outcome, int n)
{
    if (a.size() > 4)
        bounded(a, outcome, n);
    else
        outcome.exactly("pDst", n, 0, a.size() == 4 ? lastRow4(a) : lastRow3(a));
}

template <class T> void determinant(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int order = problem.size("widthHeight");
    for (int n = 0; n < problem.count(); ++n) {
        auto a = Rows<T>(std::size_t(order), std::vector<T>(std::size_t(order)));
        for (int r = 0; r < order; ++r)
            for (int c = 0; c < order; ++c)
                a[std::size_t(r)][std::size_t(c)] = problem.stored("src", n, r, c);
        const bool isDenseArrayOfSingles = sizeof(T) == 4 && problem.member().code == "ma" &&
                                           problem.path() == Path::dense && problem.member().layout == "S";
        if (order < 3 || order > 6)
            outcome.exactly("pDst", n, 0, eliminated(problem, a));
        else if (isDenseArrayOfSingles && order == 4 && isPaired(problem, n))
            bounded(a, outcome, n);
        else if (problem.path() != Path::dense || (isDenseArrayOfSingles && order == 3))
            stridedShape(a, outcome, n);
        else
            denseShape(a, outcome, n);
    }
}

void fixedDeterminant(const Problem<float>& problem, Outcome<float>& outcome)
{
    Rows<float> a(4, std::vector<float>(4));
    for (int i = 0; i < 16; ++i)
        a[std::size_t(i / 4)][std::size_t(i % 4)] = problem.element("src", 0, i);
    outcome.exactly("dst", 0, 0, fixed4(a));
}

const Options options{.fill = fillMatrix, .cases = 4};
const Registration registrations[] = {
    {"Det", "m ma", determinant<float>, determinant<double>, options},
    {"Det", "m4", fixedDeterminant, nullptr, options},
};

} // namespace
} // namespace tarnm::reference
