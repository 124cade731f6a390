"""Scalars of a matrix and its inverse."""

from model import Row

SQUARE = {"src": "widthHeight x widthHeight", "dst": "widthHeight x widthHeight"}
# A working copy of the matrix and one 32-bit row index per row.
ELIMINATION_BUFFER = "widthHeight * widthHeight * elementSize + widthHeight * 4"
ELIMINATION_SCRATCH = "(widthHeight * widthHeight + widthHeight) * elementSize"

DET_NOTES = """
A singular matrix is no failure: the status is `StatusOk` whatever the determinant. Element (row i, column j) is a_ij, all
indices from 0.

**Orders 3 to 6** have closed forms: no pivots are chosen, nothing is compared with a tolerance, and a singular matrix
gives what the expansion gives, 0 or a rounding residue. `pBuffer` is not touched. Two forms are in use; every operation
rounds to the type that it is computed in, and sums run from left to right.

| kernel | order 3 | order 4 | orders 5, 6 |
|---|---|---|---|
| `m` with packed elements; `ma` and `ma_L` with packed elements, but for the next row | first row | first row | first row |
| `tarnmDet_ma_32f` with packed elements | last row, in single | see below | first row |
| all others | last row | last row | last row |

*Last row*, in the element type: minors grow from the first two rows downwards. Order 3:
((a00 a11 - a01 a10) a22 - (a00 a12 - a10 a02) a21) + (a01 a12 - a11 a02) a20. Order 4, with the minors Mijk of the first
three rows over the columns i, j, k: ((0 - a30) M123 + M023 a31) - M013 a32 + M012 a33, where
Mijk = mij a2k - mik a2j + mjk a2i and mij = a0i a1j - a0j a1i. Orders 5 and 6 add rows in the same way as Mijk.

*First row*, always in double precision: minors grow from the last two rows upwards. `32f` elements are widened and the
result is rounded once, when it is stored. Order 3 in `32f`:
((a20 a12 - a10 a22) a01 + (a21 a10 - a20 a11) a02) + (a11 a22 - a12 a21) a00; in `64f`:
((a12 a01 - a11 a02) a20 + (a11 a22 - a12 a21) a00) + (a21 a02 - a01 a22) a10. Order 4: c0 a00 - c1 a01 + c2 a02 - c3 a03,
each c in the same way from the minors of the last two rows; orders 5 and 6 follow with one and two more rows.

*`tarnmDet_ma_32f`, order 4.* Where `pSrc`, `srcObjectStride` and `srcRowStride` are multiples of 16, objects are taken in
pairs by an expansion along the first row in single precision, its cofactors sums of six signed triple products. Pairs are
counted over the whole call: the last object of an odd `count` alone takes the first-row form in double, and so do all
objects without that alignment. Products that leave the range of single precision show which form ran.

**All other orders** (1, 2, 7 and above) go through an elimination with row pivoting in `pBuffer`, which needs no alignment.
The tolerance is t = 2 n^3 times the smallest normal number of the type (2 n^3 is formed in 32 bits), whatever the size of
the elements. The pivot of a column is the element of largest magnitude, the first of equal ones. A pivot whose magnitude
is below t ends the elimination; one equal to t or NaN passes. Multipliers are true quotients; the product of the pivots is
rounded step by step, and the last pivot l comes last: product (l sign). Unless |l| > t the result is 0; so it is where l
is NaN, which a NaN anywhere before the last pivot makes it.

A pivot below t gives exactly +0 in the `m` members. In the `ma` members the elimination stops there, and the result is
0 if the last element of the partly eliminated matrix is not above t, and otherwise product (l 0): a zero of either sign, or
NaN where one of the two is infinite. In `tarnmDet_m_64f` with packed elements the running maximum of the pivot search is
kept in single precision: other rows may win than in its siblings where magnitudes agree to single precision or are
beyond its largest number.

**Position and threads.** The result of an object does not depend on the other objects or on the threads, but for the
parity in pairs. A parallel call takes scratch of its own; `pBuffer` must not be null in any case.

**Fixed form.** `tarnmDet_m4_32f` has an order of its own. With pij = a2i a3j - a2j a3i it is
((p23 a11 - p13 a12 + p12 a13) a00 - (p23 a10 - p03 a12 + p02 a13) a01) +
((p13 a10 - p03 a11 + p01 a13) a02 - (p12 a10 - p02 a11 + p01 a12) a03), in single. Nothing is tested: a null pointer
faults.

**Special values.** NaN in a closed form gives NaN; denormal numbers stay what they are. **Aliasing.** The result must not
overlap the source or `pBuffer`.
"""

INVERT_NOTES = """
The forms differ by kernel and order. t is the tolerance, 2 n^3 times the smallest normal number of the type, whatever the
size of the elements; the dense `64f` kernels take twice that at orders 3 and 4.

| kernel | order 3 | order 4 | orders 5, 6 |
|---|---|---|---|
| `32f` with packed elements | refined (`tarnmInvert_ma_32f`: closed) | refined | blocks |
| all others, and all of `64f` | closed | closed | closed |

**Order 1** is 1/a by a true division, `StatusSingular` unless |a| > t (so for NaN too). It never goes to several threads.

**Closed**: the transposed cofactors times 1/det, a true division, in the element type. `StatusSingular` where
|det| < t; a determinant equal to t passes, and so does NaN, which makes all elements NaN. Order 3, with u = a12 a01 - a02 a11,
v = a22 a01 - a02 a21, w = a22 a11 - a12 a21, has det = u a20 - v a10 + w a00, summed from left to right. Positive elements are
r minor, negative ones (0 - minor) r, and 0 - r minor in the first row. Larger orders follow; their cofactors are built up
from minors of two and three rows, and det is the expansion along the first column.

**Refined**: the same with the *refined reciprocal* in place of the division, the processor's estimate r0 of about 12 bits and
one Newton step, 2 r0 - x (r0 r0), in single precision. At order 4 the cofactors Cij are sums of six signed triple products
and det = (a30 C30 + a10 C10) + (a20 C20 + a00 C00).

**The range of the refined reciprocal.** r0 is squared, so that its argument must lie between about 2^-63 and 2^63 in
magnitude (1e-19 and 1e19). Below, the inverse is infinite or NaN with `StatusOk`; above, it loses bits, and from about 2^75 on it
is twice too large. Here the argument is the determinant (orders 3 and 4), or a pivot or the determinant of a 4x4 block (orders
5 and 6): scale matrices of very small or large elements, or use `64f` or element strides that are not packed, whose
forms divide.

**Blocks**, orders 5 and 6. The column with the largest magnitude of row 0 is exchanged with column 0: the highest such column,
but at order 5 column 4 only where no other attains it. With the refined reciprocal r of that pivot, the column c under it and the
rest d of row 0, u = r c, the block B behind becomes S = B - u d. Order 6 makes the same step once more on row 1 (the highest
of its columns 1 to 5), and the last four rows and columns are inverted by the refined form. X being that inverse, the whole is
( r - w r, -r (d X) ; b, X ) with b = X (-u) and w = d b; the exchanges are undone in the rows of the result, the last one first.
Pivots and the 4x4 determinant are compared with t of the whole order.

**Cofactors**, orders 2, 7 and above: one elimination with row pivoting for the determinant and one for each cofactor, n^5
operations in all, in `pBuffer`, which needs no alignment. The determinant is (product of the pivots times the last pivot) times
sign. `StatusSingular` where a pivot before the last is below t, or where |det| <= t; in `tarnmInvert_ma_*_P` the last pivot l is
compared instead, unless |l| > t, so that det may underflow there and the inverse be infinite with `StatusOk`. A singular
*minor* is no failure and does not count as zero: a pivot below t puts t in the place of the product of the pivots, and a last
pivot not above t makes the minor t. The inverse of a diagonal matrix of order 2 has -t/det beside the diagonal.

**Failures.** A call ends at the first singular object with `StatusSingular`: objects before it are complete, objects behind it
untouched. The object itself is untouched but for the block forms, where the first row (order 5) or the first two rows (order 6) of
its result hold work values; where the first pivot fails at order 5, that is a copy of row 0 of the source. In
`tarnmInvert_ma_32f` at order 4, where both row strides are 16 and `pSrc`, `pDst` and both object strides are multiples of 16,
objects 2k and 2k + 1 form a pair of which both are tested before either is written: a singular object also leaves the one
before it in its pair untouched. In a parallel call each thread ends at the first failure among its own objects, and the others
finish theirs; pairs are counted over the whole call, and where the objects of two threads meet amid a pair its objects stand
by themselves. A failing elimination of the whole matrix also sets the first element of `pBuffer` to 0, but not in
`tarnmInvert_ma_*_P`.

**Accuracy.** The largest element of A X - I is at most this many times epsilon cond(A), cond in the norm of row sums, over
2000 matrices of each kind (tests/matrixfunc/accuracy_test.cpp):

| form | order | random | rows scaled by 2^-8 to 2^8 | one short direction | lengths falling to 1e-3 |
|---|---|---|---|---|---|
| `32f` cofactors | 2 | 1 | 1 | 1 | 1 |
| `32f` closed, refined | 3 | 1 | 2.5 | 1 | 3 |
| `32f` refined | 4 | 1 | 5 | 1 | 50 |
| `32f` blocks | 5 | 1 | 8 | 1 | 150 |
| `32f` blocks | 6 | 2 | 6 | 1 | 100 |
| `32f` cofactors | 8 | 1 | 32 | 1 | 14 |
| `32f` closed (elements not packed) | 4 | 1 | 3 | 1 | 6 |
| | 5 | 1 | 5 | 1 | 17 |
| | 6 | 2.5 | 6 | 1 | 32 |
| `64f` cofactors | 2 | 1 | 1 | 1 | 1 |
| `64f` closed | 3 | 1 | 2 | 1 | 3 |
| | 4 | 1 | 4 | 1 | 8 |
| | 5 | 1 | 3 | 1 | 25 |
| | 6 | 2 | 5 | 1 | 20 |
| `64f` cofactors | 8 | 1 | 36 | 1 | 20 |

Random elements lie in [-2, 2]; the last two kinds have orthogonal directions of the length 1, the last one 1e-3 (`32f`) or 1e-9
(`64f`) long, or all falling off evenly to 1e-3. The refined reciprocal itself costs a bit or two; what counts is that the
adjugate sums products of up to n elements: it loses everything where the determinant is below about epsilon times
the product of the row norms, however harmless cond(A) is. For such matrices factor and solve (`LUDecomp`, `LUBackSubst`).

**Scratch.** `pBuffer` is used by the cofactors only, must not be null in any case, and is not used by a parallel call, which takes
scratch of its own.

**Fixed form.** `tarnmInvert_m4_32f` is the refined form of order 4. It writes the determinant to `pDet` unless that is null, and 0
there where the matrix is singular. Nothing else is tested: a null `pSrc` or `pDst` faults.

**Aliasing.** The result must not overlap the source or `pBuffer`. **Special values.** Infinities are no failure and
give infinities, zeros or NaN; denormal numbers stay what they are. The result of an object does not depend on the other
objects, its position or the threads.
"""

FROBENIUS_LIMITS = {
    ("S", "32f"): (2501, 1801), ("L", "32f"): (1601, 1601), ("P", "32f"): (1501, 1501),
    ("S", "64f"): (1801, 1501), ("L", "64f"): (1601, 1601), ("P", "64f"): (2501, 2501),
}  # fmt: skip


def invert_limits(code, layout, type_):
    return (3601 if (layout, type_) == ("S", "32f") else 2501), 2501


ROWS = [
    Row(
        operation="Trace",
        directory="matrixfunc",
        codes="m ma",
        signature="src width pDst",
        shapes={"src": "width x width", "pDst": "1"},
        measure=lambda code: "width * count",
        parallel=lambda code, layout, type_: (3601, 3601),
        kernel="traces({src}, {pDst}, width, {place})",
        headers=("matrixfunc/trace.h",),
        notes="Ascending, one rounding per addition.",
        purpose="Sums the diagonal of a square matrix.",
    ),
    Row(
        operation="FrobNorm",
        directory="matrixfunc",
        codes="m ma",
        signature="src width height pDst",
        shapes={"src": "height x width", "pDst": "1"},
        measure=lambda code: "width * height * count",
        parallel=lambda code, layout, type_: FROBENIUS_LIMITS[layout, type_],
        kernel="frobeniusNorms<{path}>({src}, {pDst}, height, width, {place})",
        headers=("matrixfunc/frobenius.h",),
        notes="""Sums are in the element type and nothing is scaled: the norm is an infinity where the sum of the squares overflows. The
order of additions differs between layouts and types and between a matrix alone and an array; the last bit is not
promised to agree between them.""",
        purpose="Computes the square root of the sum of the squares of all elements of a matrix.",
    ),
    Row(
        operation="Det",
        directory="matrixfunc",
        codes="m ma",
        signature="src widthHeight pBuffer pDst",
        shapes=SQUARE | {"pDst": "1", "pBuffer": ELIMINATION_BUFFER},
        measure=lambda code: "widthHeight * count",
        parallel=lambda code, layout, type_: (14401, 14401),
        scratch=ELIMINATION_SCRATCH,
        kernel="determinants<{path}, {layout}>({src}, {pDst}, widthHeight, pBuffer, {place})",
        headers=("matrixfunc/determinant.h",),
        notes=DET_NOTES,
        purpose="Computes the determinant of a square matrix.",
    ),
    Row(
        operation="Invert",
        directory="matrixfunc",
        codes="m ma",
        signature="src pBuffer dst widthHeight",
        shapes=SQUARE | {"pBuffer": ELIMINATION_BUFFER},
        result="m",
        measure=lambda code: "2 * widthHeight * count",
        parallel=invert_limits,
        scratch=ELIMINATION_SCRATCH,
        merges_status=True,
        statuses=(("StatusSingular", "a matrix is singular within the tolerance"),),
        early=("widthHeight == 1", "inversesOfOne({src}, {dst}, {place})"),
        kernel="inverses<{path}, {layout}>({src}, {dst}, widthHeight, pBuffer, {place})",
        headers=("matrixfunc/inverse.h",),
        notes=INVERT_NOTES,
        purpose="Computes the inverse of a square matrix.",
    ),
]
