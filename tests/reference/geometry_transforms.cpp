// Vectors through 4x4 matrices: affine transforms, and the way between object space and a viewport.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "reference/problem.h"

namespace tarnm::reference {
namespace {

using In = Problem<float>;
using Out = Outcome<float>;
using Matrix = std::array<std::array<float, 4>, 4>;
using Point = std::array<float, 3>;

Matrix matrixOf(const In& in, std::string_view operand)
{
    Matrix m;
    for (int i = 0; i < 16; ++i)
        m[i / 4][i % 4] = in.element(operand, 0, i);
    return m;
}

Matrix product(const Matrix& a, const Matrix& b)
{
    Matrix d;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            d[r][c] = ((a[r][0] * b[0][c] + a[r][1] * b[1][c]) + a[r][2] * b[2][c]) + a[r][3] * b[3][c];
    return d;
}

// ---- Row vector times matrix ----

int elementsIn(const In& in) { return in.member().code[3] - '0'; }

void affine(const In& in, Out& out)
{
    const Matrix m = matrixOf(in, "src1");
    for (int n = 0; n < in.count(); ++n)
        for (int j = 0; j < 4; ++j) {
            const auto p = [&](int i) { return in.element("src2", n, i) * m[i][j]; };
            float sum = 0;
            if (elementsIn(in) == 2) sum = (p(0) + m[3][j]) + p(1);
            if (elementsIn(in) == 3) sum = ((p(0) + m[3][j]) + p(1)) + p(2);
            if (elementsIn(in) == 4) sum = (p(0) + p(1)) + (p(2) + p(3));
            out.exactly("dst", n, j, sum);
        }
}

float coordSum(const Matrix& m, const Point& p, int j)
{
    return (m[3][j] + p[2] * m[2][j]) + (p[0] * m[0][j] + p[1] * m[1][j]);
}

void coord(const In& in, Out& out)
{
    const Matrix m = matrixOf(in, "src1");
    for (int n = 0; n < in.count(); ++n) {
        const auto sum = [&](int j) {
            const float x = in.element("src2", n, 0), y = in.element("src2", n, 1);
            if (elementsIn(in) == 2) return (x * m[0][j] + m[3][j]) + y * m[1][j];
            return coordSum(m, {x, y, in.element("src2", n, 2)}, j);
        };
        for (int j = 0; j < elementsIn(in); ++j)
            out.exactly("dst", n, j, sum(j) / sum(3));
    }
}

void normal(const In& in, Out& out)
{
    const Matrix m = matrixOf(in, "src1");
    for (int n = 0; n < in.count(); ++n)
        for (int j = 0; j < elementsIn(in); ++j) {
            const auto p = [&](int i) { return in.element("src2", n, i) * m[i][j]; };
            out.exactly("dst", n, j, elementsIn(in) == 2 ? p(0) + p(1) : (p(0) + p(1)) + p(2));
        }
}

// ---- To the viewport ----

Point mapped(const In& in, const Point& u)
{
    const float width = in.value("viewportWidth"), height = in.value("viewportHeight");
    const float zMin = in.value("zMin"), zMax = in.value("zMax");
    return {0.5f * width + (0.5f * width) * u[0], 0.5f * height + (0 - 0.5f * height) * u[1],
            zMin + (zMax - zMin) * u[2]};
}

void project(const In& in, Out& out)
{
    const Matrix w = matrixOf(in, "world"), v = matrixOf(in, "view"), p = matrixOf(in, "projection");
    const auto through = [](const Matrix& m, const std::array<float, 4>& q) {
        std::array<float, 4> d;
        for (int j = 0; j < 4; ++j)
            d[j] = (m[0][j] * q[0] + m[1][j] * q[1]) + (m[2][j] * q[2] + m[3][j] * q[3]);
        return d;
    };
    const Matrix whole = product(w, product(v, p));
    const bool isArray = in.member().code.ends_with('a');
    for (int n = 0; n < in.count(); ++n) {
        const Point point = {in.element("src", n, 0), in.element("src", n, 1), in.element("src", n, 2)};
        std::array<float, 4> t;
        for (int j = 0; j < 4; ++j)
            t[j] = coordSum(isArray ? whole : w, point, j);
        if (!isArray) t = through(p, through(v, t));
        const Point d = mapped(in, {t[0] / t[3], t[1] / t[3], t[2] / t[3]});
        for (int j = 0; j < 3; ++j)
            out.exactly("dst", n, j, d[j]);
    }
}

// ---- From the viewport ----

Point normalized(const In& in, int n)
{
    const float zMin = in.value("zMin"), zMax = in.value("zMax");
    return {2 * in.element("src", n, 0) / in.value("viewportWidth") - 1,
            -2 * in.element("src", n, 1) / in.value("viewportHeight") + 1,
            (in.element("src", n, 2) - zMin) / (zMax - zMin)};
}

using Wide = std::array<std::array<long double, 4>, 4>;

// Gauss-Jordan with row pivoting. False where a pivot is small beside the matrix: the closed form may see anything there.
bool inverted(const Matrix& m, Wide& x)
{
    Wide a;
    long double largest = 0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            a[r][c] = m[r][c];
            x[r][c] = r == c;
            largest = std::max(largest, std::fabs(a[r][c]));
        }
    for (int k = 0; k < 4; ++k) {
        int p = k;
        for (int r = k + 1; r < 4; ++r)
            if (std::fabs(a[r][k]) > std::fabs(a[p][k])) p = r;
        if (!(std::fabs(a[p][k]) > 1e-3L * largest)) return false;
        std::swap(a[k], a[p]);
        std::swap(x[k], x[p]);
        const long double pivot = a[k][k];
        for (int c = 0; c < 4; ++c) {
            a[k][c] /= pivot;
            x[k][c] /= pivot;
        }
        for (int r = 0; r < 4; ++r) {
            const long double factor = a[r][k];
            for (int c = 0; c < 4 && r != k; ++c) {
                a[r][c] -= factor * a[k][c];
                x[r][c] -= factor * x[k][c];
            }
        }
    }
    return true;
}

bool isFinite(const Matrix& m)
{
    for (const auto& row : m)
        for (const float element : row)
            if (!std::isfinite(element)) return false;
    return true;
}

bool isZero(const Matrix& m)
{
    for (const auto& row : m)
        for (const float element : row)
            if (element != 0) return false;
    return true;
}

// A coordinate of the point is a quotient of two sums of four terms over inverse elements that are right to one unit in
// the last place of a single: numerator and divisor are right to 8 eps times the sum of their magnitudes.
void expectPoint(const Wide& inverse, const Point& u, int n, Out& out)
{
    constexpr double eps = std::numeric_limits<float>::epsilon();
    double sums[4], magnitudes[4];
    for (int j = 0; j < 4; ++j) {
        sums[j] = magnitudes[j] = 0;
        for (int i = 0; i < 4; ++i) {
            const double term = (i < 3 ? double(u[i]) : 1.0) * double(inverse[i][j]);
            sums[j] += term;
            magnitudes[j] += std::abs(term);
        }
    }
    const double divisorError = 8 * eps * magnitudes[3];
    for (int j = 0; j < 3; ++j) {
        const double value = sums[j] / sums[3];
        const double bound =
            (8 * eps * magnitudes[j] + std::abs(value) * divisorError) / (std::abs(sums[3]) - divisorError) +
            2 * eps * std::abs(value);
        if (divisorError < 0.5 * std::abs(sums[3]) && std::isfinite(value) && std::abs(value) < 1e30)
            out.within("dst", n, j, value, bound);
        else
            out.anything("dst", n, j);
    }
}

void unproject(const In& in, Out& out)
{
    const Matrix c = product(product(matrixOf(in, "world"), matrixOf(in, "view")), matrixOf(in, "projection"));
    const bool isArray = in.member().code.ends_with('a');
    if (isZero(c)) {
        out.status = StatusSingular;
        const Point u = normalized(in, 0);
        for (int j = 0; j < 3 && !isArray; ++j)
            out.exactly("dst", 0, j, u[j]);
        return;
    }
    Wide inverse;
    const bool isClear = isFinite(c) && inverted(c, inverse);
    if (!isClear) out.alsoAccept(StatusSingular);
    for (int n = 0; n < in.count(); ++n) {
        const Point u = normalized(in, n);
        if (isClear)
            expectPoint(inverse, u, n, out);
        else
            for (int j = 0; j < 3; ++j)
                out.anything("dst", n, j);
    }
}

// One case in four has a singular world.
void fillUnproject(Filler& filler)
{
    filler.set("viewportWidth", 0, 0, filler.random(100, 2000));
    filler.set("viewportHeight", 0, 0, filler.random(100, 2000));
    filler.set("zMin", 0, 0, filler.random(0, 0.4));
    filler.set("zMax", 0, 0, filler.random(0.5, 1));
    filler.set("src", 0, 0, filler.random(0, 2000));
    filler.set("src", 0, 1, filler.random(0, 2000));
    filler.set("src", 0, 2, filler.random(0, 1));
    for (int i = 0; i < 16; ++i)
        filler.set("world", 0, i, filler.caseNumber() == 3 ? 0 : filler.random());
}

// ---- Column vector, homogeneous ----

void homogeneous(const In& in, Out& out)
{
    for (int n = 0; n < in.count(); ++n) {
        const float x = in.element("src2", n, 0), y = in.element("src2", n, 1), z = in.element("src2", n, 2);
        const auto m = [&](int r, int c) { return in.stored("src1", 0, r, c); };
        const auto sum = [&](int r) {
            if (in.path() == Path::dense) return (x * m(r, 0) + y * m(r, 1)) + (m(r, 3) + z * m(r, 2));
            return ((x * m(r, 0) + m(r, 3)) + y * m(r, 1)) + z * m(r, 2);
        };
        const bool divides = std::fabs(sum(3)) > 1.1754944e-38f;
        if (!divides) out.status = StatusDivByZero;
        const float reciprocal = 1 / sum(3);
        for (int r = 0; r < 3; ++r)
            out.exactly("dst", n, r, divides ? sum(r) * reciprocal : std::numeric_limits<float>::max());
    }
}

// Here and there the fourth coordinate is the smallest normal number, its neighbours, or cancels to zero.
void fillHomogeneous(Filler& filler)
{
    const double smallest = std::numeric_limits<float>::min();
    const double weights[] = {smallest, -smallest, 1.5 * smallest, -2 * smallest, 0.5 * smallest, 1, 1, 1};
    if (filler.caseNumber() == 0) return;
    for (int i = 0; i < 3; ++i)
        filler.set("src1", 3, i, filler.caseNumber() == 1 ? 0 : i == 1 ? 1 : 0);
    filler.set("src1", 3, 3, filler.caseNumber() == 1 ? weights[int(filler.random(0, 8))] : 0);
    if (filler.caseNumber() > 1) filler.set("src2", 0, 1, weights[int(filler.random(0, 8))]);
}

const Registration registrations[] = {
    {"AffineTransform", "", affine, nullptr},
    {"AffineTransformCoord", "", coord, nullptr},
    {"AffineTransformNormal", "", normal, nullptr},
    {"Project", "", project, nullptr},
    {"Unproject", "", unproject, nullptr, {.fill = fillUnproject, .cases = 4}},
    {"AffineTransform3DH", "", homogeneous, nullptr, {.fill = fillHomogeneous, .cases = 4}},
};

} // namespace
} // namespace tarnm::reference
