"""What the numbers of errors='return' mean."""

import enum


class Status(enum.IntEnum):
    """The status of one object: 0 where it succeeded."""

    OK = 0
    ERROR = -2
    BAD_SIZE = -6
    NULL_POINTER = -8
    DIVISION_BY_ZERO = -10
    NOT_POSITIVE_DEFINITE = -179
    BAD_STRIDE = -182
    SINGULAR = -195
    BAD_SHIFT = -202
    BAD_COUNT = -203
    SIZE_MISMATCH = -204
    NOT_CONVERGED = -205
