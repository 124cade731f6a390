// Eigen's eigenproblems of packed matrices, objects first to last. They compile for minutes and have sources of their own,
// which see nothing of ours that may change.
//
//   eigenGeneral           real and imaginary parts of the values, real parts of the vectors unless `vectors` is null
//   eigenSymmetric         values, vectors as columns unless `vectors` is null
//   eigenSymmetricDirect   the same by closed forms, orders 2 and 3
//
// Orders 3, 4, 6 and 8, and 2 where the matrices are symmetric.
#pragma once

namespace bench {

template <class T, int order> void eigenGeneral(const T* a, T* re, T* im, T* vectors, int first, int last);
template <class T, int order> void eigenSymmetric(const T* a, T* values, T* vectors, int first, int last);
template <class T, int order> void eigenSymmetricDirect(const T* a, T* values, T* vectors, int first, int last);

} // namespace bench
