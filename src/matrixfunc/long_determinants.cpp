// The closed determinants of orders 5 and 6, compiled once for all members.
#include "matrixfunc/determinant_forms.h"

namespace tarnm {

template <int n, class V> V longDeterminantByLastRow(const V (&a)[n][n]) { return expandedByLastRow(a); }
template <int n, class V> V longDeterminantByFirstRow(const V (&a)[n][n]) { return expandedDense(a); }

#define TARNM_DETERMINANTS(n, V)                                                                                       \
    template V longDeterminantByLastRow(const V(&a)[n][n]);                                                            \
    template V longDeterminantByFirstRow(const V(&a)[n][n]);

TARNM_DETERMINANTS(5, float)
TARNM_DETERMINANTS(6, float)
TARNM_DETERMINANTS(5, double)
TARNM_DETERMINANTS(6, double)
TARNM_DETERMINANTS(5, native_lanes<float>)
TARNM_DETERMINANTS(6, native_lanes<float>)
TARNM_DETERMINANTS(5, native_lanes<double>)
TARNM_DETERMINANTS(6, native_lanes<double>)

} // namespace tarnm
