// The systems of order 1 and 2 of the back substitution, real and complex, with guards against overflow.
//
//   Complex                     a pair of values with the arithmetic of the field, division by scaling
//   SmallSystem                 (block - shift I) x = scale b, for blocks of the quasi-triangular matrix
//   solve1, solve2              solve such a system; the unknown may be real or Complex
//
// Both solvers are one text for real and complex numbers: a magnitude is |re| + |im|.
#pragma once

#include "eigen/general_precision.h"

namespace tarnm::general {

template <class T> struct Complex {
    T re, im;

    Complex() = default;
    Complex(T real, T imaginary = T(0))
        : re(real)
        , im(imaginary)
    {}

    friend Complex operator+(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }
    friend Complex operator-(Complex a, Complex b) { return {a.re - b.re, a.im - b.im}; }
    friend Complex operator*(Complex a, Complex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
    friend Complex operator*(Complex a, T b) { return {a.re * b, a.im * b}; }
    friend Complex operator/(Complex a, T b) { return {a.re / b, a.im / b}; }

    // The smaller component of the divisor enters as a ratio to the larger one.
    friend Complex operator/(Complex a, Complex b)
    {
        if (abs(b.re) >= abs(b.im)) {
            const T ratio = b.im / b.re, divisor = b.re + b.im * ratio;
            return {(a.re + a.im * ratio) / divisor, (a.im - a.re * ratio) / divisor};
        }
        const T ratio = b.re / b.im, divisor = b.im + b.re * ratio;
        return {(a.re * ratio + a.im) / divisor, (a.im * ratio - a.re) / divisor};
    }
};

TARNM_INLINE float magnitude(float x) { return abs(x); }
TARNM_INLINE double magnitude(double x) { return abs(x); }
template <class T> TARNM_INLINE T magnitude(Complex<T> x) { return abs(x.re) + abs(x.im); }

// What all systems of one eigenvalue share.
template <class T> struct SolverLimits {
    T smallestPivot;    // stands in for pivots below it
    T largestComponent; // of a solution, times the norm of its column
};

template <class T, class Number> struct SmallSolution {
    Number x[2]; // the first alone in a system of order 1
    T scale;
    T norm; // largest magnitude in x
    bool hasPivot;
};

// Whether b / divisor leaves the range of the type.
template <class T> TARNM_INLINE bool overflows(T b, T divisor)
{
    return divisor < T(1) && b > T(1) && b > GeneralTolerance<T>::solverOverflow * divisor;
}

// Keeps the products of the solution with its columns in range.
template <class T, class Number>
void limitNorm(SmallSolution<T, Number>& solution, T columnNorm, const SolverLimits<T>& limits)
{
    if (!(solution.norm > T(1) && columnNorm > limits.largestComponent / solution.norm)) return;
    const T norm = solution.norm;
    for (Number& x : solution.x)
        x = x / norm;
    solution.scale = solution.scale / norm;
    solution.norm = T(1);
}

// c x = scale b
template <class T, class Number>
SmallSolution<T, Number> solve1(Number c, Number b, T columnNorm, const SolverLimits<T>& limits)
{
    if (magnitude(c) < limits.smallestPivot) c = Number(limits.smallestPivot);
    SmallSolution<T, Number> solution{};
    solution.hasPivot = true;
    solution.scale = overflows(magnitude(b), magnitude(c)) ? T(1) / magnitude(b) : T(1);
    solution.x[0] = (b * solution.scale) / c;
    solution.norm = magnitude(solution.x[0]);
    limitNorm(solution, columnNorm, limits);
    return solution;
}

// Rows and columns of a 2x2 system in the order of elimination.
template <class Number> struct Pivoted {
    Number u11, u12, below, diagonal;
    bool exchangesRows, exchangesColumns;
};

// Complete pivoting: the first of the largest elements in the order (1,1), (2,1), (1,2), (2,2).
template <class Number> Pivoted<Number> pivoted(const Number (&c)[2][2])
{
    int row = 0, column = 0;
    for (const int candidate : {1, 2, 3})
        if (magnitude(c[candidate % 2][candidate / 2]) > magnitude(c[row][column])) {
            row = candidate % 2;
            column = candidate / 2;
        }
    return {c[row][column], c[row][1 - column], c[1 - row][column], c[1 - row][1 - column], row == 1, column == 1};
}

// C x = scale b. Without a usable pivot `hasPivot` is false and nothing else is set.
template <class T, class Number>
SmallSolution<T, Number> solve2(const Number (&c)[2][2], const Number (&b)[2], T columnNorm,
                                const SolverLimits<T>& limits)
{
    using Tolerance = GeneralTolerance<T>;
    SmallSolution<T, Number> solution{};
    const Pivoted<Number> p = pivoted(c);
    const T largest = magnitude(p.u11);
    if (limits.smallestPivot > largest) return solution;
    solution.hasPivot = true;

    const Number multiplier = p.below / p.u11;
    Number u22 = p.diagonal - p.u12 * multiplier;
    if (magnitude(u22) < limits.smallestPivot) u22 = Number(limits.smallestPivot);
    const Number b1 = b[p.exchangesRows ? 1 : 0];
    const Number b2 = b[p.exchangesRows ? 0 : 1] - multiplier * b1;
    const T bound = max(magnitude((b1 / p.u11) * u22), magnitude(b2));
    solution.scale = overflows(bound, magnitude(u22)) ? T(1) / bound : T(1);

    const Number x2 = (b2 * solution.scale) / u22;
    const Number x1 = (b1 * solution.scale) / p.u11 - x2 * (p.u12 / p.u11);
    solution.x[p.exchangesColumns ? 1 : 0] = x1;
    solution.x[p.exchangesColumns ? 0 : 1] = x2;
    solution.norm = max(magnitude(x1), magnitude(x2));
    if (solution.norm > T(1) && largest > T(1) && solution.norm > Tolerance::solverOverflow / largest) {
        const T shrink = largest / Tolerance::solverOverflow;
        for (Number& x : solution.x)
            x = x * shrink;
        solution.norm *= shrink;
        solution.scale *= shrink;
    }
    limitNorm(solution, columnNorm, limits);
    return solution;
}

} // namespace tarnm::general
