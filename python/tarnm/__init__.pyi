"""Types of the package; what the functions do stands in their docstrings."""

from typing import Any, Literal, Optional, Sequence, Union

from numpy.typing import NDArray

from . import geometry as geometry, raw as raw
from ._factors import LU as LU, QR as QR
from ._factors import cholesky_solve as cholesky_solve, lu as lu, lu_solve as lu_solve, qr_factor as qr_factor, qr_solve as qr_solve
from ._statuses import Status as Status

__version__: str

Array = NDArray[Any]
# A stack, or a list of arrays that is one.
Stack = Union[Array, Sequence[Array]]
Errors = Literal["raise", "return"]
Triangle = Literal["L", "U"]

def matmul(
    a: Stack, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def matvec(
    a: Stack, x: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def dot(
    a: Stack, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def norm(
    a: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def cross(
    a: Stack, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def add(
    a: Union[Stack, float], b: Union[Stack, float], *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def subtract(
    a: Union[Stack, float], b: Union[Stack, float], *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def scale(
    a: Stack, c: float, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def det(
    a: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def trace(
    a: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def transpose(
    a: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def inv(
    a: Stack, *, out: Optional[Stack] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def solve(
    a: Stack, b: Stack, *, out: Optional[Stack] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def lstsq(
    a: Stack, b: Stack, *, out: Optional[Stack] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def cholesky(
    a: Stack, *, out: Optional[Stack] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def qr(
    a: Stack, *, out: Optional[tuple[Stack, ...]] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> tuple[Any, ...]: ...
def eigvalsh(
    a: Stack, UPLO: Triangle = "L", *, out: Optional[Stack] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def eigh(
    a: Stack, UPLO: Triangle = "L", *, out: Optional[tuple[Stack, ...]] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> tuple[Any, ...]: ...
def eigvals(
    a: Stack, *, out: Optional[Stack] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> Any: ...
def eig(
    a: Stack, left: bool = False, right: bool = True, *, out: Optional[tuple[Stack, ...]] = None, errors: Errors = "raise", threads: Optional[int] = None, copy: bool = True
) -> tuple[Any, ...]: ...
def set_num_threads(threads: int) -> None: ...
def get_num_threads() -> int: ...
