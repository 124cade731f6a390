"""Types of the package; what the functions do stands in their docstrings."""

from typing import Any, Literal, Optional, Union

from numpy.typing import NDArray

from . import geometry as geometry, raw as raw
from ._factors import LU as LU, QR as QR
from ._factors import cholesky_solve as cholesky_solve, lu as lu, lu_solve as lu_solve, qr_factor as qr_factor, qr_solve as qr_solve
from ._statuses import Status as Status

__version__: str

Array = NDArray[Any]
Errors = Literal["raise", "return"]
Triangle = Literal["L", "U"]

def matmul(
    a: Array, b: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def matvec(
    a: Array, x: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Array: ...
def dot(
    a: Array, b: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def norm(
    a: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def cross(
    a: Array, b: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Array: ...
def add(
    a: Union[Array, float], b: Union[Array, float], *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Array: ...
def subtract(
    a: Union[Array, float], b: Union[Array, float], *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Array: ...
def scale(
    a: Array, c: float, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Array: ...
def det(
    a: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def trace(
    a: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def transpose(
    a: Array, *, out: Optional[Array] = None, threads: Optional[int] = None, copy: bool = True
) -> Array: ...
def inv(
    a: Array, *, out: Optional[Array] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def solve(
    a: Array, b: Array, *, out: Optional[Array] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def lstsq(
    a: Array, b: Array, *, out: Optional[Array] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def cholesky(
    a: Array, *, out: Optional[Array] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def qr(
    a: Array, *, out: Optional[tuple[Array, ...]] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> tuple[Array, ...]: ...
def eigvalsh(
    a: Array, UPLO: Triangle = "L", *, out: Optional[Array] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def eigh(
    a: Array, UPLO: Triangle = "L", *, out: Optional[tuple[Array, ...]] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> tuple[Array, ...]: ...
def eigvals(
    a: Array, *, out: Optional[Array] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def eig(
    a: Array, left: bool = False, right: bool = True, *, out: Optional[tuple[Array, ...]] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> tuple[Array, ...]: ...
def set_num_threads(threads: int) -> None: ...
def get_num_threads() -> int: ...
