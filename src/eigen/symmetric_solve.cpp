// The solution of one object, compiled once for each precision and each form of vectors.
#include "eigen/symmetric_solve.h"

namespace tarnm::symmetric {

template tarnmStatus solveOne<float>(float*, float*, NoVectors, int, const Variant&);
template tarnmStatus solveOne<double>(double*, double*, NoVectors, int, const Variant&);
template tarnmStatus solveOne<float>(float*, float*, StridedVectors<float>, int, const Variant&);
template tarnmStatus solveOne<float>(float*, float*, ScatteredVectors<float>, int, const Variant&);
template tarnmStatus solveOne<double>(float*, float*, StridedVectors<float>, int, const Variant&);
template tarnmStatus solveOne<double>(float*, float*, ScatteredVectors<float>, int, const Variant&);
template tarnmStatus solveOne<double>(double*, double*, StridedVectors<double>, int, const Variant&);
template tarnmStatus solveOne<double>(double*, double*, ScatteredVectors<double>, int, const Variant&);

} // namespace tarnm::symmetric
