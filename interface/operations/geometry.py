"""The geometry kit: fixed sizes, single precision, as good as no validation."""

from model import Fixed, Row, above

SIZES = (2, 3, 4)


def source(name, extent, text=""):
    return (f"const float* {name}", extent, "in", text)


def result(name, extent, text=""):
    return (f"float* {name}", extent, "out", text)


def scalar(name, text=""):
    return (f"float {name}", 0, "in", text)


def fixed(operation, code, arguments, purpose, function=None, header=None, **more):
    """`function` of the family takes the arguments of the member in their order; None: not implemented."""
    names = ", ".join(declaration.rpartition(" ")[2] for declaration, *_ in arguments)
    if function and "kernel" not in more:
        more["kernel"] = f"geometry::{function}({names})"
    headers = more.pop("headers", None) or ((f"geometry/{header}.h",) if header else ())
    name = f"tarnm{operation}_{code}_32f"
    return Fixed(operation, "geometry", name, tuple(arguments), purpose, headers=headers, **more)


def sized(operation, arguments, purpose, function, header, notes):
    """One member for each of the vector sizes; `arguments` maps a size to the list."""
    return [
        fixed(operation, f"v{n}", arguments(n), purpose, f"{function}<{n}>", header, notes=notes) for n in SIZES
    ]


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

UNTESTED = "Nothing is tested: a null pointer faults. No pointer needs any alignment. "

SIZES_TEXT = "`v2`, `v3`, `v4`: "
IN_ORDER = SIZES_TEXT + UNTESTED + (
    "Elements are computed in ascending order, each stored before the next is read, so that the result may be a source."
)
ONE_RESULT = SIZES_TEXT + UNTESTED + "Every product is rounded before it is added."
DOT_NOTES = ONE_RESULT + (
    " Orders of additions, with pK for the product of the elements K: `v2` p0 + p1; `v3` (p0 + p1) + p2; "
    "`v4` (p0 + p1) + (p2 + p3)."
)
COMPARE_NOTES = IN_ORDER + (
    " Where an element of either vector is NaN, or both are equal (+0 and -0), the result is the element of pSrc2."
)
NORMALIZE_NOTES = UNTESTED + (
    "The length is the square root of the sum of squares in the order of `DotProduct`, without scaling; every element "
    "is divided by it (a true division). A length of 0 gives NaN in every element, one that overflows gives 0 (NaN "
    "for an infinite element). The result may be the source."
)
CROSS2_NOTES = "`v2` writes the one element a0*b1 - a1*b0."
CROSS3_NOTES = (
    "`v3` computes a1*b2 - a2*b1, a2*b0 - a0*b2, a0*b1 - a1*b0 in this order and stores each before it reads for the "
    "next: a result that is a source is wrong."
)
CROSS4_NOTES = (
    "`v4` expands by cofactors. With m(i,j) = b(i)*c(j) - b(j)*c(i) it computes (a1*m(2,3) - a2*m(1,3)) + a3*m(1,2), "
    "0 - ((a0*m(2,3) - a2*m(0,3)) + a3*m(0,2)), (a0*m(1,3) - a1*m(0,3)) + a3*m(0,1), "
    "0 - ((a0*m(1,2) - a1*m(0,2)) + a2*m(0,1)), each stored before the sources are read for the next; a negated zero is +0. "
    "A result that is a source is wrong. The fixed forms test nothing: a null pointer faults."
)

VECTOR_ROWS = (
    sized("Add", two_to_vector, "Adds two vectors.", "add", "vectors", IN_ORDER)
    + sized("Sub", two_to_vector, "Subtracts two vectors.", "subtract", "vectors", IN_ORDER)
    + sized("Max", two_to_vector, "Takes the larger element of two vectors, element by element.", "larger", "vectors",
            COMPARE_NOTES)
    + sized("Min", two_to_vector, "Takes the smaller element of two vectors, element by element.", "smaller", "vectors",
            COMPARE_NOTES)
    + sized("MulC", lambda n: [source("pSrc", n), scalar("val"), result("pDst", n)], "Scales a vector.", "scale",
            "vectors", IN_ORDER)
    + sized("DotProduct", two_to_scalar, "Computes the scalar product of two vectors.", "dotProduct", "vectors",
            DOT_NOTES)
    + sized("Len", one_to_scalar, "Computes the Euclidean length of a vector.", "length", "vectors",
            ONE_RESULT + " The square root of what `LenSqr` gives, without scaling against overflow.")
    + sized("LenSqr", one_to_scalar, "Computes the squared length of a vector.", "lengthSquared", "vectors", DOT_NOTES)
    + sized("Normalize", lambda n: [source("pSrc", n), result("pDst", n)], "Divides a vector by its length.",
            "normalize", "vectors", NORMALIZE_NOTES)
    + [
        fixed("CrossProduct", "v2", two_to_scalar(2), "Computes the third component of a cross product in the plane.",
              "crossProduct2", "vectors", notes=CROSS2_NOTES),
        fixed("CrossProduct", "v3", two_to_vector(3), "Computes the cross product of two vectors.",
              "crossProduct3", "vectors", notes=CROSS3_NOTES),
        fixed("CrossProduct", "v4", sources(3, 4) + [result("pDst", 4)],
              "Computes the vector orthogonal to three vectors.", "crossProduct4", "vectors", notes=CROSS4_NOTES),
    ]
)  # fmt: skip

IDENTITY_TEST_NOTES = UNTESTED + (
    "Weaker than its name: the result is 1 if element (0,0) is exactly 1 and at least one whole column equals that of "
    "the identity, whatever the other columns hold. There is no tolerance; +0 and -0 both equal 0."
)
PRODUCT_NOTES = (
    "An element of the product is ((p0 + p1) + p2) + p3 over the products in ascending order, each rounded. All of "
    "both sources is read before the first element is stored, so that the result may overlap a source in any way."
)

MATRIX_ROWS = [
    fixed("Identity", "m4", [MATRIX], "Writes the identity matrix.", "identity", "matrices", notes=UNTESTED),
    fixed("IsIdentity", "m4", [source("pSrc", 16), ("int32_t* pResult", 1, "out", "")],
          "Tells whether a matrix passes for the identity.", "isIdentity", "matrices", notes=IDENTITY_TEST_NOTES),
    fixed("Transpose", "m4", [source("pSrc", 16), MATRIX], "Writes the transpose of a matrix.", "transpose", "matrices",
          notes="`m4` tests nothing and reads all of the source before it stores: the result may be the source."),
    fixed("Mul", "mm4x4", sources(2, 16) + [MATRIX], "Multiplies two matrices.", "multiply", "matrices", checks="N",
          notes="`mm4x4`: " + PRODUCT_NOTES),
    fixed("MulTranspose", "m4", sources(2, 16) + [MATRIX], "Writes the transpose of the product of two matrices.",
          "multiplyTransposed", "matrices", notes=UNTESTED + PRODUCT_NOTES),
    fixed("Det", "m4", [source("pSrc", 16), result("pDst", 1)], "Computes the determinant of a 4x4 matrix.",
          kernel="fixedDeterminant4(pSrc, pDst)", headers=("matrixfunc/determinant.h",)),
    fixed("Invert", "m4", [source("pSrc", 16), result("pDet", 1), MATRIX],
          "Computes the inverse and, where pDet is not null, the determinant of a 4x4 matrix.",
          kernel="fixedInverse4(pSrc, pDet, pDst)", headers=("matrixfunc/inverse.h",),
          statuses=(("StatusSingular", "the matrix is singular within the tolerance"),)),
]  # fmt: skip

BUILDER_NOTES = UNTESTED + (
    "A point stands as a row to the left of the matrix, p*M, so that a translation lies in the last row and a chain of "
    "transforms reads from left to right. All 16 elements are written. "
)
ANGLE_NOTES = BUILDER_NOTES + (
    "Angles are radians; sine and cosine are computed in double precision and narrowed once each. "
)
MINUS_SINE_NOTES = ANGLE_NOTES + "The negative sine is 0 - s, formed in double precision: an angle of 0 gives +0."
AXIS_NOTES = ANGLE_NOTES + "The axis is divided by its length first; an axis of length 0 leaves NaN in the matrix."
VIEW_NOTES = BUILDER_NOTES + (
    "z is the normalised direction (from the eye to the point for LH, the other way for RH), x the normalised cross "
    "product of up and z, y the cross product of z and x; they are the columns 0 to 2. An eye at the point looked at, "
    "or an up along the direction, leaves NaN in them."
)
PROJECTION_NOTES = BUILDER_NOTES + (
    "Depths from zNear to zFar map to 0 to 1. No denominator is tested: an empty volume leaves infinities or NaN."
)
FOV_NOTES = PROJECTION_NOTES + (
    " The scale is the quotient of cosine and sine of 0.5*fovY, both in single precision; a fovY of 0 gives an "
    "infinity."
)


def handed_rows(name, arguments, text, function, notes):
    return [
        fixed(f"{name}{hand}", "m4", arguments + [MATRIX], f"Builds {text}, {side}-handed.",
              f"{function}<geometry::Hand::{side}>", "views", notes=notes)
        for hand, side in [("LH", "left"), ("RH", "right")]
    ]  # fmt: skip


BUILDER_ROWS = (
    [
        fixed("Translation", "m4", [scalar("tx"), scalar("ty"), scalar("tz"), MATRIX], "Builds a translation.",
              "translation", "rotations", notes=BUILDER_NOTES),
        fixed("Scaling", "m4", [scalar("sx"), scalar("sy"), scalar("sz"), MATRIX], "Builds a scaling.",
              "scaling", "rotations", notes=BUILDER_NOTES),
    ]
    + [
        fixed(f"Rotation{axis}", "m4", [scalar("angle"), MATRIX], f"Builds a rotation about the {axis.lower()} axis.",
              f"rotation{axis}", "rotations", notes=MINUS_SINE_NOTES)
        for axis in "XYZ"
    ]
    + [
        fixed("RotationAxis", "v3m4", [source("pAxis", 3), scalar("angle"), MATRIX],
              "Builds a rotation about an axis through the origin.", "rotationAxis", "rotations", notes=AXIS_NOTES),
        fixed("RotationYawPitchRoll", "m4", [scalar("yaw"), scalar("pitch"), scalar("roll"), MATRIX],
              "Builds a rotation from yaw, pitch and roll.", "rotationYawPitchRoll", "rotations",
              notes=ANGLE_NOTES + "The roll about z comes first, then the pitch about x, then the yaw about y."),
    ]
    + handed_rows("LookAt", CAMERA, "a view matrix", "lookAt", VIEW_NOTES)
    + handed_rows("Ortho", VIEW_VOLUME, "an orthographic projection", "orthographic", PROJECTION_NOTES)
    + handed_rows("OrthoOffCenter", OFF_CENTER, "an off-centre orthographic projection", "orthographicOffCenter",
                  PROJECTION_NOTES)
    + handed_rows("Perspective", VIEW_VOLUME, "a perspective projection", "perspective", PROJECTION_NOTES)
    + handed_rows("PerspectiveFov", FIELD_OF_VIEW, "a perspective projection from a field of view", "perspectiveFov",
                  FOV_NOTES)
    + handed_rows("PerspectiveOffCenter", OFF_CENTER, "an off-centre perspective projection", "perspectiveOffCenter",
                  PROJECTION_NOTES)
)  # fmt: skip

ARRAY_NOTES = (
    " The array members give every object the bits of the member for one vector, in ascending order; strides may be "
    "any number of bytes, also 0 or negative, and a count below 1 writes nothing and returns StatusOk. The matrix is "
    "read before the first result is stored. The result may be the source."
)
AFFINE_NOTES = UNTESTED + (
    "A row vector times the matrix m, without a divide; a missing third element counts as 0, a missing fourth as 1. "
    "All four elements are produced. Orders of additions in column j: `m4v2` (x*m(0,j) + m(3,j)) + y*m(1,j); `m4v3` "
    "((x*m(0,j) + m(3,j)) + y*m(1,j)) + z*m(2,j); `m4v4` (x*m(0,j) + y*m(1,j)) + (z*m(2,j) + w*m(3,j))."
) + ARRAY_NOTES
COORD_NOTES = UNTESTED + (
    "Every element is divided by the fourth coordinate q, a true division without a test: a q of 0 gives infinities or "
    "NaN. Orders of additions in column j, and for q with j = 3: `m4v2` (x*m(0,j) + m(3,j)) + y*m(1,j); `m4v3` "
    "(m(3,j) + z*m(2,j)) + (x*m(0,j) + y*m(1,j))."
) + ARRAY_NOTES
NORMAL_NOTES = UNTESTED + (
    "The last row of the matrix is left out, and nothing is normalised. Orders of additions in column j: `m4v2` "
    "x*m(0,j) + y*m(1,j); `m4v3` (x*m(0,j) + y*m(1,j)) + z*m(2,j)."
) + ARRAY_NOTES
VIEWPORT_NOTES = (
    "The viewport has its origin in a corner and its y axis runs downwards. Strides of the array member may be any "
    "number of bytes; a count below 1 writes nothing and returns StatusOk, before anything else is looked at. "
)
PROJECT_NOTES = UNTESTED + VIEWPORT_NOTES + (
    "The point goes through pWorld, pView and pProjection and is divided by its fourth coordinate, without a test. "
    "`m4v3` takes the matrices one after the other; `m4v3a` multiplies them once, as world*(view*projection), so that "
    "its results differ from those of `m4v3` in the last bits."
)
UNPROJECT_NOTES = UNTESTED + VIEWPORT_NOTES + (
    "The product (world*view)*projection is formed in single precision and inverted in double. If the determinant is "
    "smaller in magnitude than 256 times the smallest normal double the status is StatusSingular: `m4v3` leaves the "
    "normalised point in pDst, `m4v3a` writes nothing. A determinant that is NaN passes."
)
HOMOGENEOUS_NOTES = (
    "Unlike the other transforms the point stands to the right, M*(x, y, z, 1), and rows are summed. Orders of "
    "additions in row r: packed (x*m(r,0) + y*m(r,1)) + (m(r,3) + z*m(r,2)), other strides ((x*m(r,0) + m(r,3)) + "
    "y*m(r,1)) + z*m(r,2). Elements are multiplied by the reciprocal of the fourth coordinate, a true division. Where "
    "that is not above 1.1754944e-38 in magnitude (or NaN), the three elements become 3.4028235e38 and the call "
    "returns StatusDivByZero; all other objects are still computed."
)


def transform_rows(name, sizes, purpose, function, notes):
    """`function` maps the elements in and out to what follows the name of the function."""
    rows = []
    for n, out in sizes:
        one, many = function(n, out)
        rows.append(fixed(name, f"m4v{n}", [source("pSrc1", 16), source("pSrc2", n), result("pDst", out)], purpose,
                          one, "transforms", notes=notes))
        arrays = array("pSrc2", n, "src2ObjectStride") + array("pDst", out, "dstObjectStride", "out")
        rows.append(fixed(name, f"m4v{n}a", [source("pSrc1", 16)] + arrays + [COUNT], purpose, many, "transforms",
                          notes=notes))
    return rows  # fmt: skip


def sums_of(kind):
    def functions(n, out):
        parameters = f"<geometry::{kind}<{n}>, {n}, {out}>"
        return f"transform{parameters}", f"transformArray{parameters}"

    return functions


def points(n, out):
    return f"transformPoint<{n}>", f"transformPointArray<{n}>"


def projection_rows(name, purpose, function, **more):
    matrices = "pProjection, pView, pWorld"
    viewport = "geometry::Viewport{viewportWidth, viewportHeight, zMin, zMax}"
    return [
        fixed(name, "m4v3", TRANSFORMS + [source("pSrc", 3)] + VIEWPORT + [result("pDst", 3)], purpose,
              header="viewport", kernel=f"geometry::{function}({matrices}, pSrc, {viewport}, pDst)", **more),
        fixed(
            name,
            "m4v3a",
            TRANSFORMS
            + array("pSrc", 3, "srcObjectStride")
            + VIEWPORT
            + array("pDst", 3, "dstObjectStride", "out")
            + [COUNT],
            purpose,
            header="viewport",
            kernel=f"geometry::{function}Array({matrices}, pSrc, srcObjectStride, {viewport}, "
            "pDst, dstObjectStride, count)",
            **more,
        ),
    ]  # fmt: skip


TRANSFORM_ROWS = (
    transform_rows("AffineTransform", [(2, 4), (3, 4), (4, 4)], "Transforms a row vector by a matrix.",
                   sums_of("AffineSum"), AFFINE_NOTES)
    + transform_rows("AffineTransformCoord", [(2, 2), (3, 3)],
                     "Transforms a point by a matrix and divides by its fourth coordinate.", points, COORD_NOTES)
    + transform_rows("AffineTransformNormal", [(2, 2), (3, 3)], "Transforms a direction by a matrix.",
                     sums_of("NormalSum"), NORMAL_NOTES)
    + projection_rows("Project", "Maps a point from object space to the viewport.", "project", notes=PROJECT_NOTES)
    + projection_rows("Unproject", "Maps a point from the viewport back to object space.", "unproject",
                      notes=UNPROJECT_NOTES,
                      statuses=(("StatusSingular", "the product of the three matrices is singular"),))
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
            kernel="geometry::transformHomogeneous<{path}>({src1}, {src2}, {dst}, {place})",
            headers=("geometry/homogeneous.h",),
            notes=HOMOGENEOUS_NOTES,
        )
    ]
)  # fmt: skip


def curve(operation, count, parameters, purpose, function, notes):
    return sized(
        operation,
        lambda n: sources(count, n) + [scalar(name) for name in parameters] + [result("pDst", n)],
        purpose,
        function,
        "curves",
        UNTESTED + notes + " All elements are read before the first is stored: the result may be any of the sources.",
    )


HERMITE_NOTES = (
    "pSrc1 is the start, pSrc2 its tangent, pSrc3 the end, pSrc4 its tangent. With s = val, s2 = s*s and s3 = s*s2 in "
    "single precision, the weights h1 = s3 - s2, h2 = (s3 - 3*s2) + s3 and h3 = ((s - s2) - s2) + s3 are formed in "
    "double and narrowed; an element is (a - c)*h2 + ((a + h3*b) + h1*e). At 0 this is the start exactly, at 1 the "
    "end up to rounding."
)

CURVE_ROWS = (
    curve("InterpolationLinear", 2, ["val"], "Interpolates linearly between two vectors.", "interpolateLinear",
          "An element is a + val*(b - a); val is not clamped.")
    + curve("BaryCentric", 3, ["val1", "val2"], "Combines three vectors by barycentric weights.", "combineBarycentric",
            "An element is (a + val1*(b - a)) + val2*(c - a): val1 weights the second vector, val2 the third.")
    + curve("Hermite", 4, ["val"], "Evaluates a cubic Hermite segment.", "hermite", HERMITE_NOTES)
    + curve("InterpolationCatmullRom", 4, ["val"], "Evaluates a Catmull-Rom segment.", "catmullRom",
            "The four sources are consecutive points; the curve runs from the second to the third, with the tangents "
            "(c - a)*0.5 and (e - b)*0.5, as a Hermite segment.")
)  # fmt: skip

ROWS = VECTOR_ROWS + MATRIX_ROWS + BUILDER_ROWS + TRANSFORM_ROWS + CURVE_ROWS
