// Addition, subtraction and scaling: every element of a result is one operation on the elements at its place.
#include "reference/problem.h"

namespace tarnm::reference {
namespace {

template <class T> T combined(std::string_view operation, T first, T second)
{
    if (operation == "Add") return first + second;
    if (operation == "Sub") return first - second;
    return first * second;
}

template <class T> void vectors(const Problem<T>& problem, Outcome<T>& outcome)
{
    const auto& member = problem.member();
    for (int n = 0; n < problem.count(); ++n)
        for (int k = 0; k < problem.size("len"); ++k)
            outcome.exactly("dst", n, k,
                            combined(member.operation, problem.element("src1", n, k), problem.element("src2", n, k)));
}

// A constant is the same for all elements of its object; codes that begin with c name it first.
template <class T> void vectorAndConstant(const Problem<T>& problem, Outcome<T>& outcome)
{
    const auto& member = problem.member();
    const bool constantFirst = member.code.front() == 'c';
    for (int n = 0; n < problem.count(); ++n)
        for (int k = 0; k < problem.size("len"); ++k) {
            const T element = problem.element("src", n, k), constant = problem.element("val", n, 0);
            outcome.exactly("dst", n, k,
                            constantFirst ? combined(member.operation, constant, element)
                                          : combined(member.operation, element, constant));
        }
}

template <class T> void matrices(const Problem<T>& problem, Outcome<T>& outcome)
{
    const auto& member = problem.member();
    for (int n = 0; n < problem.count(); ++n)
        for (int r = 0; r < problem.size("height"); ++r)
            for (int c = 0; c < problem.size("width"); ++c)
                outcome.exactly(
                    "dst", n, r, c,
                    combined(member.operation, problem.seen("src1", n, r, c), problem.seen("src2", n, r, c)));
}

template <class T> void matrixAndConstant(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n)
        for (int r = 0; r < problem.size("height"); ++r)
            for (int c = 0; c < problem.size("width"); ++c)
                outcome.exactly("dst", n, r, c, problem.value("val") * problem.seen("src", n, r, c));
}

const char matrixCodes[] = "mm mt tm tt mam mat tam tat mma mta tma tta mama mata tama tata";

const Registration sumsOfVectors("Add", "vv vav vava", vectors<float>, vectors<double>);
const Registration sumsWithConstants("Add", "vc vac vca vaca", vectorAndConstant<float>, vectorAndConstant<double>);
const Registration sumsOfMatrices("Add", matrixCodes, matrices<float>, matrices<double>);
const Registration differencesOfVectors("Sub", "vv vav vva vava", vectors<float>, vectors<double>);
const Registration differencesWithConstants("Sub", "vc vac vca vaca cv cva cav cava", vectorAndConstant<float>,
                                            vectorAndConstant<double>);
const Registration differencesOfMatrices("Sub", matrixCodes, matrices<float>, matrices<double>);
const Registration scaledVectors("Mul", "vc vac vca vaca", vectorAndConstant<float>, vectorAndConstant<double>);
const Registration scaledMatrices("Mul", "mc tc mac tac", matrixAndConstant<float>, matrixAndConstant<double>);

} // namespace
} // namespace tarnm::reference
