// Unit length for eigenvectors.
//
//   normaliseColumn     a real vector
//   normalisePair       a complex one, in two columns, turned so that its largest component is real
//   normaliseVectors    all of a matrix
#pragma once

#include "eigen/general_lanes.h"
#include "eigen/general_precision.h"

namespace tarnm::general {

template <class T> T sumOfSquares(const T* column, int order)
{
    T sum = T(0);
    for (int r = 1; r <= order; ++r)
        sum += column[r] * column[r];
    return sum;
}

template <class T> T inverseRoot(T x)
{
    return inDouble([](auto s) { return 1.0 / sqrt(s); }, x);
}

// Vectors whose squares vanish stay as they are.
template <class T> void normaliseColumn(ColumnMatrix<T> z, int k)
{
    T* column = z.column(k);
    const T squares = sumOfSquares(column, z.order);
    if (!(squares > GeneralTolerance<T>::safeMinimum)) return;
    const T factor = inverseRoot(squares);
    for (int r = 1; r <= z.order; ++r)
        column[r] *= factor;
}

template <class T> void normalisePair(ColumnMatrix<T> z, int k)
{
    T *re = z.column(k), *im = z.column(k + 1);
    const T factor = inverseRoot<T>(sumOfSquares(re, z.order) + sumOfSquares(im, z.order));
    for (int r = 1; r <= z.order; ++r)
        re[r] *= factor, im[r] *= factor;

    int largest = 1;
    for (int r = 2; r <= z.order; ++r)
        if (re[r] * re[r] + im[r] * im[r] > re[largest] * re[largest] + im[largest] * im[largest]) largest = r;
    const T modulus = inDouble([](auto x, auto y) { return sqrt(x * x + y * y); }, re[largest], im[largest]);
    T cs = re[largest] / modulus, sn = im[largest] / modulus;
    if (abs(re[largest]) > abs(im[largest]) && cs < T(0)) cs = -cs, sn = -sn;
    for (int r = 1; r <= z.order; ++r) {
        const T turned = cs * re[r] + sn * im[r];
        im[r] = cs * im[r] - sn * re[r];
        re[r] = turned;
    }
}

// `imaginary` has n values with subscripts from 1: the imaginary parts of the eigenvalues.
template <class T, class Values> void normaliseVectors(ColumnMatrix<T> z, const Values& imaginary)
{
    for (int k = 1; k <= z.order; ++k) {
        if (abs(imaginary[k]) < GeneralTolerance<T>::safeMinimum || k == z.order) {
            normaliseColumn(z, k);
        } else {
            normalisePair(z, k);
            ++k;
        }
    }
}

} // namespace tarnm::general
