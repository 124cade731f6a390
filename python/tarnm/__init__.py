"""Numerics for many small vectors and matrices at once, on NumPy arrays.

The axes before those of an object are the stack: an array of shape (1000, 3, 3) is a thousand 3 x 3 matrices. Stacks
broadcast as NumPy does it, float32 stays float32, and every function takes ``out=``.

    >>> import numpy, tarnm
    >>> a = numpy.eye(3, dtype=numpy.float32) * numpy.arange(1, 5, dtype=numpy.float32).reshape(4, 1, 1)
    >>> tarnm.det(a)
    array([ 1.,  8., 27., 64.], dtype=float32)

A list of arrays of one shape, each one vector or matrix, is a stack too: tarnm.inv([a, b, c]). It is taken as it lies, without
being gathered, where its arrays have the same strides.

Arguments that functions have in common:

out      an array for the result, or a list of arrays, one for each object; a tuple of these where there are several results;
         for lu and qr_factor also what an earlier call returned
errors   'raise': numpy.linalg.LinAlgError names the first object that failed; 'return': the result and an int32 array with a
         status for each object, 0 where it succeeded, and those results complete
threads  how many threads the call may use. The setting is one of the process, set for the duration of the call: calls from
         other threads at the same time see it too.
copy     False: raise where an array would have to be copied, because a stride is negative, zero within an object or no
         multiple of the element size, because it shares memory with a result, or because a list has to be gathered
"""

from . import geometry, raw
from ._factors import LU, QR, cholesky_solve, lu, lu_solve, qr_factor, qr_solve
from ._tarnm import (
    __version__,
    add,
    cholesky,
    cross,
    det,
    dot,
    eig,
    eigh,
    eigvals,
    eigvalsh,
    get_num_threads,
    inv,
    lstsq,
    matmul,
    matvec,
    norm,
    qr,
    scale,
    set_num_threads,
    solve,
    subtract,
    trace,
    transpose,
)
from ._statuses import Status

__all__ = [
    "LU", "QR", "Status", "__version__", "add", "cholesky", "cholesky_solve", "cross", "det", "dot", "eig", "eigh", "eigvals", "eigvalsh",
    "geometry", "get_num_threads", "inv", "lstsq", "lu", "lu_solve", "matmul", "matvec", "norm", "qr", "qr_factor", "qr_solve", "raw", "scale",
    "set_num_threads", "solve", "subtract", "trace", "transpose",
]
