"""Addition, subtraction and scaling of vectors and matrices, element by element."""

from grammar import general_checks, is_array_code
from model import Row, above

VECTORS = {"src1": "len", "src2": "len", "src": "len", "dst": "len"}
MATRICES = {name: "height x width" for name in ("src1", "src2", "src", "dst")}


# ---- vectors

VECTOR_LIMITS = {
    ("S", "32f"): 4800, ("S", "64f"): 1400,
    ("L", "32f"): 2500, ("L", "64f"): 2500,
    ("P", "32f"): 1500, ("P", "64f"): 1500,
}  # fmt: skip


def vector_measure(code):
    if code in ("vca", "cav"):
        return "len * (count + 1) + count"
    if code in ("vaca", "cava"):
        return "count * (2 * len + 1)"
    if code == "cva":
        return "2 * count"
    if code == "vava":
        return "len * 3 * count"
    return "len * 2 * count + len"


def vector_limits(code, layout, type_):
    limit = VECTOR_LIMITS[layout, type_]
    first = limit if code == "cva" else above(limit)
    return first, first


def vector_checks(code, layout, type_):
    if code == "vav":
        return {"S": "N Z S C", "L": "N Z S R C", "P": "N Z S C R"}[layout]
    return general_checks(is_array_code(code), layout)


def vector_formula(sign):
    def formula(code):
        def indexed(letter, name):
            return name + ("(n)" if letter.endswith("a") else "") + ("" if letter[0] == "c" else "[k]")

        letters = [code[0], code[1:]] if len(code) == 2 else None
        if letters is None:
            import re

            letters = re.findall(r"[vc]a?", code)
        if "c" in code:
            names = ["val" if letter[0] == "c" else "src" for letter in letters]
        else:
            names = ["src1", "src2"]
        left, right = (indexed(letter, name) for letter, name in zip(letters, names))
        return f"dst[k] = {left} {sign} {right}"

    return formula


# Kernels without code of their own for vectors of 3 to 6 elements. It shows where a result overlaps a single
# vector or an array of constants: with the case, the single operand is read before the first object is written.
def vector_cases(member, path):
    absent = (
        path == "pointer"
        or (path == "strided" and member.code in ("vac", "cva"))
        or (path == "strided" and (member.code, member.type, member.layout) == ("vva", "64f", "S"))
        or (path == "strided" and member.layout == "L" and member.code in ("vav", "vava"))
    )
    return {"cases": "Cases::none" if absent else "Cases::vectors3to6"}


def vector_row(operation, codes, signature, functor, sign, purpose, **more):
    return Row(
        operation=operation,
        directory="elementwise",
        codes=codes,
        signature=signature,
        shapes=VECTORS,
        checks=vector_checks,
        measure=vector_measure,
        parallel=vector_limits,
        vectors_as_rows=True,
        kernel=f"combine<{{cases}}>({functor}{{{{}}}}, {{a}}, {{b}}, {{dst}}, Extent{{{{1, len}}}}, {{place}})",
        headers=("elementwise/combine.h",),
        traits=vector_cases,
        purpose=purpose,
        formula=vector_formula(sign),
        **more,
    )


# ---- matrices

MATRIX_SINGLE = "mm mt tm tt"
MATRIX_ONE_ARRAY = "mam mat tam tat mma mta tma tta"
MATRIX_TWO_ARRAYS = "mama mata tama tata"
# Sums of these shapes are the commuted forms of members that exist.
NOT_IN_ADD = "mt mma mta tma tta mata".split()


def matrix_codes(operation):
    codes = f"{MATRIX_SINGLE} {MATRIX_ONE_ARRAY} {MATRIX_TWO_ARRAYS}".split()
    return " ".join(code for code in codes if operation == "Sub" or code not in NOT_IN_ADD)


def matrix_checks(code, layout, type_):
    if layout == "S" and code in ("mam", "mma"):
        return "N C S Z"
    return general_checks(is_array_code(code), layout)


def matrix_measure(code):
    if code.count("a") == 2:
        return "height * 3 * (width * count)"
    return "(height + height * count * 2) * width"


def matrix_limits(code, layout, type_):
    return (3000 if (layout, type_) == ("S", "32f") else 2000), 2000


def matrix_cases(member, path):
    absent = (
        (path == "strided" and member.code == "mata")
        or (path == "strided" and member.layout == "L" and is_array_code(member.code))
        or (path == "pointer" and (member.code in ("mat", "mata")))
    )
    if absent:
        return {"cases": "Cases::none"}
    if path == "dense" and member.operation == "Add" and member.code in ("mm", "tm", "tt"):
        return {"cases": "Cases::squares3to5"}
    return {"cases": "Cases::squares3to6"}


def matrix_row(operation, functor, sign, purpose):
    def seen(letter, name):
        return name + ("(n)" if letter.endswith("a") else "") + ("ᵀ" if letter[0] == "t" else "")

    def formula(code):
        import re

        first, second = re.findall(r"[mt]a?", code)
        return f"dst = {seen(first, 'src1')} {sign} {seen(second, 'src2')}"

    return Row(
        operation=operation,
        directory="elementwise",
        codes=matrix_codes(operation),
        signature="src1 src2 dst width height",
        shapes=MATRICES,
        result="m",
        checks=matrix_checks,
        measure=matrix_measure,
        parallel=matrix_limits,
        kernel=f"combine<{{cases}}>({functor}{{{{}}}}, {{a}}, {{b}}, {{dst}}, Extent{{{{height, width}}}}, {{place}})",
        headers=("elementwise/combine.h",),
        traits=matrix_cases,
        purpose=purpose,
        formula=formula,
    )


# ---- scaling

SCALE_LIMITS = {
    "vac": {"S32f": (2501, 1441), "S64f": (3601, 1441), "L": (3601, 1441), "P": (1441, 1441)},
    "mac": {"S": (3501, 3501), "L32f": (3501, 1501), "L64f": (3501, 3501), "P": (1701, 1701)},
    "vca": {"S": (above(2100),) * 2, "L": (above(1200),) * 2, "P": (above(650),) * 2},
}
SCALE_LIMITS["tac"] = SCALE_LIMITS["mac"]
SCALE_LIMITS["vaca"] = SCALE_LIMITS["vca"]


def scale_limits(code, layout, type_):
    table = SCALE_LIMITS[code]
    return table.get(layout + type_) or table[layout]


def scale_measure(code):
    return {
        "vac": "len * 2 * count",
        "mac": "count * 2 * (width * height)",
        "tac": "count * 2 * (width * height)",
    }.get(code) or vector_measure(code)


# The object strides of an array of vectors serve as row strides of one matrix on the strided path of `vac`.
def scale_cases(member, path):
    absent = path == "strided" and member.code == "vac" and member.layout == "S"
    shape = "vectors3to6" if member.code.startswith("v") else "squares3to6"
    return {"cases": "Cases::none" if absent else f"Cases::{shape}"}


def scale_row(codes, letter, signature, shapes, extent, purpose, **more):
    return Row(
        operation="Mul",
        directory="elementwise",
        codes=codes,
        signature=signature,
        shapes=shapes,
        result=letter,
        measure=scale_measure,
        parallel=scale_limits,
        kernel=f"combine<{{cases}}>(Times{{{{}}}}, {{a}}, {{b}}, {{dst}}, Extent{{{{{extent}}}}}, {{place}})",
        headers=("elementwise/combine.h",),
        traits=scale_cases,
        purpose=purpose,
        **more,
    )


ALIASING = """A result that is the same memory as a source of the same layout is computed element by element.
A single result that partly overlaps a source is computed in ascending element order, one element at a time.
At vector lengths 3 to 6 a single vector or constant is read before the first object is written, except in the
kernels for tables of element pointers and for lists of strided vectors."""

ROWS = [
    vector_row("Add", "vv vav vava", "src1 src2 dst len", "Plus", "+",
               "Adds vectors element by element.", notes=ALIASING),
    vector_row("Add", "vc vac vca vaca", "src val dst len", "Plus", "+",
               "Adds a constant to every element of a vector.", notes=ALIASING,
               gaps={"tarnmAdd_vca_64f_P": ("srcRoiShift", "dstRoiShift"),
                     "tarnmAdd_vaca_32f_P": ("srcObjectStride",)}),
    vector_row("Sub", "vv vav vva vava", "src1 src2 dst len", "Minus", "-",
               "Subtracts vectors element by element.", notes=ALIASING,
               serial_exports=("tarnmSub_vva_64f_P",)),
    vector_row("Sub", "vc vac vca vaca", "src val dst len", "Minus", "-",
               "Subtracts a constant from every element of a vector.", notes=ALIASING),
    vector_row("Sub", "cv cva cav cava", "src val dst len", "MinusReversed", "-",
               "Subtracts every element of a vector from a constant.", notes=ALIASING,
               gaps={"tarnmSub_cav_32f_P": ("srcRoiShift", "dstRoiShift")}),
    matrix_row("Add", "Plus", "+", "Adds matrices, each read as stored or transposed, element by element."),
    matrix_row("Sub", "Minus", "-", "Subtracts matrices, each read as stored or transposed, element by element."),
    scale_row("vc vac vca vaca", "v", "src val dst len", VECTORS, "1, len",
              "Multiplies every element of a vector by a constant.", vectors_as_rows=True),
    scale_row("mc tc mac tac", "m", "src val dst width height", MATRICES, "height, width",
              "Multiplies every element of a matrix, read as stored or transposed, by a constant."),
]  # fmt: skip
