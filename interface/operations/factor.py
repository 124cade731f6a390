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

CHOLESKY_NOTES = """
Only the lower triangle is read and written. **The diagonal of the result holds the reciprocals 1 / L[i][i]**, which
`CholeskyBackSubst` multiplies by. Elements above the diagonal of the source may hold anything: with element strides other
than the element size, with rows that lie apart and in tables of elements they are not even touched, so that their memory
may be missing and their table entries null. Elements above the diagonal of the result keep what they held.

**Order of operations.** Row by row, and from left to right in a row: s = src[i][j], minus L[i][k] L[j][k] for k = 0 ..
j - 1 ascending, each product rounded and subtracted on its own; then L[i][j] = s times the reciprocal of L[j][j]. On the
diagonal s = src[i][i], minus the squares of the row in ascending order, and the result is 1 / sqrt(s). In `64f` root and
division are exact to the last bit. In `32f` the reciprocal root is the processor's estimate y of about 12 bits and one
Newton step in single precision, y (s y y - 3) (-0.5), of about 22 bits. `CholeskyDecomp_ma_32f` with packed elements and
order 3 to 6 takes the step as y (3 - y y s) 0.5 for objects in whole groups of four, counted from the first object of
each thread's run; the last count % 4 objects of the run take the usual form, so that the last bits of an object can depend
on its place and on the number of threads.

**Failures.** `StatusNotPositiveDefinite` where s on the diagonal is not above the tolerance, which is absolute:

| members | order 3 | orders 4, 5 | order 6 | other orders |
|---|---|---|---|---|
| `32f`, base pointers and lists of objects | 0 | 0 | 0 | 0 |
| `64f`, the same, but for the next row | 0 | 0 | 0 | 0 |
| `CholeskyDecomp_ma_64f` with other element strides | 0 | 0 | 2^-52 | 2^-52 |
| `_P`, both types | 2^-23 | 0 | 0 | 0 |

An s equal to the tolerance fails; NaN passes, and the factor holds NaNs with `StatusOk`. Of an object that fails, the rows
above are complete, the row at fault has its elements before the diagonal, and nothing else is written. A serial call ends
there: earlier objects are complete, later ones untouched. In a parallel call this holds within the run of objects of each
thread. A group of four of `CholeskyDecomp_ma_32f` passes or fails as one: at the first step at which any of the four
objects fails, all four are left as just described.

**Accuracy.** Backward errors are of the order of n eps |A|. In `32f` an s below 2^-126, which the
estimate takes for zero, gives -infinity, and an infinite s gives NaN.

**Aliasing.** Source and result may be the same memory with the same strides.
"""

CHOLESKY_SOLVE_NOTES = """
Only the lower triangle of the factor is read; what is said there of the upper elements of a source holds here too.

**Order of operations.** Forward, for i ascending: s = src2[i], minus L[i][k] y[k] for k ascending; y[i] = s times the
stored reciprocal of L[i][i]. Backward, for i descending: s = y[i], minus L[k][i] x[k] for k = i + 1 .. ascending; x[i] = s
times the stored reciprocal. Each product is rounded and subtracted on its own, in every layout and at every order. There is
no division.

**Failures.** None after the arguments are checked. A factor that failed is not detected; a stored reciprocal of 0 gives
zeros, NaN and infinities spread by the formulas.

**Aliasing.** The result may be the memory of the right-hand side with the same strides. Orders other than 3 to 6 keep the
intermediate vector in the result.

The arguments of the `mva` members of lists are checked in an order of their own, see below.
"""

QR_NOTES = """
R stands on and above the diagonal of the result. Below it, column k holds the elements k + 1 .. of the vector v of
reflection k, whose element k is 1 and not stored. Q is never formed: it is the product of the I + beta v transpose(v) with
beta = -2 / |v|^2, in ascending order of k. There are as many reflections as columns, but one less for a square matrix.
The diagonal of R has either sign. There is no pivoting.

**Order of operations.** All sums ascend, each product rounded before it is added. For each k: the sum of the squares of
column k from the diagonal down; alpha, its root with the sign of the diagonal element (negative for 0 and NaN); r = 1 /
(a[k][k] + alpha); v[i] = r a[i][k] and q = 1 + the sum of v[i]^2; beta = -2 / q, rounded. Then for each column j from k
on: s = a[k][j] + the sum of a[i][j] v[i]; s = s beta; a[i][j] = a[i][j] + s v[i]. Divisions and roots are exact to the last
bit, in `32f` too. All members give the same bits.

**Failures.** `StatusDivByZero` where the sum of the squares is below 2^-23 (`32f`) or 2^-52 (`64f`); a sum equal to that
passes, and so does NaN. The tolerance is absolute and meets the square: a column whose elements are all of size 1e-4 is
rejected in `32f`. Scale such matrices before the call. The last column of a square matrix is not tested; a matrix of one
element is copied. Of an object that fails, the result holds the copy of the source with the reflections done so far.
A serial call ends there: earlier objects are complete, later ones untouched. In a parallel call this holds within the
run of objects of each thread.

**Range.** The squares are summed without a guard: elements above 1e19 in `32f` and 1e154 in `64f` overflow, and the
factor holds infinities and NaNs with `StatusOk`.

**Aliasing.** Source and result may be the same memory with the same strides. `pBuffer` needs no alignment; its contents
are undefined on return. Arrays of small matrices and parallel calls do without it, but it must not be null.
"""

QR_SOLVE_NOTES = """
**Order of operations.** The right-hand side is copied into c. For each reflection k in ascending order: q = 1 + the sum of
v[i]^2, s = c[k] + the sum of v[i] c[i], both ascending; t = (-2 / q) s; c[k] = c[k] + t, c[i] = c[i] + t v[i]. Then from the
last row up: s = the ascending sum of R[i][j] x[j], from 0; x[i] = (c[i] - s) / R[i][i]. Divisions are exact to the last
bit. Elements of c beyond the width are dropped. All members give the same bits.

**Failures.** None after the arguments are checked. A factor that failed is not detected; a zero on the diagonal of R gives
infinities or NaNs.

**Aliasing.** The result may overlap the right-hand side of the same object, except for square systems of order 3 to 6 with
different strides. The source vectors are not changed otherwise. `pBuffer` takes c and needs no alignment; square systems of
order 3 to 6 and parallel calls do not touch it, but it must not be null.
"""

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
        kernel="choleskyFactors<{path}, {layout}>({src}, {dst}, widthHeight, {place})",
        headers=("factor/cholesky.h",),
        formula=lambda code: "src = L transpose(L); dst[i][j] = L[i][j] below the diagonal, dst[i][i] = 1 / L[i][i]",
        notes=CHOLESKY_NOTES,
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
        kernel="choleskySolutions({src1}, {src2}, {dst}, widthHeight, {place})",
        headers=("factor/cholesky_solve.h",),
        formula=lambda code: "L transpose(L) dst = src2, with L as CholeskyDecomp leaves it in src1",
        notes=CHOLESKY_SOLVE_NOTES,
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
        kernel="qrFactors({src}, pBuffer, {dst}, width, height, {place})",
        headers=("factor/qr.h",),
        formula=lambda code: "src = Q R; dst[i][j] = R[i][j] for j >= i, the reflections whose product is Q below",
        notes=QR_NOTES,
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
        kernel="qrSolutions({src1}, pBuffer, {src2}, {dst}, width, height, {place})",
        headers=("factor/qr_solve.h",),
        formula=lambda code: "Q R dst = src2 in the sense of least squares, with Q and R as QRDecomp leaves them in src1",
        notes=QR_SOLVE_NOTES,
        purpose="Solves a linear least squares problem with the factors of a QR decomposition.",
    ),
]
