"""From rows to members: names, argument lists and checks, by one grammar.

A name is `tarnm` + operation + `_` + operand code + `_` + type + layout suffix. Letters of the code: v vector,
m matrix, t matrix read transposed, c constant; an `a` behind a letter makes that operand an array.
"""

import re
from dataclasses import replace

from model import Argument, Fixed, Member, Operand

GENERAL_CHECKS = {
    (False, "S"): "N Z S",
    (False, "P"): "N Z R",
    (True, "S"): "N C Z S",
    (True, "L"): "N C Z S R",
    (True, "P"): "N C Z S R",
}


def general_checks(is_array, layout, agreement=""):
    """The order that holds unless a row says otherwise; `agreement` stands behind the sizes."""
    return GENERAL_CHECKS[(is_array, layout)].replace("Z", "Z " + agreement)


def split_code(code):
    """`mvav` -> ['m', 'va', 'v']"""
    return re.findall(r"[vmtc]a?", code)


def is_array_code(code):
    return "a" in code


def capital(name):
    return name[0].upper() + name[1:]


def source_letters(row, code):
    """Which operand has which letter. A constant follows the vector in the list, also in codes that name it first."""
    letters = row.letters.get(code, "").split() or split_code(code)
    pattern = r"(src\d?|val)$" if "c" in code else r"src\d?$"
    sources = [name for name in row.signature.split() if re.match(pattern, name)]
    letters = sorted(letters, key=lambda letter: letter[0] == "c")
    return dict(zip(sources, letters))


def operand_layout(layout, name):
    """Copy has a layout for each side."""
    if len(layout) == 2:
        return layout[0] if name.startswith("src") else layout[1]
    return layout


def extent(row, name, letter):
    rows, _, columns = row.shapes.get(name, "1").partition(" x ")
    if not columns:
        rows, columns = "1", rows
    # Where one width and height serve all operands they are those of the operand as the operation sees it.
    if letter == "t" and not row.sizes_when_seen:
        rows, columns = columns, rows
    return rows, columns


def make_operand(row, item, code, layout, letters, is_array):
    name, _, pointer = item.partition(":")
    if name in letters:
        letter, array = letters[name][0], letters[name].endswith("a")
        direction = "in"
    else:
        letter, array, direction = row.result, is_array, "out"
    rows, columns = ("1", "1") if letter == "c" else extent(row, name, letter)
    side = operand_layout(layout, name)
    if side == "L" and not array:
        side = "S"
    return Operand(name, pointer or capital(name), letter, array, direction, side, rows, columns)


def operand_arguments(operand):
    const = "const " if operand.direction == "in" else ""
    name, out = operand.name, operand.direction

    def argument(suffix, kind, ctype="int32_t", prefix=None):
        return Argument((prefix or name) + suffix, kind, name, out, ctype)

    pointer = argument(operand.pointer, "pointer", f"{const}T*", "p")
    table = argument(operand.pointer, "table", f"{const}T* const*", "pp")
    object_stride = argument("ObjectStride", "objectStride")
    row_stride = argument("RowStride", "rowStride")
    element_stride = argument("ElementStride", "elementStride")
    roi_shift = argument("RoiShift", "roiShift")

    if operand.is_constant:
        if not operand.is_array:
            return [Argument(name, "value", name, "in", "T")]
        return [table, roi_shift] if operand.layout == "L" else [pointer, object_stride]
    rows = [row_stride] if operand.letter in "mt" else []
    if operand.layout == "P":
        return [table, roi_shift] + ([object_stride] if operand.is_array else [])
    if operand.layout == "L":
        return [table, roi_shift] + rows + [element_stride]
    return [pointer] + ([object_stride] if operand.is_array else []) + rows + [element_stride]


PLAIN_POINTERS = {
    "pBuffer": ("buffer", "scratch", "void*"),
    "pDstIndex": ("indices", "out", "int32_t*"),
    "pSrcIndex": ("indices", "in", "const int32_t*"),
    "pSizeBytes": ("indices", "out", "int32_t*"),
}


def plain_argument(item):
    if item == "count":
        return Argument(item, "count", ctype="int32_t")
    if item.startswith("val"):
        return Argument(item, "value", item, "in", "T")
    if item in PLAIN_POINTERS:
        kind, direction, ctype = PLAIN_POINTERS[item]
        return Argument(item, kind, item, direction, ctype)
    if item.startswith("pDst"):
        return Argument(item, "scalars", item, "out", "T*")
    return Argument(item, "size", ctype="int32_t")


def expand_checks(member, order):
    """[(letter, arguments tested)] in order; object strides that wait for count above 1 have the letter O."""
    gated = any(token.startswith("O") for token in order.split())
    skipped = member.row.gaps.get(member.name, ())
    kinds = {
        "N": ("pointer", "table", "buffer", "indices", "scalars"),
        "C": ("count",),
        "Z": ("size",),
        "S": ("rowStride", "elementStride") if gated else ("objectStride", "rowStride", "elementStride"),
        "R": ("roiShift",),
        "O": ("objectStride",),
    }
    steps = []
    for token in order.split():
        letter, _, operand = token.partition(":")
        if letter == "M":
            steps.append(("M", []))
            continue
        tested = [
            a
            for a in member.of_kind(*kinds[letter])
            if a.operand.startswith(operand) and a.name not in skipped
        ]
        if tested:
            steps.append((letter, tested))
    return steps


def make_member(row, code, type_, layout):
    is_array = is_array_code(code)
    letters = source_letters(row, code)
    suffix = "" if layout == "S" else f"_{layout}"
    name = "_".join(filter(None, [f"tarnm{row.operation}", code, type_])) + suffix
    operands, arguments = [], []
    items = row.signature.split()
    if is_array and "count" not in items:
        items = items + ["count"]
    for item in items:
        base = item.partition(":")[0]
        if base == "count" and not is_array:
            continue
        if re.match(r"(src\d?|dst\w*)$", base) or base in letters:
            operand = make_operand(row, item, code, layout, letters, is_array)
            operands.append(operand)
            arguments += operand_arguments(operand)
        else:
            arguments.append(plain_argument(item))
    member = Member(name, row, row.operation, code, type_, layout, operands, arguments, [], is_array)
    if row.checks:
        order = row.checks(code, layout, type_)
    else:
        order = general_checks(is_array, layout, "M" if row.agreement else "")
    member.checks = expand_checks(member, order)
    return member


def layouts_of(row, code):
    if row.layouts:
        return row.layouts(code)
    if not code:
        return ["S"]
    return ["S", "L", "P"] if is_array_code(code) else ["S", "P"]


def expand(rows):
    """All members, in the order of the registry."""
    members = []
    for row in rows:
        if isinstance(row, Fixed):
            members.append(fixed_member(row))
            continue
        for code in row.codes.split() or [""]:
            for type_ in row.types:
                for layout in layouts_of(row, code):
                    members.append(make_member(row, code, type_, layout))
    return members


def fixed_member(row):
    """Arguments of a fixed form are written out: (declaration, extent in elements, direction, text)."""
    arguments, operands = [], []
    for declaration, size, direction, _ in row.arguments:
        ctype, _, name = declaration.rpartition(" ")
        if name == "count":
            arguments.append(Argument(name, "count", ctype=ctype))
        elif name.endswith("ObjectStride"):
            operand = name.removesuffix("ObjectStride")
            arguments.append(Argument(name, "objectStride", operand, "in", ctype))
            operands[-1] = replace(operands[-1], is_array=True)
        elif "int32_t" in ctype:
            arguments.append(Argument(name, "indices", name, direction, ctype))
        elif ctype.endswith("*"):
            operand = name[1].lower() + name[2:]
            arguments.append(Argument(name, "pointer", operand, direction, ctype))
            operands.append(Operand(operand, name[1:], "v", False, direction, "F", "1", str(size)))
        else:
            arguments.append(Argument(name, "value", name, "in", ctype))
    code = row.name.split("_")[1]
    is_array = any(a.kind == "count" for a in arguments)
    member = Member(row.name, row, row.operation, code, "32f", "S", operands, arguments, [], is_array)
    member.checks = expand_checks(member, row.checks)
    return member
