"""What the outputs say of a member in words."""

SHAPE_NAMES = {"v": "vector", "m": "matrix", "t": "matrix", "c": "constant"}
ORDINALS = {"src1": "first source", "src2": "second source", "src3": "third source", "src": "source"}

SIZE_TEXTS = {
    "len": "elements of a vector",
    "width": "columns",
    "height": "rows",
    "widthHeight": "rows and columns of a square matrix",
}

STATUS_OF_CHECK = {
    "N": "StatusNullPointer",
    "C": "StatusBadCount",
    "Z": "StatusBadSize",
    "M": "StatusSizeMismatch",
    "S": "StatusBadStride",
    "R": "StatusBadRoiShift",
    "O": "StatusBadStride",
}

CHECK_TEXTS = {
    "N": "a pointer argument is null",
    "C": "count is below 1",
    "Z": "a size is below 1",
    "M": "sizes that must agree do not",
    "S": "a stride is below 1 or not a multiple of the element size",
    "R": "a roi shift is negative or not a multiple of the element size",
    "O": "count is above 1 and an object stride is below 1 or not a multiple of the element size",
}


def plural(word):
    return "matrices" if word == "matrix" else word + "s"


def role(name):
    if name in ORDINALS:
        return ORDINALS[name]
    if name == "dst":
        return "result"
    if name.startswith("dst"):
        return f"result {name[3:].lower()}"
    if name.startswith("val"):
        return "constant" if name == "val" else f"factor of the {ORDINALS['src' + name[3:]]}"
    return name


def shape(operand):
    if operand.letter == "c":
        return ""
    if operand.letter == "v":
        return f" of {operand.columns} elements"
    stored = f" of {operand.rows} x {operand.columns}".replace(" * ", "*")
    return stored + (" as stored, read transposed" if operand.letter == "t" else "")


def describe_operand_argument(member, argument):
    operand = member.operand(argument.operand)
    name, noun = role(operand.name), SHAPE_NAMES[operand.letter]
    if argument.kind == "value":
        return f"{name}, the same for every element"
    if argument.kind == "pointer":
        if operand.is_array:
            return f"{name}: the first of count {plural(noun)}{shape(operand)}"
        return f"{name}: one {noun}{shape(operand)}"
    if argument.kind == "table":
        if operand.layout == "L":
            return f"{name}: table of count pointers, one per {noun}{shape(operand)}"
        rows = ", row by row" if operand.letter in "mt" else ""
        owner = f"count {plural(noun)}" if operand.is_array else f"one {noun}"
        return f"{name}: table of pointers, one per element of {owner}{shape(operand)}{rows}"
    if argument.kind == "objectStride":
        return f"bytes from one {noun} of the {name} to the next"
    if argument.kind == "rowStride":
        return f"bytes from one row of the {name} to the next"
    if argument.kind == "elementStride":
        return f"bytes from one element of the {name} to the next"
    return f"bytes added to every pointer of the table of the {name}"


def describe_size(member, name):
    for prefix, source in ORDINALS.items():
        if name.startswith(prefix) and name != prefix:
            what = {"Width": "columns", "Height": "rows", "Len": "elements"}[name[len(prefix) :]]
            return f"{what} of the {source}" + (" as stored" if what != "elements" else "")
    text = SIZE_TEXTS[name]
    if name in ("width", "height"):
        signature = member.row.signature.split()
        owner = "source" if "dst" not in signature or signature.index(name) < signature.index("dst") else "result"
        return f"{text} of the {owner}"
    return text


def describe_plain(member, argument):
    extent = member.row.shapes.get(argument.name, "1")
    each = " for each object" if member.is_per_object(argument) else ""
    if argument.kind == "buffer":
        return f"scratch of {extent.replace(' * ', '*')} bytes; its contents are undefined on return"
    if argument.kind == "indices" and argument.name != "pSizeBytes":
        following = ", one object after the other" if each else ""
        return f"row indices of the factor: {extent} elements{each}{following}"
    if argument.kind == "indices":
        return "the size in bytes"
    if extent == "1":
        return f"result: one element{each}, contiguous"
    return f"result: {extent} elements{each}, contiguous"


def describe(member, argument):
    row = member.row
    if hasattr(row, "arguments"):
        return describe_fixed(member, argument)
    if argument.name in row.describe:
        return row.describe[argument.name]
    if argument.kind == "count":
        return "number of objects"
    if argument.kind == "size":
        return describe_size(member, argument.name)
    if argument.operand and any(o.name == argument.operand for o in member.operands):
        return describe_operand_argument(member, argument)
    if argument.kind == "value":
        return f"{role(argument.name)}, the same for every object"
    return describe_plain(member, argument)


def describe_fixed(member, argument):
    text = {d.rpartition(" ")[2]: t for d, _, _, t in member.row.arguments}[argument.name]
    if text:
        return text
    if argument.kind == "pointer":
        operand = member.operand(argument.operand)
        what = "the result" if operand.direction == "out" else "source"
        owner = "each of count objects" if operand.is_array else "one object"
        return f"{what}: {operand.columns} consecutive elements, {owner}"
    if argument.kind == "objectStride":
        return "bytes from one object to the next"
    if argument.kind == "count":
        return "number of objects; below 1 nothing is done"
    if argument.kind == "indices":
        return "the result: 1 or 0"
    return "parameter"


def purpose(member):
    sentence = member.row.purpose
    formula = getattr(member.row, "formula", None)
    return sentence + (f" {formula(member.code)}." if formula else "")


def statuses(member):
    """[(status, when)] in the order of the tests."""
    found = []
    for letter, _ in member.checks:
        entry = (STATUS_OF_CHECK[letter], CHECK_TEXTS[letter])
        if letter == "M":
            rules = " and ".join(f"{left} {op} {right}" for left, op, right in member.row.agreement(member.code))
            entry = (entry[0], f"not {rules.replace('==', '=')}")
        found.append(entry)
    return found + list(member.row.statuses)


def folded(line, width=118):
    """A line of C or C++ broken behind commas where it is too long; it has no commas in strings or comments."""
    indent = " " * (len(line) - len(line.lstrip()) + 4)
    lines = []
    while len(line) > width:
        cut = line.rfind(", ", 0, width)
        if cut <= len(indent):
            break
        lines.append(line[: cut + 1])
        line = indent + line[cut + 2 :]
    return "\n".join(lines + [line])
