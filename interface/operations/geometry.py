"""The geometry kit: fixed sizes, single precision, as good as no validation."""

from model import Fixed, Row, above

SIZES = (2, 3, 4)


def source(name, extent, text=""):
    return (f"const float* {name}", extent, "in", text)


def result(name, extent, text=""):
    return (f"float* {name}", extent, "out", text)


def scalar(name, text=""):
    return (f"float {name}", 0, "in", text)


def fixed(operation, code, arguments, purpose, **more):
    return Fixed(operation, "geometry", f"tarnm{operation}_{code}_32f", tuple(arguments), purpose, **more)


def sized(operation, arguments, purpose):
    """One member for each of the vector sizes; `arguments` maps a size to the list."""
    return [fixed(operation, f"v{n}", arguments(n), purpose) for n in SIZES]


def two_to_vector(n):
    return [source("pSrc1", n), source("pSrc2", n), result("pDst", n)]


def two_to_scalar(n):
    return [source("pSrc1", n), source("pSrc2", n), result("pDst", 1)]


def one_to_scalar(n):
    return [source("pSrc", n), result("pDst", 1)]


def sources(count, n):
    return [source(f"pSrc{i + 1}", n) for i in range(count)]


def array(name, extent, object_stride, direction="in"):
    pointer = source(name, extent) if direction == "in" else result(name, extent)
    return [pointer, (f"int32_t {object_stride}", 0, "in", "")]


COUNT = ("int32_t count", 0, "in", "")
MATRIX = result("pDst", 16)
VIEW_VOLUME = [scalar(name) for name in ("viewWidth", "viewHeight", "zNear", "zFar")]
OFF_CENTER = [scalar(name) for name in ("left", "right", "bottom", "top", "zNear", "zFar")]
FIELD_OF_VIEW = [scalar(name) for name in ("fovY", "aspect", "zNear", "zFar")]
VIEWPORT = [scalar(name) for name in ("viewportWidth", "viewportHeight", "zMin", "zMax")]
CAMERA = [source("pEye", 3), source("pAt", 3), source("pUp", 3)]
TRANSFORMS = [source("pProjection", 16), source("pView", 16), source("pWorld", 16)]

VECTOR_ROWS = (
    sized("Add", two_to_vector, "Adds two vectors.")
    + sized("Sub", two_to_vector, "Subtracts two vectors.")
    + sized("Max", two_to_vector, "Takes the larger element of two vectors, element by element.")
    + sized("Min", two_to_vector, "Takes the smaller element of two vectors, element by element.")
    + sized("MulC", lambda n: [source("pSrc", n), scalar("val"), result("pDst", n)], "Scales a vector.")
    + sized("DotProduct", two_to_scalar, "Computes the scalar product of two vectors.")
    + sized("Len", one_to_scalar, "Computes the Euclidean length of a vector.")
    + sized("LenSqr", one_to_scalar, "Computes the squared length of a vector.")
    + sized("Normalize", lambda n: [source("pSrc", n), result("pDst", n)], "Divides a vector by its length.")
    + [
        fixed("CrossProduct", "v2", two_to_scalar(2), "Computes the third component of a cross product in the plane."),
        fixed("CrossProduct", "v3", two_to_vector(3), "Computes the cross product of two vectors."),
        fixed("CrossProduct", "v4", sources(3, 4) + [result("pDst", 4)],
              "Computes the vector orthogonal to three vectors."),
    ]
)  # fmt: skip

MATRIX_ROWS = [
    fixed("Identity", "m4", [MATRIX], "Writes the identity matrix."),
    fixed("IsIdentity", "m4", [source("pSrc", 16), ("int32_t* pResult", 1, "out", "")],
          "Tells whether a matrix passes for the identity."),
    fixed("Transpose", "m4", [source("pSrc", 16), MATRIX], "Writes the transpose of a matrix."),
    fixed("Mul", "mm4x4", sources(2, 16) + [MATRIX], "Multiplies two matrices.", checks="N"),
    fixed("MulTranspose", "m4", sources(2, 16) + [MATRIX], "Writes the transpose of the product of two matrices."),
    fixed("Det", "m4", [source("pSrc", 16), result("pDst", 1)], "Computes the determinant of a matrix."),
    fixed("Invert", "m4", [source("pSrc", 16), result("pDet", 1), MATRIX],
          "Computes the inverse and, where pDet is not null, the determinant of a matrix."),
]  # fmt: skip

BUILDER_ROWS = (
    [
        fixed("Translation", "m4", [scalar("tx"), scalar("ty"), scalar("tz"), MATRIX], "Builds a translation."),
        fixed("Scaling", "m4", [scalar("sx"), scalar("sy"), scalar("sz"), MATRIX], "Builds a scaling."),
    ]
    + [
        fixed(f"Rotation{axis}", "m4", [scalar("angle"), MATRIX], f"Builds a rotation about the {axis.lower()} axis.")
        for axis in "XYZ"
    ]
    + [
        fixed("RotationAxis", "v3m4", [source("pAxis", 3), scalar("angle"), MATRIX],
              "Builds a rotation about an axis through the origin."),
        fixed("RotationYawPitchRoll", "m4", [scalar("yaw"), scalar("pitch"), scalar("roll"), MATRIX],
              "Builds a rotation from yaw, pitch and roll."),
    ]
    + [
        fixed(f"{name}{hand}", "m4", arguments + [MATRIX], f"Builds {text}, {handedness}-handed.")
        for name, arguments, text in [
            ("LookAt", CAMERA, "a view matrix"),
            ("Ortho", VIEW_VOLUME, "an orthographic projection"),
            ("OrthoOffCenter", OFF_CENTER, "an off-centre orthographic projection"),
            ("Perspective", VIEW_VOLUME, "a perspective projection"),
            ("PerspectiveFov", FIELD_OF_VIEW, "a perspective projection from a field of view"),
            ("PerspectiveOffCenter", OFF_CENTER, "an off-centre perspective projection"),
        ]
        for hand, handedness in [("LH", "left"), ("RH", "right")]
    ]
)  # fmt: skip


def transform_rows(name, sizes, purpose):
    rows = []
    for n, out in sizes:
        rows.append(fixed(name, f"m4v{n}", [source("pSrc1", 16), source("pSrc2", n), result("pDst", out)], purpose))
        arrays = array("pSrc2", n, "src2ObjectStride") + array("pDst", out, "dstObjectStride", "out")
        rows.append(fixed(name, f"m4v{n}a", [source("pSrc1", 16)] + arrays + [COUNT], purpose))
    return rows


def projection_rows(name, purpose):
    return [
        fixed(name, "m4v3", TRANSFORMS + [source("pSrc", 3)] + VIEWPORT + [result("pDst", 3)], purpose),
        fixed(
            name,
            "m4v3a",
            TRANSFORMS
            + array("pSrc", 3, "srcObjectStride")
            + VIEWPORT
            + array("pDst", 3, "dstObjectStride", "out")
            + [COUNT],
            purpose,
        ),
    ]


TRANSFORM_ROWS = (
    transform_rows("AffineTransform", [(2, 4), (3, 4), (4, 4)], "Transforms a row vector by a matrix.")
    + transform_rows("AffineTransformCoord", [(2, 2), (3, 3)],
                     "Transforms a point by a matrix and divides by its fourth coordinate.")
    + transform_rows("AffineTransformNormal", [(2, 2), (3, 3)], "Transforms a direction by a matrix.")
    + projection_rows("Project", "Maps a point from object space to the viewport.")
    + projection_rows("Unproject", "Maps a point from the viewport back to object space.")
    + [
        Row(
            operation="AffineTransform3DH",
            directory="geometry",
            codes="mva",
            signature="src1 src2 dst",
            shapes={"src1": "4 x 4", "src2": "3", "dst": "3"},
            types=("32f",),
            layouts=lambda code: ["S"],
            checks=lambda code, layout, type_: "N C S",
            measure=lambda code: "6 * count",
            parallel=lambda code, layout, type_: (above(784), above(784)),
            merges_status=True,
            statuses=(("StatusDivByZero", "the fourth coordinate of a point is zero within the tolerance"),),
            purpose="Transforms a point, taken as a column, by a matrix and divides by its fourth coordinate.",
        )
    ]
)  # fmt: skip


def curve(operation, count, parameters, purpose):
    return sized(
        operation, lambda n: sources(count, n) + [scalar(name) for name in parameters] + [result("pDst", n)], purpose
    )


CURVE_ROWS = (
    curve("InterpolationLinear", 2, ["val"], "Interpolates linearly between two vectors.")
    + curve("BaryCentric", 3, ["val1", "val2"], "Combines three vectors by barycentric weights.")
    + curve("Hermite", 4, ["val"], "Evaluates a cubic Hermite segment.")
    + curve("InterpolationCatmullRom", 4, ["val"], "Evaluates a Catmull-Rom segment.")
)

ROWS = VECTOR_ROWS + MATRIX_ROWS + BUILDER_ROWS + TRANSFORM_ROWS + CURVE_ROWS
