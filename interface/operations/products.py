"""Products of matrices with matrices and vectors."""

from model import Row

# (dense, not dense)
PRODUCT_LIMITS = {
    ("S", "32f"): (2501, 1441), ("L", "32f"): (3601, 1441),
    ("S", "64f"): (3601, 1441), ("L", "64f"): (3601, 1441),
    ("P", "32f"): (1441, 1441), ("P", "64f"): (1441, 1441),
}  # fmt: skip


def product_limits(code, layout, type_):
    return PRODUCT_LIMITS[layout, type_]


# ---- matrix by matrix

MATRIX_PAIRS = {"src1": "src1Height x src1Width", "src2": "src2Height x src2Width"}


def base_code(code):
    return code.replace("a", "")


def product_sizes(code):
    """Rows R, columns C of the result and length K of the inner sum."""
    first, second = base_code(code)
    rows, inner = ("src1Height", "src1Width") if first == "m" else ("src1Width", "src1Height")
    other, columns = ("src2Height", "src2Width") if second == "m" else ("src2Width", "src2Height")
    return rows, columns, inner, other


def product_agreement(code):
    _, _, inner, other = product_sizes(code)
    return [(inner, "==", other)]


def product_measure(code):
    rows, columns, inner, _ = product_sizes(code)
    letters = code.replace("ta", "A").replace("ma", "A")
    if letters == "AA":
        return f"({rows} * {inner} + {inner} * {columns} + {rows} * {columns}) * count"
    if letters[0] == "A":
        return f"{inner} * {columns} + ({inner} + {columns}) * {rows} * count"
    return f"{rows} * {inner} + ({inner} + {rows}) * {columns} * count"


# Square matrices of 3 up to this order have code of their own.
def largest_case(member, path):
    code, type_, layout = member.code, member.type, member.layout
    if path == "dense":
        if (code, type_) == ("tm", "32f"):
            return 5
        return 2 if layout == "L" and (code, type_) in [("mta", "32f"), ("tta", "32f"), ("tta", "64f")] else 6
    if path == "strided" and type_ == "32f":
        if layout == "L" and code in ("mam", "mat", "tam", "tat"):
            return 3
        if layout == "S" and code in ("mat", "tam"):
            return 3
        if layout == "S" and code == "mama":
            return 5
    if path == "pointer" and type_ == "32f" and code in ("mam", "mat", "tam"):
        return 3
    return 6


# How the sums of other shapes are added.
DENSE_SUMS = {"mm": "paired", "mt": "ascending", "tm": "innerLanes", "tt": "paired"}


def product_sum(member, path):
    base = base_code(member.code)
    if path == "dense":
        return DENSE_SUMS[base]
    no_lanes = (member.code, member.type, member.layout) == ("mat", "32f", "L")
    return "guardedLanes" if path == "strided" and base == "mt" and not no_lanes else "inMemory"


def product_traits(member, path):
    plan = [f".sum = Sum::{product_sum(member, path)}", f".largestCase = {largest_case(member, path)}"]
    if (member.name, path) == ("tarnmMul_mm_32f", "dense"):
        plan.append(".groupingOf5 = Grouping::lastColumn")
    if member.name in ("tarnmMul_mm_32f_P", "tarnmMul_tt_64f_P"):
        plan.append(".matchesSizesByOr = true")
    rows, columns, inner, _ = product_sizes(member.code)
    return {"plan": f"ProductPlan{{{', '.join(plan)}}}", "extents": f"Extents{{{rows}, {columns}, {inner}}}"}


def product_formula(code):
    first, second = (("src1(k, i)" if letter == "t" else "src1(i, k)") if n == 0 else
                     ("src2(j, k)" if letter == "t" else "src2(k, j)") for n, letter in enumerate(base_code(code)))
    return f"dst(i, j) = sum over k of {first} * {second}"


PRODUCT_NOTES = """
Sizes describe the matrices as stored. A transposed operand is read where it lies; nothing is copied.

Every product is rounded, then added; nothing is fused, and no sum is wider than its elements. NaN and infinity
propagate, and the status stays `StatusOk`. A result that overlaps a source is neither detected nor supported.

### Order of additions

With p(k) the product number k of a sum, four equal sizes n of 3, 4, 5 or 6 add ((p0 + p1) + p2) + ... from the first
product on. Other shapes start at 0, so that a sum of negative zeros is +0. The `_P` members and calls with an element
stride other than the element size add each product to the result in memory, in ascending k. Calls with packed elements
differ by the code:

| code without `a` | order with packed elements |
|---|---|
| `mm`, `tt` | ascending k. When the result has 4m + 1 or 4m + 2 rows, the last one or two rows add the even and the odd products apart, then the two sums, then the last product of an odd number. |
| `mt` | ascending k |
| `tm` | ascending k, from 16 (`32f`) or 8 (`64f`) products on in inner lanes |

Inner lanes: with L = 8 (`32f`) or 4 (`64f`), lane l of A takes the products with k = l modulo 2L, lane l of B those with
k = L + l, as long as 2L products are left. S(l) = A(l) + B(l) and T(l) = S(l) + S(l + L/2) are folded as
(T0 + T1) + (T2 + T3) or T0 + T1; the products left over follow in ascending k. `mt` codes with another element stride
use them as well, but for elements of the result that lie within K elements' worth of bytes from the start of the row of
`src1` or `src2` that they are summed from.

Exceptions:

- `tarnmMul_mm_32f` with packed elements adds the last column of a 5 by 5 result as ((p0 + p1) + (p2 + p3)) + p4.
- These have fewer orders with code of their own, and treat the others like any shape:
  packed elements: `tm` `32f` has 3 to 5; `mta` `32f`, `tta` `32f` and `tta` `64f` have none in `_L`.
  Other element strides, all `32f`: `mama` has 3 to 5; `mat` and `tam` have 3; in `_L`, `mam`, `mat`, `tam` and `tat` have 3.
  `_P`, all `32f`: `mam`, `mat` and `tam` have 3.
- `mat` `32f` in `_L` has no inner lanes.
- `tarnmMul_mm_32f_P` and `tarnmMul_tt_64f_P` take sizes of 1, 2 and 3 whose bitwise OR is 3 for 3 by 3 matrices, and
  touch nine entries of each table, element (r, c) at entry 3r + c.
"""


def product_row(code):
    rows, columns, _, _ = product_sizes(code)
    return Row(
        kernel="multiply<{plan}>({a}, {b}, {dst}, {extents}, {place})",
        headers=("products/multiply.h",),
        traits=product_traits,
        formula=product_formula,
        notes=PRODUCT_NOTES,
        operation="Mul",
        directory="products",
        codes=code,
        signature="src1 src1Width src1Height src2 src2Width src2Height dst",
        shapes={**MATRIX_PAIRS, "dst": f"{rows} x {columns}"},
        sizes_when_seen=product_sizes,
        result="m",
        agreement=product_agreement,
        measure=product_measure,
        parallel=product_limits,
        purpose="Multiplies matrices, each read as stored or transposed.",
    )


# ---- matrix by vector


# How the sums of shapes outside the cases are added: for objects in pairs, and for the last of an odd number.
def row_sums(member, path):
    code, type_, layout = member.code, member.type, member.layout
    transposed = code[0] == "t"
    if path == "strided":
        return ("inMemory",) if transposed else ("guardedLanes",)
    if path == "pointer":
        return ("inMemory",)
    if code == "mv":
        return ("plainAlone",)
    if code == "tv":
        return ("alignedAlone",)
    if layout == "L" and code in ("mava", "tava"):
        return ("sixteens", "alignedAlone" if transposed else "sixteens")
    if (code, type_, layout) == ("mva", "32f", "S"):
        return ("alignedInPair",)
    if transposed or (code, layout) == ("mav", "L"):
        return ("alignedInPair", "alignedAlone")
    return ("plainInPair", "plainAlone")


def vector_traits(member, path):
    sums = row_sums(member, path)
    plan = [f".inPair = RowSum::{sums[0]}"]
    if len(sums) == 2 and sums[1] != sums[0]:
        plan.append(f".alone = RowSum::{sums[1]}")
    if (member.name, path) == ("tarnmMul_mva_32f", "dense"):
        plan.append(".looksAtAlignment = true")
    rows, _, inner, _ = product_sizes(member.code[0] + "m")
    return {"plan": f"VectorPlan{{{', '.join(plan)}}}", "rows": rows, "inner": inner}


def vector_formula(code):
    return f"dst(i) = sum over k of {'src1(k, i)' if code[0] == 't' else 'src1(i, k)'} * src2(k)"


VECTOR_NOTES = """
Matrix by vector, in addition to the above. Square matrices of 3 to 6 rows add from the first product on in ascending k,
in every member. For other shapes the order depends on the code, the layout and the element strides. Arrays are thought
of as pairs of objects of the whole call, so that the last object of an odd number stands alone; the number of threads
has no influence.

| members | element strides | objects in pairs | a single object, or the last of an odd number |
|---|---|---|---|
| `mv`; `mav` and `mava` S; `mva` S `64f`; `mva` L | packed | ascending; with 4m + 1 rows the last row sums even and odd products apart | ascending; 1, 2 or 3 rows left over by blocks of 8 sum even and odd products apart |
| `tv`, `tav`, `tva` S and L; `tava` S; `mav` L | packed | aligned lanes in steps of 8 | aligned lanes in steps of 8; in `32f` in steps of 16 for 1, 2 or 3 elements left over by blocks of 8 |
| `mava` L, `tava` L | packed | from 16 products on, lanes in steps of 16 | `mava` the same; `tava` as the row above |
| `mva` S `32f` | packed | aligned lanes in steps of 8; lanes in steps of 16 where `pSrc1`, `src1RowStride`, `pSrc2`, `src2ObjectStride`, `pDst` and `dstObjectStride` are multiples of 32 and there are 16 products | the same |
| `mv`, `mav`, `mva`, `mava` | other | inner lanes, guarded like those of `mt` | the same |
| `tv`, `tav`, `tva`, `tava`; `_P` | other | ascending, in memory | the same |

Aligned lanes begin at the first element of the vector whose address is a multiple of 32: the products before it go into
the start of lane 0. They are used if at least one step fits behind it, and never when the address of the vector is not a
multiple of the element size. A step of 8 is one vector of 8 lanes in `32f`, two of 4 lanes in `64f`; a step of 16 is two
vectors of 8 lanes in `32f`, two steps of 8 in `64f`. They are folded as above, and the products left over follow.

`tarnmMul_mva_32f` with packed elements groups two cases in another way: 4 by 4 as (p0 + p2) + (p1 + p3) where all
pointers and object strides are multiples of 16 and `src1RowStride` is 16; 5 by 5 as ((p0 + p1) + (p2 + p3)) + p4 where
`count` is at least 5 and `pSrc2`, `pDst`, `src2ObjectStride` and `dstObjectStride` are multiples of 16.
"""


def vector_product_row(code):
    letter = code[0]
    rows, inner = ("src1Height", "src1Width") if letter == "m" else ("src1Width", "src1Height")
    measures = {
        "mva": "src1Width * src1Height + (src1Width + src1Height) * count",
        "tva": "src1Width * src1Height + (src1Width + src1Height) * count",
        "mav": "src1Height * (src1Width + 1) * count + src1Width",
        "tav": "src1Width * (src1Height + 1) * count + src1Height",
        "mava": "(src1Width * (src1Height + 1) + src1Height) * count",
        "tava": "(src1Width * (src1Height + 1) + src1Height) * count",
    }
    return Row(
        kernel="multiplyVector<{plan}>({a}, {b}, {dst}, {rows}, {inner}, {place})",
        headers=("products/multiply_vector.h",),
        traits=vector_traits,
        formula=vector_formula,
        notes=VECTOR_NOTES,
        operation="Mul",
        directory="products",
        codes=code,
        signature="src1 src1Width src1Height src2 src2Len dst",
        shapes={"src1": "src1Height x src1Width", "src2": "src2Len", "dst": rows},
        sizes_when_seen=product_sizes,
        agreement=lambda _: [(inner, "==", "src2Len")],
        measure=measures.get,
        parallel=product_limits,
        purpose="Multiplies a matrix, read as stored or transposed, by a vector.",
    )


# ---- gaxpy

GAXPY_LIMITS = {
    ("S", "32f"): (7001, 5001), ("L", "32f"): (7001, 501), ("P", "32f"): (4501, 4501),
    ("S", "64f"): (5001, 5001), ("L", "64f"): (6001, 5001), ("P", "64f"): (7001, 7001),
}  # fmt: skip


def gaxpy_measure(code):
    if code == "mvav":
        return "(src2Len + src3Len) * count + src3Len"
    return "(src2Len + 2 * src3Len) * count"


def gaxpy_traits(member, path):
    plan = []
    if path == "strided" and member.layout == "S":
        plan.append(".hasGuardedLanes = true")
    if path == "dense" and (member.code, member.type) == ("mvav", "32f"):
        plan.append(".groupingOf4to6 = RowGrouping::neighbours")
    return {"plan": f"GaxpyPlan{{{', '.join(plan)}}}"}


GAXPY_NOTES = """
The sum of products comes first; the element of `src3` is added to it last. Every product is rounded, then added; nothing
is fused. NaN and infinity propagate.

Square matrices of 3 to 6 rows add from the first product on in ascending k; `mvav` in `32f` with packed elements adds
orders 4, 5 and 6 as (p0 + p1) + (p2 + p3), then p4 and p5. Every other element of the result is set to 0 and takes its
products one by one in ascending k, in memory: a result that is also `src3` has lost it by then. S members with an
element stride other than the element size sum in inner lanes from 16 (`32f`) or 8 (`64f`) products on, as `Mul` does,
but for elements of the result that lie within K elements' worth of bytes from the start of their row of the matrix or
from the start of the vector.

A result that overlaps a source is neither detected nor supported.
"""

MATRIX_CODES = [
    first + second
    for first, second in [("m", "m"), ("m", "t"), ("t", "m"), ("t", "t")]
]
PAIR_CODES = [
    code
    for first, second in MATRIX_CODES
    for code in (f"{first}{second}", f"{first}a{second}", f"{first}{second}a", f"{first}a{second}a")
]

ROWS = [product_row(code) for code in PAIR_CODES]
ROWS += [vector_product_row(code) for code in "mv tv mva tva mav tav mava tava".split()]
ROWS += [
    Row(
        kernel="gaxpy<{plan}>({a}, {b}, {c}, {dst}, src1Height, src1Width, {place})",
        headers=("vector/gaxpy.h",),
        traits=gaxpy_traits,
        formula=lambda _: "dst(i) = (sum over k of src1(i, k) * src2(k)) + src3(i)",
        notes=GAXPY_NOTES,
        operation="Gaxpy",
        directory="vector",
        codes="mv mva mvav",
        letters={"mv": "m v v", "mva": "m va va", "mvav": "m va v"},
        signature="src1 src1Width src1Height src2 src2Len src3 src3Len dst",
        shapes={"src1": "src1Height x src1Width", "src2": "src2Len", "src3": "src3Len", "dst": "src3Len"},
        sizes_when_seen=product_sizes,
        agreement=lambda _: [("src1Width", "==", "src2Len"), ("src1Height", "==", "src3Len")],
        measure=gaxpy_measure,
        parallel=lambda code, layout, type_: GAXPY_LIMITS[layout, type_],
        purpose="Multiplies a matrix by a vector and adds a second vector to the product.",
    )
]
