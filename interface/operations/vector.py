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
    ),
]
