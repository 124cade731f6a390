"""Reductions and combinations of vectors."""

from model import Row, above

PAIRS = {"src1": "len", "src2": "len", "dst": "len"}
THREE = {"src1": "3", "src2": "3", "dst": "3"}

DOT_LIMITS = {
    ("S", "32f"): (5001, 2621), ("L", "32f"): (2401, 2401), ("P", "32f"): (2401, 2401),
    ("S", "64f"): (3501, 2001), ("L", "64f"): (4201, 3301), ("P", "64f"): (2001, 2001),
}  # fmt: skip

LCOMB_LIMITS = {("L", "32f"): (4501, 3751)}

SAXPY_LIMITS = {
    ("S", "32f"): (3001, 2001), ("L", "32f"): (1501, 1001), ("P", "32f"): (1201, 1201),
    ("S", "64f"): (3001, 1201), ("L", "64f"): (1001, 1001), ("P", "64f"): (1201, 1201),
}  # fmt: skip


def saxpy_limits(code, layout, type_):
    if (code, layout, type_) == ("vva", "L", "32f"):
        return 1501, 1501
    return SAXPY_LIMITS[layout, type_]


def element_wise_measure(code):
    return "len * 3 * count" if code == "vava" else "len * 2 * count + len"


def cross_checks(code, layout, type_):
    if code == "vv":
        return {"S": "N S", "P": "N R"}[layout]
    if code == "vav":
        return {"S": "N S C", "L": "N S R C", "P": "N S C R"}[layout]
    return {"S": "N C S", "L": "N C S R", "P": "N C S R"}[layout]


def cross_limits(code, layout, type_):
    first = above(3000) if code == "vava" else 3000
    return first, first


# Kernels without code of their own for vectors of 3 to 6 elements, as in the element-wise sums.
def element_wise_cases(member, path):
    absent = path == "pointer" or (path == "strided" and member.layout == "L" and member.code in ("vav", "vava"))
    return {"cases": "Cases::none" if absent else "Cases::vectors3to6"}


def combination(functor):
    return f"combine<{{cases}}>({functor}, {{src1}}, {{src2}}, {{dst}}, Extent{{{{1, len}}}}, {{place}})"


REDUCTION_NOTES = """The order of additions depends on type, layout and element strides. With p0, p1, ... the products:

| elements | 32f, packed | 64f, packed | one object, strided | one object, `_P` |
|---|---|---|---|---|
| 3 | (p0 + p1) + p2 | (p0 + p1) + p2 | (p1 + p2) + p0 | ascending |
| 4 | (p0 + p1) + (p2 + p3) | (p0 + p2) + (p1 + p3) | ((p3 + p1) + p2) + p0 | ascending |
| 5 | ((p0 + p1) + (p2 + p3)) + p4 | ((p0 + p2) + (p1 + p3)) + p4 | (((p4 + p2) + p3) + p0) + p1 | ascending |
| 6 | (((p0 + p1) + (p2 + p3)) + p4) + p5 | (p0 + (p2 + p4)) + (p1 + (p3 + p5)) | ((((p5 + p3) + p4) + p0) + p1) + p2 | ascending |

Arrays have the packed groupings in all layouts. Other lengths are one ascending sum from 0; long vectors go through a
fixed number of partial sums (8 in single, 4 in double precision, two such vectors where a step takes 16 elements),
which begin at the first element of the second operand at a multiple of 32 bytes where elements are packed."""

NORM_NOTES = """The square root, correctly rounded, of the sum of the squares. There is no scaling: the norm is an infinity
where the sum overflows, and 0 where it underflows. With s0, s1, ... the squares, for all layouts:

| elements | 32f | 64f |
|---|---|---|
| 3 | (s0 + s1) + s2 | (s0 + s2) + s1 |
| 4 | (s0 + s1) + (s2 + s3) | (s0 + s2) + (s1 + s3) |
| 5 | ((s0 + s1) + (s2 + s3)) + s4 | ((s0 + s2) + s4) + (s1 + s3) |
| 6 | ((s0 + s1) + (s2 + s3)) + (s4 + s5) | ((s0 + s2) + s4) + ((s1 + s3) + s5) |

Other lengths as for the scalar product."""

ROWS = [
    Row(
        operation="DotProduct",
        directory="vector",
        codes="vv vav vava",
        signature="src1 src2 pDst len",
        shapes=PAIRS | {"pDst": "1"},
        measure=lambda code: "len * 2 * count" if code == "vava" else "len * (count + 1)",
        parallel=lambda code, layout, type_: DOT_LIMITS[layout, type_],
        purpose="Computes the scalar product of two vectors.",
        kernel="reduceVectors<{path}, Reduction::dot>({src1}, {src2}, {pDst}, len, {place})",
        headers=("vector/reduce.h",),
        notes=REDUCTION_NOTES,
    ),
    Row(
        operation="L2Norm",
        directory="vector",
        codes="v va",
        signature="src pDst len",
        shapes={"src": "len", "pDst": "1"},
        measure=lambda code: "len * count",
        parallel=lambda code, layout, type_: (1501, 1501),
        purpose="Computes the Euclidean length of a vector.",
        kernel="reduceVectors<{path}, Reduction::norm>({src}, {src}, {pDst}, len, {place})",
        headers=("vector/reduce.h",),
        notes=NORM_NOTES,
    ),
    Row(
        operation="CrossProduct",
        directory="vector",
        codes="vv vav vva vava",
        signature="src1 src2 dst",
        shapes=THREE,
        checks=cross_checks,
        measure=lambda code: "3 * count" if code == "vava" else "2 * count",
        parallel=cross_limits,
        serial_exports=("tarnmCrossProduct_vva_64f_P",),
        purpose="Computes the cross product of two vectors of three elements.",
        kernel="crossProducts<{path}>({src1}, {src2}, {dst}, {place})",
        headers=("vector/cross.h",),
        notes="""d0 = x1*y2 - x2*y1, d1 = x2*y0 - x0*y2, d2 = x0*y1 - x1*y0, each product and the difference rounded. With packed
elements a result may be one of the sources; with other element strides and in tables of elements it may not.""",
    ),
    Row(
        operation="LComb",
        directory="vector",
        codes="vv vav vava",
        signature="src1 val1 src2 val2 dst len",
        shapes=PAIRS,
        measure=element_wise_measure,
        parallel=lambda code, layout, type_: LCOMB_LIMITS.get((layout, type_), (4501, 4501)),
        purpose="Forms a weighted sum of two vectors.",
        vectors_as_rows=True,
        kernel=combination("WeightedSum<{T}>{{val1, val2}}"),
        headers=("vector/weighted_sum.h",),
        traits=element_wise_cases,
        formula=lambda code: "dst[k] = val1 * src1[k] + val2 * src2[k]",
        notes="Each product and the sum are rounded. A factor of 0 or 1 is no shortcut: NaN and infinities spread.",
    ),
    Row(
        operation="Saxpy",
        directory="vector",
        codes="vv vav vva vava",
        signature="src1 val src2 dst len",
        shapes=PAIRS,
        measure=element_wise_measure,
        parallel=saxpy_limits,
        purpose="Adds a vector to a scaled vector.",
        vectors_as_rows=True,
        kernel=combination("ScaledSum<{T}>{{val}}"),
        headers=("vector/weighted_sum.h",),
        traits=element_wise_cases,
        formula=lambda code: "dst[k] = val * src1[k] + src2[k]",
        notes="The product and the sum are rounded. A result that is the same memory as a source is computed element by "
        "element, so that an update in place works.",
    ),
]
