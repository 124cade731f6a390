// The symmetric eigenproblem of one matrix, step by step, with the differences between the members.
//
//   SymmetricKernel     which kernel of which member
//   SymmetricSolution   what it leaves for the object
//   solveSymmetric
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "tarnm/tarnm.h"

namespace tarnm::reference {

struct SymmetricKernel {
    bool isVectors; // EigenValuesVectorsSym, else EigenValuesSym
    bool isArray;   // ma, else m
    char layout;    // S, L or P
    bool isDense;   // the dense kernel, else the strided or the pointer kernel
};

template <class T> struct SymmetricSolution {
    tarnmStatus status = StatusOk;
    std::vector<std::optional<T>> values;  // empty: not written
    std::vector<std::optional<T>> vectors; // row by row
    // For the tests: whether a column was skipped that is not zero, which sweep ran, whether a chain broke or a
    // closing update was left out, and the steps in all.
    bool skippedColumn = false;
    bool wentForward = false;
    bool brokeChain = false;
    bool leftOutClosing = false;
    int steps = 0;
};

// `matrix` is n x n, row by row.
template <class T>
SymmetricSolution<T> solveSymmetric(const SymmetricKernel& kernel, const std::vector<T>& matrix, int n);

} // namespace tarnm::reference
