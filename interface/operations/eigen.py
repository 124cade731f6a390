"""Symmetric and general real eigenproblems."""

from grammar import is_array_code
from model import Row

ORDER = "widthHeight x widthHeight"
NOT_CONVERGED = ("StatusNotConverged", "the iteration reached its limit without convergence")
SINGULAR = ("StatusSingular", "the product of the eigenvalues is zero within the tolerance")
NO_PIVOT = ("StatusError", "a complex system of order 2 had no usable pivot in the back substitution")

VALUES_BUFFER = "widthHeight * elementSize * (widthHeight + 5)"
VECTORS_BUFFER = "widthHeight * elementSize * (3 * widthHeight + 5)"


def checks(code, layout, type_):
    if not is_array_code(code):
        return {"S": "N Z S", "P": "N Z R"}[layout]
    return "N Z C S" if layout == "S" else "N Z C R S"


def alternating_checks(code, layout, type_):
    """Source and destinations take turns in the array members with roi shifts."""
    if is_array_code(code) and layout != "S":
        return "N Z C R:src S:src R:dst S:dst"
    return checks(code, layout, type_)


def vectors_row(operation, destinations, pointers, **more):
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
        **more,
    )


def buffer_query_row(operation, size):
    return Row(
        operation=operation,
        directory="eigen",
        codes="",
        signature="widthHeight pSizeBytes",
        shapes={"pSizeBytes": "1"},
        checks=lambda code, layout, type_: "N Z",
        dense=False,
        purpose=f"Tells the size of the scratch block of {size}.",
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
        purpose="Computes the real and complex eigenvalues of a general real matrix.",
    ),
    buffer_query_row("EigenValuesGetBufSize", "EigenValues"),
    vectors_row(
        "EigenValuesVectors",
        "dstRight:DstVectorsRight dstLeft:DstVectorsLeft",
        ("dstRight", "dstLeft"),
        measure=lambda code: "widthHeight * (3 * widthHeight + 1) * count",
        parallel=lambda code, layout, type_: (501, 501),
        scratch=VECTORS_BUFFER,
        merges_status=True,
        purpose="Computes the eigenvalues and both sets of eigenvectors of a general real matrix.",
    ),
    vectors_row("EigenValuesVectorsLeft", "dst:DstVectors", ("dst",),
                purpose="Computes the eigenvalues and the left eigenvectors of a general real matrix."),
    vectors_row("EigenValuesVectorsRight", "dst:DstVectors", ("dst",),
                purpose="Computes the eigenvalues and the right eigenvectors of a general real matrix."),
    buffer_query_row("EigenValuesVectorsGetBufSize",
                     "EigenValuesVectors, EigenValuesVectorsLeft and EigenValuesVectorsRight"),
]  # fmt: skip
