// The routines of BLAS that rows call on packed elements, by the element type.
#pragma once

#ifdef BENCH_HAS_OPENBLAS
#include <cblas.h>

namespace bench {

inline void blasCopy(int n, const float* a, float* d) { cblas_scopy(n, a, 1, d, 1); }
inline void blasCopy(int n, const double* a, double* d) { cblas_dcopy(n, a, 1, d, 1); }
// d += s * a
inline void blasAddMultiple(int n, float s, const float* a, float* d) { cblas_saxpy(n, s, a, 1, d, 1); }
inline void blasAddMultiple(int n, double s, const double* a, double* d) { cblas_daxpy(n, s, a, 1, d, 1); }
inline void blasScale(int n, float s, float* d) { cblas_sscal(n, s, d, 1); }
inline void blasScale(int n, double s, double* d) { cblas_dscal(n, s, d, 1); }
inline float blasDot(int n, const float* a, const float* b) { return cblas_sdot(n, a, 1, b, 1); }
inline double blasDot(int n, const double* a, const double* b) { return cblas_ddot(n, a, 1, b, 1); }
inline float blasNorm(int n, const float* a) { return cblas_snrm2(n, a, 1); }
inline double blasNorm(int n, const double* a) { return cblas_dnrm2(n, a, 1); }

} // namespace bench
#endif
