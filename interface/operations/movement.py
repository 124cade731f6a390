"""Copying between layouts, gathering to dense form, transposing, identities."""

from model import Row

# The object strides play no part in any address of a single object, so these families test them (O) only where
# count is above 1.
COPY_CHECKS = {
    "SS": "N Z C S O",
    "SL": "N Z C S R O",
    "SP": "N Z C S R O",
    "LS": "N Z C S R O",
    "LL": "N Z C S R",
    "LP": "N Z C S R O",
    "PS": "N Z C S R O",
    "PL": "N Z C S R O",
    "PP": "N Z C R O",
}
COPY_EXCEPTIONS = {("va", "SP", "32f"): "N Z C R S O", ("va", "LP", "32f"): "N Z C R S O"}


def copy_checks(code, layout, type_):
    return COPY_EXCEPTIONS.get((code, layout, type_), COPY_CHECKS[layout])


def extract_checks(code, layout, type_):
    if "a" in code:
        return {"S": "N Z C S", "L": "N Z C R S", "P": "N Z C R S"}[layout]
    if layout == "P":
        return "N Z R" if (code, type_) == ("v", "32f") else "Z N R"
    return "N Z S"


def identity_checks(code, layout, type_):
    if layout == "P":
        return "N Z R C O" if type_ == "32f" else "N Z C R O"
    return {"S": "N Z C S O", "L": "N Z C S R"}[layout]


def layout_pairs(code):
    return list(COPY_CHECKS)


COPY_NOTES = """Elements are moved as bit patterns, objects, rows and elements in ascending order: signalling NaNs, denormals
and negative zeros arrive unchanged. A result that overlaps its source further on receives what has been copied before."""

ROWS = [
    Row(
        operation="Copy",
        directory="movement",
        codes="va",
        signature="src dst len",
        shapes={"src": "len", "dst": "len"},
        checks=copy_checks,
        layouts=layout_pairs,
        vectors_as_rows=True,
        kernel="copyObjects({src}, {dst}, 1, len, {place})",
        headers=("movement/copy.h",),
        notes=COPY_NOTES,
        purpose="Copies an array of vectors from one layout to another.",
    ),
    Row(
        operation="Copy",
        directory="movement",
        codes="ma",
        signature="src dst width height",
        shapes={"src": "height x width", "dst": "height x width"},
        result="m",
        checks=copy_checks,
        layouts=layout_pairs,
        kernel="copyObjects({src}, {dst}, height, width, {place})",
        headers=("movement/copy.h",),
        notes=COPY_NOTES,
        purpose="Copies an array of matrices from one layout to another.",
    ),
    Row(
        operation="Extract",
        directory="movement",
        codes="v va",
        signature="src pDst len",
        shapes={"src": "len", "pDst": "len"},
        checks=extract_checks,
        vectors_as_rows=True,
        kernel="copyObjects({src}, packedBlock(pDst, 1, len), 1, len, {place})",
        headers=("movement/copy.h",),
        notes=COPY_NOTES,
        purpose="Gathers vectors into one dense block.",
    ),
    Row(
        operation="Extract",
        directory="movement",
        codes="m t ma ta",
        signature="src pDst width height",
        shapes={"src": "height x width", "pDst": "width * height"},
        checks=extract_checks,
        kernel="copyObjects({src}, packedBlock(pDst, height, width), height, width, {place})",
        headers=("movement/copy.h",),
        notes=COPY_NOTES,
        purpose="Gathers matrices, read as stored or transposed, into one dense block.",
    ),
    Row(
        operation="Transpose",
        directory="movement",
        codes="m ma",
        signature="src width height dst",
        shapes={"src": "height x width", "dst": "width x height"},
        result="m",
        kernel="transposeObjects<{path}>({src}, {dst}, width, height, {place})",
        headers=("movement/transpose.h",),
        notes="Result element (c, r) is source element (r, c), moved as a bit pattern. Source and result must not overlap.",
        purpose="Writes the transpose of a matrix.",
    ),
    Row(
        operation="LoadIdentity",
        directory="movement",
        codes="ma",
        letters={"ma": " "},
        signature="dst width height",
        shapes={"dst": "height x width"},
        result="m",
        checks=identity_checks,
        kernel="loadIdentities({dst}, height, width, {place})",
        headers=("movement/identity.h",),
        notes="Element (r, c) is 1 where r equals c and 0 elsewhere, also where width and height differ.",
        purpose="Fills matrices with the identity pattern.",
    ),
]
