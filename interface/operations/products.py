"""Products of matrices with matrices and vectors."""

from model import Row

# (dense, not dense)
PRODUCT_LIMITS = {
    ("S", "32f"): (2501, 1441), ("L", "32f"): (3601, 1441),
    ("S", "64f"): (3601, 1441), ("L", "64f"): (3601, 1441),
    ("P", "32f"): (1441, 1441), ("P", "64f"): (1441, 1441),
}  # fmt: skip


def product_limits(code, layout, type_):
    return PRODUCT_LIMITS[layout, type_]


# ---- matrix by matrix

MATRIX_PAIRS = {"src1": "src1Height x src1Width", "src2": "src2Height x src2Width"}


def base_code(code):
    return code.replace("a", "")


def product_sizes(code):
    """Rows R, columns C of the result and length K of the inner sum."""
    first, second = base_code(code)
    rows, inner = ("src1Height", "src1Width") if first == "m" else ("src1Width", "src1Height")
    other, columns = ("src2Height", "src2Width") if second == "m" else ("src2Width", "src2Height")
    return rows, columns, inner, other


def product_agreement(code):
    _, _, inner, other = product_sizes(code)
    return [(inner, "==", other)]


def product_measure(code):
    rows, columns, inner, _ = product_sizes(code)
    letters = code.replace("ta", "A").replace("ma", "A")
    if letters == "AA":
        return f"({rows} * {inner} + {inner} * {columns} + {rows} * {columns}) * count"
    if letters[0] == "A":
        return f"{inner} * {columns} + ({inner} + {columns}) * {rows} * count"
    return f"{rows} * {inner} + ({inner} + {rows}) * {columns} * count"


def product_row(code):
    rows, columns, _, _ = product_sizes(code)
    return Row(
        operation="Mul",
        directory="products",
        codes=code,
        signature="src1 src1Width src1Height src2 src2Width src2Height dst",
        shapes={**MATRIX_PAIRS, "dst": f"{rows} x {columns}"},
        sizes_when_seen=product_sizes,
        result="m",
        agreement=product_agreement,
        measure=product_measure,
        parallel=product_limits,
        purpose="Multiplies matrices, each read as stored or transposed.",
    )


# ---- matrix by vector


def vector_product_row(code):
    letter = code[0]
    rows, inner = ("src1Height", "src1Width") if letter == "m" else ("src1Width", "src1Height")
    measures = {
        "mva": "src1Width * src1Height + (src1Width + src1Height) * count",
        "tva": "src1Width * src1Height + (src1Width + src1Height) * count",
        "mav": "src1Height * (src1Width + 1) * count + src1Width",
        "tav": "src1Width * (src1Height + 1) * count + src1Height",
        "mava": "(src1Width * (src1Height + 1) + src1Height) * count",
        "tava": "(src1Width * (src1Height + 1) + src1Height) * count",
    }
    return Row(
        operation="Mul",
        directory="products",
        codes=code,
        signature="src1 src1Width src1Height src2 src2Len dst",
        shapes={"src1": "src1Height x src1Width", "src2": "src2Len", "dst": rows},
        sizes_when_seen=product_sizes,
        agreement=lambda _: [(inner, "==", "src2Len")],
        measure=measures.get,
        parallel=product_limits,
        purpose="Multiplies a matrix, read as stored or transposed, by a vector.",
    )


# ---- gaxpy

GAXPY_LIMITS = {
    ("S", "32f"): (7001, 5001), ("L", "32f"): (7001, 501), ("P", "32f"): (4501, 4501),
    ("S", "64f"): (5001, 5001), ("L", "64f"): (6001, 5001), ("P", "64f"): (7001, 7001),
}  # fmt: skip


def gaxpy_measure(code):
    if code == "mvav":
        return "(src2Len + src3Len) * count + src3Len"
    return "(src2Len + 2 * src3Len) * count"


MATRIX_CODES = [
    first + second
    for first, second in [("m", "m"), ("m", "t"), ("t", "m"), ("t", "t")]
]
PAIR_CODES = [
    code
    for first, second in MATRIX_CODES
    for code in (f"{first}{second}", f"{first}a{second}", f"{first}{second}a", f"{first}a{second}a")
]

ROWS = [product_row(code) for code in PAIR_CODES]
ROWS += [vector_product_row(code) for code in "mv tv mva tva mav tav mava tava".split()]
ROWS += [
    Row(
        operation="Gaxpy",
        directory="vector",
        codes="mv mva mvav",
        letters={"mv": "m v v", "mva": "m va va", "mvav": "m va v"},
        signature="src1 src1Width src1Height src2 src2Len src3 src3Len dst",
        shapes={"src1": "src1Height x src1Width", "src2": "src2Len", "src3": "src3Len", "dst": "src3Len"},
        sizes_when_seen=product_sizes,
        agreement=lambda _: [("src1Width", "==", "src2Len"), ("src1Height", "==", "src3Len")],
        measure=gaxpy_measure,
        parallel=lambda code, layout, type_: GAXPY_LIMITS[layout, type_],
        purpose="Multiplies a matrix by a vector and adds a second vector to the product.",
    )
]
