"""Scalars of a matrix and its inverse."""

from model import Row

SQUARE = {"src": "widthHeight x widthHeight", "dst": "widthHeight x widthHeight"}
# A working copy of the matrix and one 32-bit row index per row.
ELIMINATION_BUFFER = "widthHeight * widthHeight * elementSize + widthHeight * 4"
ELIMINATION_SCRATCH = "(widthHeight * widthHeight + widthHeight) * elementSize"

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
order of additions differs between layouts and types; the last bit is not promised to agree between them.""",
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
        purpose="Computes the inverse of a square matrix.",
    ),
]
