// Square matrices on both sides of the tolerance of determinants and inverses.
#pragma once

#include <cmath>
#include <limits>

#include "reference/elimination.h"
#include "reference/problem.h"

namespace tarnm::reference {

inline void setElement(Filler& filler, int n, int r, int c, double value)
{
    if (filler.member().code == "m4")
        filler.set("src", 0, r * n + c, value);
    else
        filler.set("src", r, c, value);
}

inline int orderOf(const Filler& filler) { return filler.member().code == "m4" ? 4 : filler.size("widthHeight"); }

// Small integers: many zeros and equal magnitudes, and every closed form is exact.
inline void fillIntegers(Filler& filler, int n)
{
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            setElement(filler, n, r, c, std::floor(filler.random(-2, 3)));
}

// One element in each row and column. All but one are powers of two with the product 1; the odd one is near the
// tolerance, so that it decides as a pivot and as the determinant.
inline void fillNearTolerance(Filler& filler, int n)
{
    const double smallest = filler.member().type == test::Type::f32 ? double(std::numeric_limits<float>::min())
                                                                    : std::numeric_limits<double>::min();
    const double unit = filler.member().type == test::Type::f32 ? std::numeric_limits<float>::epsilon()
                                                                : std::numeric_limits<double>::epsilon();
    const double t = 2.0 * n * n * n * smallest;
    const double sizes[] = {t, t * (1 + unit), t * (1 - unit), 2 * t, 2 * t * (1 - unit), t / 2, smallest, 0, 1, 1};
    const int shift = int(filler.random(0, n)), odd = int(filler.random(0, n));
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) {
            double value = 0;
            if (c == (r + shift) % n)
                value = r == odd ? sizes[int(filler.random(0, 10))] : filler.random(-1, 1) < 0 ? -1 : 1;
            setElement(filler, n, r, c, value);
        }
}

// Rows that are scaled up and down by powers of two.
inline void fillGraded(Filler& filler, int n)
{
    for (int r = 0; r < n; ++r) {
        const double scale = std::ldexp(1.0, int(filler.random(-12, 12)));
        for (int c = 0; c < n; ++c)
            setElement(filler, n, r, c, scale * filler.random());
    }
}

// Magnitudes that agree to single precision, of either sign.
inline void fillNearlyEqual(Filler& filler, int n)
{
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            setElement(filler, n, r, c, (filler.random(-1, 1) < 0 ? -1 : 1) * (1 + 0x1p-24 * filler.random(0, 1)));
}

// Case 0: random objects. 1: integers. 2: near the tolerance. 3: graded, and nearly equal for every third object.
inline void fillMatrix(Filler& filler)
{
    const int n = orderOf(filler);
    if (filler.caseNumber() == 1) fillIntegers(filler, n);
    if (filler.caseNumber() == 2) fillNearTolerance(filler, n);
    if (filler.caseNumber() == 3 && filler.object() % 3 != 2) fillGraded(filler, n);
    if (filler.caseNumber() == 3 && filler.object() % 3 == 2) fillNearlyEqual(filler, n);
}

} // namespace tarnm::reference
