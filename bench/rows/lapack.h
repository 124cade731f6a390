// The routines of LAPACK that rows call for one object, by the element type. All matrices lie column by column.
#pragma once

#ifdef BENCH_HAS_LAPACKE
#include <lapacke.h>

namespace bench {

inline void getrf(int n, float* a, int* pivots) { LAPACKE_sgetrf_work(LAPACK_COL_MAJOR, n, n, a, n, pivots); }
inline void getrf(int n, double* a, int* pivots) { LAPACKE_dgetrf_work(LAPACK_COL_MAJOR, n, n, a, n, pivots); }

// With the factors of getrf.
inline void getri(int n, float* a, const int* pivots, float* work, int length)
{
    LAPACKE_sgetri_work(LAPACK_COL_MAJOR, n, a, n, pivots, work, length);
}
inline void getri(int n, double* a, const int* pivots, double* work, int length)
{
    LAPACKE_dgetri_work(LAPACK_COL_MAJOR, n, a, n, pivots, work, length);
}

// The same for the transpose.
inline void getrsTransposed(int n, int count, const float* a, const int* pivots, float* x)
{
    LAPACKE_sgetrs_work(LAPACK_COL_MAJOR, 'T', n, count, a, n, pivots, x, n);
}
inline void getrsTransposed(int n, int count, const double* a, const int* pivots, double* x)
{
    LAPACKE_dgetrs_work(LAPACK_COL_MAJOR, 'T', n, count, a, n, pivots, x, n);
}

// The upper triangle.
inline void potrf(int n, float* a) { LAPACKE_spotrf_work(LAPACK_COL_MAJOR, 'U', n, a, n); }
inline void potrf(int n, double* a) { LAPACKE_dpotrf_work(LAPACK_COL_MAJOR, 'U', n, a, n); }
inline void potrs(int n, int count, const float* a, float* x)
{
    LAPACKE_spotrs_work(LAPACK_COL_MAJOR, 'U', n, count, a, n, x, n);
}
inline void potrs(int n, int count, const double* a, double* x)
{
    LAPACKE_dpotrs_work(LAPACK_COL_MAJOR, 'U', n, count, a, n, x, n);
}

inline void geqr2(int height, int width, float* a, float* tau, float* work)
{
    LAPACKE_sgeqr2_work(LAPACK_COL_MAJOR, height, width, a, height, tau, work);
}
inline void geqr2(int height, int width, double* a, double* tau, double* work)
{
    LAPACKE_dgeqr2_work(LAPACK_COL_MAJOR, height, width, a, height, tau, work);
}

// `job`, `left` and `right` are 'V' for values and vectors, 'N' for values alone.
inline void syev(char job, int n, float* a, float* w, float* work, int length)
{
    LAPACKE_ssyev_work(LAPACK_COL_MAJOR, job, 'L', n, a, n, w, work, length);
}
inline void syev(char job, int n, double* a, double* w, double* work, int length)
{
    LAPACKE_dsyev_work(LAPACK_COL_MAJOR, job, 'L', n, a, n, w, work, length);
}
inline void geev(char left, char right, int n, float* a, float* re, float* im, float* vl, float* vr, float* work,
                 int length)
{
    LAPACKE_sgeev_work(LAPACK_COL_MAJOR, left, right, n, a, n, re, im, vl, n, vr, n, work, length);
}
inline void geev(char left, char right, int n, double* a, double* re, double* im, double* vl, double* vr, double* work,
                 int length)
{
    LAPACKE_dgeev_work(LAPACK_COL_MAJOR, left, right, n, a, n, re, im, vl, n, vr, n, work, length);
}

} // namespace bench
#endif
