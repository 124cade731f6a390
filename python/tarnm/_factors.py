"""Factors that are kept to solve many systems with them."""

from __future__ import annotations

from typing import Any, Optional, Sequence, Union

import numpy
from numpy.typing import NDArray

from . import _tarnm

Array = NDArray[Any]
Stack = Union[Array, Sequence[Array]]


def _unscaled(solution: Any, exponents: Array, factors: Array, b: Stack) -> Any:
    """The solution with the powers of two given back by which matrices were divided before they were factored."""
    if not exponents.any():
        return solution
    b_axes = b.ndim if isinstance(b, numpy.ndarray) else 1 + b[0].ndim
    powers = -exponents.reshape(exponents.shape + (1,) * (1 if b_axes in (1, factors.ndim - 1) else 2))
    if isinstance(solution, numpy.ndarray):
        return numpy.ldexp(solution, powers, out=solution)
    for one, power in zip(solution, numpy.broadcast_to(powers, (len(solution),) + powers.shape[exponents.ndim :])):
        numpy.ldexp(one, power, out=one)
    return solution


class LU:
    """The LU factors of a matrix, or of each matrix of a stack: what lu() returns.

    shape      that of the stack of matrices
    statuses   with errors='return', the status of each matrix, else None
    l, u, p    arrays with p @ l @ u equal to the matrix: unit lower triangle, upper triangle, permutation
    """

    def __init__(self, factors: Array, pivots: Array, exponents: Array, statuses: Optional[Array] = None) -> None:
        self._factors = factors
        self._pivots = pivots
        self._exponents = exponents
        self.statuses = statuses

    @property
    def shape(self) -> tuple[int, ...]:
        return self._factors.shape

    @property
    def dtype(self) -> Any:
        return self._factors.dtype

    @property
    def raw(self) -> tuple[Array, Array]:
        """The factors and pivots as the library stores them: rows stay where they are; pivots[..., k] is the row of step k."""
        return self._factors, self._pivots

    def _sorted(self) -> Array:
        # Row k of the factors in the order of the steps is row pivots[k] in memory.
        return numpy.take_along_axis(self._factors, self._pivots[..., None].astype(numpy.intp), axis=-2)

    @property
    def l(self) -> Array:  # noqa: E743
        order = self.shape[-1]
        return numpy.tril(self._sorted(), -1) + numpy.eye(order, dtype=self.dtype)

    @property
    def u(self) -> Array:
        return numpy.ldexp(numpy.triu(self._sorted()), self._exponents[..., None, None])

    @property
    def p(self) -> Array:
        order = self.shape[-1]
        return numpy.asarray(numpy.arange(order)[:, None] == self._pivots[..., None, :], dtype=self.dtype)

    def solve(self, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True) -> Any:
        """x with a @ x = b, for vectors (..., n) or matrices of right sides (..., n, k)."""
        x = _tarnm.lu_solve(self._factors, self._pivots, b, out=out, threads=threads, copy=copy)
        return _unscaled(x, self._exponents, self._factors, b)


class QR:
    """The reflections and R of a matrix, or of each matrix of a stack: what qr_factor() returns."""

    def __init__(self, factors: Array, exponents: Array, statuses: Optional[Array] = None) -> None:
        self._factors = factors
        self._exponents = exponents
        self.statuses = statuses

    @property
    def shape(self) -> tuple[int, ...]:
        return self._factors.shape

    @property
    def dtype(self) -> Any:
        return self._factors.dtype

    @property
    def raw(self) -> Array:
        """R above the diagonal and on it; below it the vectors of the reflections, whose first element is 1."""
        return self._factors

    @property
    def r(self) -> Array:
        columns = self.shape[-1]
        upper = numpy.triu(self._factors[..., :columns, :])
        return numpy.ldexp(upper, self._exponents[..., None, None])

    def solve(self, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True) -> Any:
        """The x that minimises the length of a @ x - b, for vectors (..., m) or matrices (..., m, k)."""
        x = _tarnm.qr_solve(self._factors, b, out=out, threads=threads, copy=copy)
        return _unscaled(x, self._exponents, self._factors, b)


def _exponents_for(factors: Any, function: str, expected: str) -> Array:
    """Room for the exponents that belong to factors in an array of the caller."""
    if not isinstance(factors, numpy.ndarray):
        raise TypeError(f"tarnm.{function}: out must be {expected}, not {type(factors).__name__}")
    return numpy.empty(factors.shape[:-2], numpy.int32)


def lu(
    a: Stack,
    *,
    out: Union[LU, tuple[Array, Array], None] = None,
    errors: str = "raise",
    threads: Optional[int] = None,
    copy: bool = True,
) -> LU:
    """LU factors with row pivoting, of matrices (..., n, n). Returns an LU, see there.

    A matrix without an inverse is an error: numpy.linalg.LinAlgError, or its status in LU.statuses with errors='return'.

    out is an LU whose arrays are written anew, which is returned, or a tuple of arrays for LU.raw: factors (..., n, n) and
    pivots (..., n) of int32.
    """
    if out is None:
        return LU(*_tarnm.lu(a, errors=errors, threads=threads, copy=copy))
    if isinstance(out, LU):
        arrays = (out._factors, out._pivots, out._exponents)
    elif isinstance(out, tuple) and len(out) == 2:
        arrays = (*out, _exponents_for(out[0], "lu", "an LU, or a tuple of two arrays"))
    else:
        raise TypeError(f"tarnm.lu: out must be an LU, or a tuple of two arrays, not {type(out).__name__}")
    results = _tarnm.lu(a, out=arrays, errors=errors, threads=threads, copy=copy)
    if not isinstance(out, LU):
        return LU(*results)
    out.statuses = results[3] if errors == "return" else None
    return out


def lu_solve(factors: LU, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True) -> Any:
    """x with a @ x = b, from factors = lu(a). See LU.solve."""
    return factors.solve(b, out=out, threads=threads, copy=copy)


def cholesky_solve(lower: Stack, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True) -> Any:
    """x with a @ x = b, from lower = cholesky(a); b are vectors (..., n) or matrices (..., n, k)."""
    return _tarnm.cholesky_solve(lower, b, out=out, threads=threads, copy=copy)


def qr_factor(
    a: Stack,
    *,
    out: Union[QR, Array, None] = None,
    errors: str = "raise",
    threads: Optional[int] = None,
    copy: bool = True,
) -> QR:
    """Householder factors of matrices (..., m, n) with m >= n, to solve with. Returns a QR; qr() gives the matrices Q and R.

    out is a QR whose arrays are written anew, which is returned, or an array (..., m, n) for QR.raw.
    """
    if out is None:
        return QR(*_tarnm.qr_factor(a, errors=errors, threads=threads, copy=copy))
    if isinstance(out, QR):
        arrays = (out._factors, out._exponents)
    else:
        arrays = (out, _exponents_for(out, "qr_factor", "a QR, or an array"))
    results = _tarnm.qr_factor(a, out=arrays, errors=errors, threads=threads, copy=copy)
    if not isinstance(out, QR):
        return QR(*results)
    out.statuses = results[2] if errors == "return" else None
    return out


def qr_solve(factors: QR, b: Stack, *, out: Optional[Stack] = None, threads: Optional[int] = None, copy: bool = True) -> Any:
    """Least squares from factors = qr_factor(a). See QR.solve."""
    return factors.solve(b, out=out, threads=threads, copy=copy)
