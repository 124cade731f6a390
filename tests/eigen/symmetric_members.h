// Calls of the members of the symmetric eigenproblem by family, form, layout and path.
//
//   SymmetricCall       what a call returned and left; what it did not write is NaN with a payload of its own
//   callSymmetric       on objects given as packed matrices
//   allKernels          every kernel of an element type
//   isUntouched
#pragma once

#include <vector>

#include "reference/symmetric_eigen.h"

namespace tarnm::test {

using reference::SymmetricKernel;

template <class T> struct SymmetricCall {
    tarnmStatus status;
    std::vector<std::vector<T>> values;  // by object
    std::vector<std::vector<T>> vectors; // by object, row by row
};

// Strided kernels are reached by sources and results with room between the elements.
template <class T>
SymmetricCall<T> callSymmetric(const SymmetricKernel& kernel, const std::vector<std::vector<T>>& objects, int n);

std::vector<SymmetricKernel> allKernels();

template <class T> bool isUntouched(T value);

} // namespace tarnm::test
