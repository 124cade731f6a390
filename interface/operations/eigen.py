"""Symmetric and general real eigenproblems."""

from grammar import is_array_code
from model import Row
from operations import general_accuracy, symmetric_accuracy

ORDER = "widthHeight x widthHeight"
NOT_CONVERGED = ("StatusNotConverged", "the iteration reached its limit without convergence")
SINGULAR = ("StatusSingular", "the product of the eigenvalues is zero within the tolerance")
NO_PIVOT = ("StatusError", "a complex system of order 2 had no usable pivot in the back substitution")

VALUES_BUFFER = "widthHeight * elementSize * (widthHeight + 5)"
VECTORS_BUFFER = "widthHeight * elementSize * (3 * widthHeight + 5)"

GENERAL_METHOD = """
The problem that is solved is that of the transpose of the source. Each object goes through a Householder reduction to
Hessenberg form without balancing, a Francis iteration with implicit double shifts, and the standardisation of 2x2
diagonal blocks. One budget of 30 steps per row serves all eigenvalues of an object; steps 10 and 20 towards a block take
exceptional shifts.

A complex pair stands at neighbouring positions, the positive imaginary part first. Eigenvalues are not sorted. A 2x2
block whose diagonal elements are equal, to within twice the smallest normal number, counts as a complex pair with
imaginary part sqrt(|b|) sqrt(|c|), also where b and c have one sign and the eigenvalues are real.

**Order of additions.** Sums run in ascending order of their index. In `32f` the sums of magnitudes that start a step and
the roots of norms and rotations are formed in double precision and rounded once. Results of an object do not depend on
its neighbours, its position or the number of threads.

**Accuracy.** See the table at the end of these notes. The norms of reflectors are formed from squares without scaling:

| size of the elements that a reflector eliminates | `32f` | `64f` |
|---|---|---|
| above | 1e19: the squares overflow | 1e154 |
| below | 1e-19: bits are lost, from 1e-23 on the elements are dropped | 1e-154, 1e-162 |

Whether the eigenvalues of a 2x2 block are real is decided against 4 eps, whatever the size of its elements: the square of
half their difference, over the largest element, has to reach it, or the block is treated as a complex pair. **Scale matrices
to a norm near 1 before the call**: in `32f` elements of 1e-3 fail now and then, elements of 1e-8 every third time.

**Failures.** `StatusNotConverged`: the positions of the eigenvalues that had split off by then are written, from the end
of the object's run, the others are not. A serial call ends at the first object that fails: those before it are complete,
those behind it untouched. In a parallel call this holds within the run of objects of each thread, and the status is that
of the first thread to report a failure. A singular matrix is no failure. Objects with NaN or infinities come to an end, with
`StatusNotConverged` or with results that are not numbers.

**Aliasing.** Results that overlap the source are not supported. `pBuffer` needs no alignment; its contents are undefined
on return. A parallel call takes scratch of its own, but `pBuffer` must not be null.

**Measured.** 20000 matrices per row, `tarnmEigenValuesVectors_m`: the largest residual of a matrix's left and right vectors in
units of eps |S|, in long double. The columns in percent tell what so many of the matrices that converge stay below; the last
two how many do not converge, and how many have a residual of more than 1000 units. Elements are uniform between -1 and 1
times the size named; graded ones fall by 1/10 with each row and column, those far from normal are 1/1000 below the diagonal.
""" + general_accuracy.VECTORS

GENERAL_VALUES_NOTES = """
`pDstValuesRe` and `pDstValuesIm` take the real and the imaginary parts: n elements for each object, one object behind the
other in every layout.

Subdiagonal elements are neglected up to the epsilon of the type, whatever stands beside them: a matrix whose elements off
the diagonal are that small returns its diagonal. Scale such matrices before the call. Where b and c of a nearly defective
block come out with one sign, the eigenvalues are its mean plus and minus the old half difference of its diagonal; the
families with vectors use the roots of b and c there, so that their eigenvalues can differ.
""" + GENERAL_METHOD

GENERAL_VECTORS_NOTES = """
The sets are named for the transpose of the source S: right vectors v satisfy transpose(S) v = lambda v, **left vectors u
satisfy S u = lambda u**. A caller who wants the vectors of S x = lambda x takes the left ones. Vector j is column j. For
a complex pair at positions j and j+1, column j is the real part and column j+1 the imaginary part of the vector of
eigenvalue j; the vector of eigenvalue j+1 is its conjugate.

Vectors have unit Euclidean length, a pair counted over both columns, and the largest component of a pair is real up to
rounding. The squares of a column are summed without a guard against overflow.

Subdiagonal elements are neglected by comparison with their diagonal neighbours. The shifts are formed in single precision
for both types: in `64f`, elements outside the range of single precision converge slowly or not at all. A 2x2 block with
equal diagonal elements and b and c of one sign is not rotated afresh but takes the rotation of the block before it in the
same object; where there is none, two columns of vectors come out as 0 or NaN, with `StatusOk`.

**Failures of the substitution.** `StatusError`: a complex system of order 2 had no usable pivot. The eigenvalues of the
object are complete, its vectors are not written. A real system of order 2 without a usable pivot ends the call with
`StatusOk` in the same state, for this and all later objects.
""" + GENERAL_METHOD



def checks(code, layout, type_):
    if not is_array_code(code):
        return {"S": "N Z S", "P": "N Z R"}[layout]
    return "N Z C S" if layout == "S" else "N Z C R S"


def alternating_checks(code, layout, type_):
    """Source and destinations take turns in the array members with roi shifts."""
    if is_array_code(code) and layout != "S":
        return "N Z C R:src S:src R:dst S:dst"
    return checks(code, layout, type_)


def vectors_row(operation, destinations, pointers, kernel, **more):
    return Row(
        operation=operation,
        directory="eigen",
        codes="m ma",
        signature=f"src {destinations} pDstValuesRe pDstValuesIm widthHeight count pBuffer",
        shapes={"src": ORDER, "pDstValuesRe": "widthHeight", "pDstValuesIm": "widthHeight", "pBuffer": VECTORS_BUFFER}
        | {name: ORDER for name in pointers},
        result="m",
        checks=alternating_checks,
        dense=False,
        statuses=(NOT_CONVERGED, NO_PIVOT),
        kernel=f"{kernel}, {{pDstValuesRe}}, {{pDstValuesIm}}, widthHeight, pBuffer, {{place}})",
        headers=("eigen/general_kernels.h",),
        notes=GENERAL_VECTORS_NOTES,
        **more,
    )


def buffer_query_row(operation, size, function):
    return Row(
        operation=operation,
        directory="eigen",
        codes="",
        signature="widthHeight pSizeBytes",
        shapes={"pSizeBytes": "1"},
        checks=lambda code, layout, type_: "N Z",
        dense=False,
        kernel=f"storeBufferSize(general::{function}<{{T}}>(widthHeight), pSizeBytes)",
        headers=("eigen/general_kernels.h",),
        purpose=f"Tells the size of the scratch block of {size}.",
    )

SYMMETRIC_NOTES = """
## Steps

Symmetry is assumed and never tested: order 2 reads the upper element only, higher orders whatever the reduction and the
lower side of its band hold. A row of values is contiguous, object k at element k * widthHeight, in every layout.
{vectors}
- Order 1: the element itself, whatever it is. Cannot fail.
- Order 2: closed form. The first value is the one of larger magnitude; with a negative trace that is the smaller one.
  The pair is not sorted.
- Order 3 and above: Householder reduction to tridiagonal form over the whole working matrix, sums in ascending order;
  then shifted QL iteration where the last diagonal element of the band is larger in magnitude than the first, else QR
  from the end; then a selection sort, descending, under a strict comparison.

All tolerances are absolute, E = 2^-23 for `32f` and 2^-52 for `64f`: scale a matrix so that its norm is near 1. An
element of the band is negligible up to 2E, a column of the reduction where its squares sum to E or less. Rotations
below E break off a chain, and a last rotation below E goes without the closing update; then an element of the band is
lost, and with it the accuracy of the values concerned.

Working scalars: {precision}

## What a failure leaves

An array call stops at the first object that fails (in a parallel call: each thread at its own first). The objects
before it are complete, those behind it untouched.

- `StatusSingular`, order 2, where E is at or above the magnitude of the determinant: nothing is written for the object.
- `StatusSingular`, higher orders, where E is at or above the magnitude of the product of the values:
  {singular}
- `StatusNotConverged`, after 30 steps for one value: values and vectors hold what the iteration had reached. Nothing is
  sorted, and no part of it is promised to mean anything.

A singular matrix is thus no failure of the computation: the values are there. A well conditioned matrix of small norm is
reported too, for example diag(0.001, 0.001, 0.001) in `32f`.

## Special input

NaN and infinities run through the same comparisons; every call ends. A matrix of NaN goes backward to the step limit.
Results must not overlap the source. `pBuffer` is scratch of widthHeight * widthHeight elements with contents undefined
on return; a call that uses threads takes scratch of its own and leaves it alone, but it must not be null.

## Accuracy

Measured on 100000 matrices of norm near 1 per row, against long double, in units of eps times the norm: {measured}.
The columns in percent tell what so many of the matrices that converge stay below; the last two how many do not converge,
and how many are wrong by more than 1000 units. Nearly equal values differ by 1e-6; graded values are powers of 1/10.
{accuracy}
Order 2 stays within 2 units. The `m` members differ little from these.

From order 4 on, **spectra with two nearly equal values are solved wrongly every tenth time, with `StatusOk`**: a value has
then converged to the last bit before its coupling counts as negligible, the last rotation of the chain vanishes, and the
element that the broken chain drops is one that still mattered. In `32f`, tests with an absolute tolerance drop columns and
closing updates of up to sqrt(eps); graded spectra that reach far below the norm lose their small values by this. Where
such matrices occur, check the result: {check}.

## Speed

Array members work on several objects at once up to order 8, whatever the layout; from order 9 on and in the `m` members
one object is solved after the other.
"""

SYMMETRIC_VALUES_NOTES = SYMMETRIC_NOTES.format(
    measured="the error of the values",
    accuracy=symmetric_accuracy.VALUES,
    check="the sum of the values is the trace, and the sum of their squares that of all elements",
    vectors="",
    precision="""single for `32f`, double for `64f`. The dense `m` member in `32f` forms the root of the forward shift
in double. The array members skip a column of the reduction that is negligible, or that the reflection would hardly turn.
The dense array member in `32f` tests the determinant of order 2 against 2^-52.""",
    singular="""all values are written, not sorted. A backward search multiplies a value into the
  product at every hit, several times over where a block takes several steps, so a product can fall to E although that of
  the values has not.""",
)
SYMMETRIC_VECTORS_NOTES = SYMMETRIC_NOTES.format(
    measured="""the larger of the
error of the values and the residual |A v - value v|, and, as orthogonality, the largest element of V'V - I""",
    accuracy=symmetric_accuracy.VECTORS,
    check="A v = value v",
    vectors="""
Column j of the result belongs to value j: element (r, j) is component r of the vector. Columns are orthonormal up to
rounding; their signs are those that the steps give.
""",
    precision="""double in the array members, also for `32f`, where the matrix, the vectors and the band stay in single
precision in memory. The `m` members in `32f` are single, but for the roots of the shifts and of the rotation of order 2.
All members skip a column that the reflection would hardly turn, the array members also one that is negligible. The array
member for lists of matrices in `32f`, with both element strides packed, reduces with the tolerance 2^-52.""",
    singular="""values and vectors are written; the `m` members sort
  them first, the array members leave them unsorted.""",
)


ROWS = [
    Row(
        operation="EigenValuesSym",
        directory="eigen",
        codes="m ma",
        signature="src pBuffer pDstValues widthHeight",
        shapes={"src": ORDER, "pDstValues": "widthHeight", "pBuffer": "widthHeight * widthHeight * elementSize"},
        checks=checks,
        measure=lambda code: "widthHeight * (widthHeight + 1) * count",
        parallel=lambda code, layout, type_: (1001, 1001),
        scratch="widthHeight * widthHeight * elementSize",
        merges_status=True,
        statuses=(NOT_CONVERGED, SINGULAR),
        kernel="symmetricEigenvalues<{layout}, {path}>({src}, pBuffer, pDstValues, widthHeight, {place})",
        headers=("eigen/symmetric.h",),
        formula=lambda code: "det(src - pDstValues[j] I) = 0",
        notes=SYMMETRIC_VALUES_NOTES,
        purpose="Computes the eigenvalues of a symmetric matrix.",
    ),
    Row(
        operation="EigenValuesVectorsSym",
        directory="eigen",
        codes="m ma",
        signature="src pBuffer dst:DstVectors pDstValues widthHeight",
        shapes={"src": ORDER, "dst": ORDER, "pDstValues": "widthHeight",
                "pBuffer": "widthHeight * widthHeight * elementSize"},
        result="m",
        checks=checks,
        measure=lambda code: "widthHeight * (2 * widthHeight + 1) * count",
        parallel=lambda code, layout, type_: (701, 701),
        scratch="widthHeight * widthHeight * elementSize",
        merges_status=True,
        statuses=(NOT_CONVERGED, SINGULAR),
        kernel="symmetricEigenvectors<{layout}, {path}>({src}, pBuffer, {dst}, pDstValues, widthHeight, {place})",
        headers=("eigen/symmetric.h",),
        formula=lambda code: "src dst = dst diag(pDstValues)",
        notes=SYMMETRIC_VECTORS_NOTES,
        purpose="Computes the eigenvalues and the orthonormal eigenvectors of a symmetric matrix.",
    ),
    Row(
        operation="EigenValues",
        directory="eigen",
        codes="m ma",
        signature="src pDstValuesRe pDstValuesIm widthHeight count pBuffer",
        shapes={"src": ORDER, "pDstValuesRe": "widthHeight", "pDstValuesIm": "widthHeight", "pBuffer": VALUES_BUFFER},
        checks=checks,
        dense=False,
        measure=lambda code: "(widthHeight * widthHeight + widthHeight) * count",
        parallel=lambda code, layout, type_: (251, 251),
        scratch=VECTORS_BUFFER,
        merges_status=True,
        statuses=(NOT_CONVERGED,),
        kernel="generalValues<{T}>({src}, {pDstValuesRe}, {pDstValuesIm}, widthHeight, pBuffer, {place})",
        headers=("eigen/general_kernels.h",),
        notes=GENERAL_VALUES_NOTES,
        purpose="Computes the real and complex eigenvalues of a general real matrix.",
    ),
    buffer_query_row("EigenValuesGetBufSize", "EigenValues", "valuesBufferSize"),
    vectors_row(
        "EigenValuesVectors",
        "dstRight:DstVectorsRight dstLeft:DstVectorsLeft",
        ("dstRight", "dstLeft"),
        kernel="generalBothVectors<{T}>({src}, {dstRight}, {dstLeft}",
        measure=lambda code: "widthHeight * (3 * widthHeight + 1) * count",
        parallel=lambda code, layout, type_: (501, 501),
        scratch=VECTORS_BUFFER,
        merges_status=True,
        purpose="Computes the eigenvalues and both sets of eigenvectors of a general real matrix.",
    ),
    vectors_row("EigenValuesVectorsLeft", "dst:DstVectors", ("dst",),
                kernel="generalVectors<general::Sets::left, {T}>({src}, {dst}",
                purpose="Computes the eigenvalues and the left eigenvectors of a general real matrix."),
    vectors_row("EigenValuesVectorsRight", "dst:DstVectors", ("dst",),
                kernel="generalVectors<general::Sets::right, {T}>({src}, {dst}",
                purpose="Computes the eigenvalues and the right eigenvectors of a general real matrix."),
    buffer_query_row("EigenValuesVectorsGetBufSize",
                     "EigenValuesVectors, EigenValuesVectorsLeft and EigenValuesVectorsRight", "vectorsBufferSize"),
]  # fmt: skip
