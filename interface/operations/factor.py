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


NOT_WIDER = [("width", "<=", "height")]

ROWS = [
    Row(
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
