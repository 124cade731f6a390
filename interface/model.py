"""What the registry says of an operation, and what a member is.

A `Row` is one readable line of the registry: a group of operand codes of one operation that share their argument
list, order of checks, work measure and kernels. `grammar.expand` turns rows into `Member`s, one per exported name.

Vocabulary of a row:

signature   arguments in order, in shorthand. `src1`, `src2`, `src3`, `src`, `dst` are operands and expand by the
            layout; `dst:DstVectors` is an operand whose pointer is pDstVectors and whose strides begin with dst;
            `val`, `val1`, `val2` are constants; names beginning with p are plain pointers; all others are sizes.
            `count` goes last unless the signature says where.
checks      letters in order: N null pointers, C count, Z sizes, M size agreement, S strides, R roi shifts,
            O object strides, tested only where count is above 1. `S:src`, `R:dst` restrict a letter to operands
            whose name begins so. Where O occurs, S leaves the object strides out.
measure     work measure of an array call, in the sizes and count, computed in wrap-around 32-bit arithmetic.
parallel    the measure from which on a call goes to the parallel wrapper: (dense, not dense).
kernel      the call of the serial kernel. Placeholders: {src1} ... the operand views, {T} the element type,
            {place} the objects to work on, {spacing} dense or strided, {path} and {layout} the kernel that runs;
            anything else of the row's `traits`. The same stand in the call of `early`.
"""

from dataclasses import dataclass, field
from typing import Callable, Optional

LAYOUTS = ("S", "L", "P")
TYPES = ("32f", "64f")
C_TYPE = {"32f": "float", "64f": "double"}
ELEMENT_SIZE = {"32f": 4, "64f": 8}


def above(value):
    """A strict limit as the first value that passes it."""
    return value + 1


@dataclass(frozen=True)
class Argument:
    name: str
    kind: str  # pointer table objectStride rowStride elementStride roiShift value size count buffer indices scalars
    operand: str = ""  # the operand or plain pointer that the argument belongs to
    direction: str = "in"  # in, out, scratch
    ctype: str = ""  # spelled with T for the element type


@dataclass(frozen=True)
class Operand:
    name: str  # prefix of its strides: src1, dst, dstRight
    pointer: str  # suffix of its pointer: Src1, Dst, DstVectorsRight
    letter: str  # v m t c
    is_array: bool
    direction: str
    layout: str
    rows: str  # stored rows and columns, as expressions in the sizes; a vector has one row
    columns: str

    @property
    def is_constant(self):
        return self.letter == "c"


@dataclass
class Row:
    operation: str
    directory: str
    codes: str
    signature: str
    shapes: dict  # operand or plain pointer -> extent, in the sizes: "rows x columns", or one number
    purpose: str
    result: str = "v"  # letter of the dst operands
    letters: dict = field(default_factory=dict)  # code -> letters of the sources where they do not follow the code
    checks: Callable = None  # (code, layout, type) -> str
    gaps: dict = field(default_factory=dict)  # export -> arguments that it does not test
    agreement: Callable = None  # code -> list of (left, operator, right) that must hold
    sizes_when_seen: Optional[Callable] = None
    types: tuple = TYPES
    dense: bool = True  # whether the entry distinguishes dense and strided kernels
    measure: Callable = None  # code -> expression
    parallel: Callable = None  # (code, layout, type) -> (dense, strided)
    serial_exports: tuple = ()  # exports that measure like their siblings and stay serial
    scratch: Optional[str] = None  # bytes per thread, in the sizes and `elementSize`
    merges_status: bool = False
    early: Optional[tuple] = None  # (condition, call) that the entry answers itself, ahead of the choice of path
    kernel: Optional[str] = None  # None: not implemented, neither declared nor exported
    headers: tuple = ()
    traits: Callable = None  # (member, path) -> dict of further placeholders
    vectors_as_rows: bool = False  # kernels of the row see a vector as a matrix of one row
    statuses: tuple = ()  # numeric failures after validation: (status, text)
    layouts: Optional[Callable] = None  # code -> list of layout suffixes, for the layout pairs of Copy
    notes: str = ""  # further text of the reference page: order of additions, aliasing, failures
    describe: dict = field(default_factory=dict)  # argument -> text where the general one does not serve
    formula: Callable = None  # code -> what the result is, in one line


@dataclass
class Fixed:
    """A member of the geometry kit: its C arguments are written out."""

    operation: str
    directory: str
    name: str
    arguments: tuple  # (C declaration, extent in elements or 0, direction, text)
    purpose: str
    checks: str = ""
    gaps: dict = field(default_factory=dict)
    measure: None = None
    agreement: None = None
    statuses: tuple = ()
    kernel: Optional[str] = None
    headers: tuple = ()
    notes: str = ""


@dataclass
class Member:
    name: str
    row: object
    operation: str
    code: str
    type: str
    layout: str  # S L P, two letters for Copy, empty for fixed forms
    operands: list
    arguments: list
    checks: list
    is_array: bool

    @property
    def implemented(self):
        return self.row.kernel is not None

    @property
    def unit(self):
        return f"tarnm{self.operation.lower()}_{self.code}" if self.code else f"tarnm{self.operation.lower()}"

    def operand(self, name):
        return next(o for o in self.operands if o.name == name)

    def spelled(self, argument):
        return argument.ctype.replace("T", C_TYPE[self.type])

    def of_kind(self, *kinds):
        return [a for a in self.arguments if a.kind in kinds]

    def is_per_object(self, argument):
        """Whether a plain pointer has elements for every object. Indices that are read go with their factor."""
        return self.operand("src1").is_array if argument.direction == "in" else self.is_array

    @property
    def is_parallel(self):
        return (
            self.is_array
            and self.row.measure is not None
            and self.name not in self.row.serial_exports
        )
