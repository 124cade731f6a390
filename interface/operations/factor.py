"""LU, Cholesky and QR factorisations and their solvers."""

from grammar import general_checks, is_array_code
from model import Row

SQUARE = {"src": "widthHeight x widthHeight", "dst": "widthHeight x widthHeight"}
SYSTEM = {"src1": "widthHeight x widthHeight", "src2": "widthHeight", "dst": "widthHeight"}
SINGULAR = (("StatusSingular", "a pivot is zero within the tolerance"),)

CHOLESKY_LIMITS = {("S", "32f"): (7501, 7501), ("L", "64f"): (721, 2001)}
CHOLESKY_SOLVE_LIMITS = {
    ("mava", "S", "32f"): (2051, 1701),
    ("mava", "P", "64f"): (2051, 2051),
    ("mva", "S", "32f"): (1201, 1201),
}


def solve_measure(code):
    return "(widthHeight + 2) * widthHeight * count" if code == "mava" else "(widthHeight + 2 * count) * widthHeight"


def cholesky_solve_checks(code, layout, type_):
    if (code, layout) == ("mva", "L"):
        return "N S R Z C"
    return general_checks(is_array_code(code), layout)


def cholesky_solve_limits(code, layout, type_):
    usual = 1701 if code == "mava" else 721
    return CHOLESKY_SOLVE_LIMITS.get((code, layout, type_), (usual, usual))


def qr_checks(code, layout, type_):
    return general_checks(is_array_code(code), layout) + " M"


def qr_limits(code, layout, type_):
    first = 2801 if layout == "S" else 1801
    return first, first


def qr_solve_measure(code):
    if code == "mava":
        return "(width * height + width + height) * count"
    return "width * height + (width + height) * count"


# ---- LU

LU_NOTES = """
Rows never move. `pDstIndex` holds n numbers for each object, one object behind the other in every layout: position k has
the source row that became the pivot row of step k. Row index[k] of the destination holds row k of the factors: in the
columns j < k the multipliers L(k, j), from column k on U(k, j). The unit diagonal of L is stored nowhere. Only the
factor and its index array together have a meaning; `LUBackSubst` takes both.

**Pivots.** Step k takes the row with the largest magnitude in column k. Ties keep the earliest position. A NaN at position
k stays the pivot, and one behind it never wins. The tolerance is absolute:

| orders | the matrix counts as singular when a pivot's magnitude is | `32f` | `64f` |
|---|---|---|---|
| 3, 4, 5, 6 | below twice the smallest normal number | 2.3509887e-38 | 4.450147717014403e-308 |
| 1, 2, 7 and upward | not above the epsilon | 1.1920929e-07 | 2.220446049250313e-16 |

A matrix of order 2 or 7 whose elements are all about 1e-8 is singular in `32f` therefore, however well conditioned:
scale such matrices before the call.

**Arithmetic.** A multiplier is the element times the rounded reciprocal of the pivot; orders 3 to 6 divide by the pivot
in the last step, which has one row left. Each product is rounded and subtracted by itself, in ascending order of the
steps. In lanes and alone an object gives the same bits. The reciprocal of a pivot below 2.9e-39 (`32f`) or 5.6e-309 (`64f`)
overflows; no pivot that passes the test is that small. Elements that overflow run on as infinities and NaN, with
`StatusOk`.

**Failures.** `StatusSingular`: a pivot was zero within the tolerance. At orders 3 to 6 the rows of the finished steps are
written, the others are untouched, and the index array holds the full permutation with the exchange of the failing step.
At other orders the destination holds the partial elimination in all rows, and the index array is the one before the
exchange of the failing step. A serial call ends at its first singular object: those before it are complete, those behind
it untouched, index arrays included. In a parallel call this holds within the run of objects of each thread.

**Aliasing.** The destination may be the source, with the same strides, in which case a failing object of order 3 to 6
keeps the source's rows where no factor row was written. Orders 3 to 6 read all of an object before they write to it, so
that any destination will do that overlaps the same object alone. No other overlap is supported.
"""

LU_SOLVE_NOTES = """
`src1` and `pSrcIndex` are what `LUDecomp` left: row i of the factors is the stored row index[i]. Element index[i] of
`src2` belongs to it. The solution is written in natural order. `mv` and `mva` read n indices, `mava` n for each object,
one object behind the other in every layout. Indices are not checked.

**Order of subtractions.** With L and U the factors, orders 3 to 6 subtract one rounded product at a time:

- y(i) = b(index[i]) - L(i, 1) y(1) - L(i, 2) y(2) - ... - L(i, i-1) y(i-1) - L(i, 0) y(0): column 0 last;
- x(i) = (y(i) - U(i, n-1) x(n-1) - ... - U(i, i+1) x(i+1)) / U(i, i): from the highest column down.

`mv` and `mava` divide. `mva` computes the reciprocals of the diagonal once and multiplies by them, so that its last bits
can differ from those of `mv`. Other orders add their products up from 0 in ascending order of the column, subtract the sum
at once, and divide.

`tarnmLUBackSubst_mva_32f` with packed elements works like the other orders, and divides, where a call has one or two
vectors. In a parallel call each thread decides by the number of its own vectors.

**Failures.** None after the tests of the arguments: a zero on the diagonal of U gives infinities or NaN, with
`StatusOk`. NaN and infinities propagate.

**Aliasing.** At orders 3 to 6 the destination may be the right-hand side itself. At other orders it must not overlap it,
and neither at orders 3 to 6 where `tarnmLUBackSubst_mva_32f` with packed elements has one or two vectors, in a call or in
the share of a thread: the destination holds intermediate results while the right-hand side is still being read. It must
never overlap the factor.
"""


def lu_solve_traits(member, path):
    plan = [f".quotientsOfCases = LuQuotients::{'reciprocal' if member.code == 'mva' else 'divided'}"]
    if (member.name, path) == ("tarnmLUBackSubst_mva_32f", "dense"):
        plan.append(".fewVectorsTakeLoops = true")
    return {"plan": f"LuSolvePlan{{{', '.join(plan)}}}"}


NOT_WIDER = [("width", "<=", "height")]

ROWS = [
    Row(
        kernel="decomposeLU({src}, pDstIndex, {dst}, widthHeight, {place})",
        headers=("factor/lu_decompose.h",),
        formula=lambda code: "src(index[i], j) = sum over k of L(i, k) * U(k, j)",
        notes=LU_NOTES,
        operation="LUDecomp",
        directory="factor",
        codes="m ma",
        signature="src pDstIndex dst widthHeight",
        shapes=SQUARE | {"pDstIndex": "widthHeight"},
        result="m",
        measure=lambda code: "widthHeight * widthHeight * count",
        parallel=lambda code, layout, type_: (1001, 1001),
        merges_status=True,
        statuses=SINGULAR,
        purpose="Factors a square matrix into a lower and an upper triangular factor with row pivoting.",
    ),
    Row(
        kernel="solveLU<{plan}>({src1}, pSrcIndex, {src2}, {dst}, widthHeight, {place})",
        headers=("factor/lu_solve.h",),
        traits=lu_solve_traits,
        formula=lambda code: "the solution dst of A dst = src2",
        notes=LU_SOLVE_NOTES,
        operation="LUBackSubst",
        directory="factor",
        codes="mv mva mava",
        signature="src1 pSrcIndex src2 dst widthHeight",
        shapes=SYSTEM | {"pSrcIndex": "widthHeight"},
        measure=solve_measure,
        parallel=lambda code, layout, type_: (1201, 1201) if code == "mava" else (701, 701),
        purpose="Solves a linear system with the factors of an LU decomposition.",
    ),
    Row(
        operation="CholeskyDecomp",
        directory="factor",
        codes="m ma",
        signature="src dst widthHeight",
        shapes=SQUARE,
        result="m",
        measure=lambda code: "widthHeight * widthHeight * count",
        parallel=lambda code, layout, type_: CHOLESKY_LIMITS.get((layout, type_), (2001, 2001)),
        merges_status=True,
        statuses=(("StatusNotPositiveDefinite", "a pivot is not positive within the tolerance"),),
        purpose="Factors a symmetric positive definite matrix into a lower triangular matrix and its transpose.",
    ),
    Row(
        operation="CholeskyBackSubst",
        directory="factor",
        codes="mv mva mava",
        signature="src1 src2 dst widthHeight",
        shapes=SYSTEM,
        checks=cholesky_solve_checks,
        measure=solve_measure,
        parallel=cholesky_solve_limits,
        purpose="Solves a linear system with the factor of a Cholesky decomposition.",
    ),
    Row(
        operation="QRDecomp",
        directory="factor",
        codes="m ma",
        signature="src pBuffer dst width height",
        shapes={"src": "height x width", "dst": "height x width", "pBuffer": "height * elementSize"},
        result="m",
        checks=qr_checks,
        agreement=lambda code: NOT_WIDER,
        measure=lambda code: "2 * width * height * count",
        parallel=qr_limits,
        scratch="height * elementSize",
        merges_status=True,
        statuses=(("StatusDivByZero", "the remaining part of a column is zero within the tolerance"),),
        purpose="Factors a matrix into an orthogonal and an upper triangular factor by Householder reflections.",
    ),
    Row(
        operation="QRBackSubst",
        directory="factor",
        codes="mv mva mava",
        signature="src1 pBuffer src2 dst width height",
        shapes={"src1": "height x width", "src2": "height", "dst": "width", "pBuffer": "height * elementSize"},
        checks=qr_checks,
        agreement=lambda code: NOT_WIDER,
        measure=qr_solve_measure,
        parallel=qr_limits,
        scratch="height * elementSize",
        purpose="Solves a linear least squares problem with the factors of a QR decomposition.",
    ),
]
