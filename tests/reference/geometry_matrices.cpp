// The 4x4 matrices of the geometry kit: identity, transpose, products, and the builders of transforms.
#include <array>
#include <cmath>

#include "reference/problem.h"

namespace tarnm::reference {
namespace {

using In = Problem<float>;
using Out = Outcome<float>;

// ---- Operations on matrices ----

void identity(const In&, Out& out)
{
    for (int i = 0; i < 16; ++i)
        out.exactly("dst", 0, i, i % 5 == 0 ? 1.0f : 0.0f);
}

void identityTest(const In& in, Out& out)
{
    bool anyColumn = false;
    for (int c = 0; c < 4; ++c) {
        bool matches = true;
        for (int r = 0; r < 4; ++r)
            matches = matches && in.element("src", 0, 4 * r + c) == (r == c ? 1.0f : 0.0f);
        anyColumn = anyColumn || matches;
    }
    out.index("pResult", 0, 0, in.element("src", 0, 0) == 1.0f && anyColumn ? 1 : 0);
}

void transpose(const In& in, Out& out)
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out.exactly("dst", 0, 4 * r + c, in.element("src", 0, 4 * c + r));
}

void product(const In& in, Out& out)
{
    const bool transposed = in.member().operation == "MulTranspose";
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            float sum = in.element("src1", 0, 4 * r) * in.element("src2", 0, c);
            for (int k = 1; k < 4; ++k)
                sum = sum + in.element("src1", 0, 4 * r + k) * in.element("src2", 0, 4 * k + c);
            out.exactly("dst", 0, transposed ? 4 * c + r : 4 * r + c, sum);
        }
}

// Matrices of which whole columns are those of the identity, or nearly.
void fillNearIdentity(Filler& filler)
{
    for (int c = 0; c < 4; ++c) {
        const bool spoilt = filler.random(0, 1) < 0.7;
        const int where = int(filler.random(0, 4));
        for (int r = 0; r < 4; ++r)
            filler.set("src", 0, 4 * r + c, (r == c ? 1 : 0) + (spoilt && r == where && r + c > 0 ? 0.5 : 0));
    }
    if (filler.caseNumber() % 4 == 3) filler.set("src", 0, 0, 1 + 1e-7);
}

// ---- Builders ----

// Elements that are not set are zero.
struct Matrix {
    std::array<float, 16> elements{};

    float& operator()(int r, int c) { return elements[4 * r + c]; }
    void put(Out& out) const
    {
        for (int i = 0; i < 16; ++i)
            out.exactly("dst", 0, i, elements[i]);
    }
};

void translation(const In& in, Out& out)
{
    Matrix m;
    m(0, 0) = m(1, 1) = m(2, 2) = m(3, 3) = 1;
    m(3, 0) = in.value("tx");
    m(3, 1) = in.value("ty");
    m(3, 2) = in.value("tz");
    m.put(out);
}

void scaling(const In& in, Out& out)
{
    Matrix m;
    m(0, 0) = in.value("sx");
    m(1, 1) = in.value("sy");
    m(2, 2) = in.value("sz");
    m(3, 3) = 1;
    m.put(out);
}

float sineOf(float angle) { return float(std::sin(double(angle))); }
float cosineOf(float angle) { return float(std::cos(double(angle))); }
float minusSineOf(float angle) { return float(0.0 - std::sin(double(angle))); }

// The sine stands above the diagonal of the plane that turns: x to y, y to z, z to x.
void rotation(const In& in, Out& out)
{
    const int axis = in.member().operation.back() - 'X';
    const int from = (axis + 1) % 3, to = (axis + 2) % 3;
    const float angle = in.value("angle");
    Matrix m;
    m(axis, axis) = m(3, 3) = 1;
    m(from, from) = m(to, to) = cosineOf(angle);
    m(from, to) = sineOf(angle);
    m(to, from) = minusSineOf(angle);
    m.put(out);
}

void rotationAxis(const In& in, Out& out)
{
    const float s = sineOf(in.value("angle")), c = cosineOf(in.value("angle"));
    float x = in.element("axis", 0, 0), y = in.element("axis", 0, 1), z = in.element("axis", 0, 2);
    const float length = std::sqrt((x * x + y * y) + z * z);
    x = x / length;
    y = y / length;
    z = z / length;
    const float q = 1 - c;
    Matrix m;
    m(0, 0) = c + x * (x * q);
    m(0, 1) = x * (y * q) + s * z;
    m(0, 2) = x * (z * q) - s * y;
    m(1, 0) = y * (x * q) - s * z;
    m(1, 1) = c + y * (y * q);
    m(1, 2) = s * x + y * (z * q);
    m(2, 0) = s * y + z * (x * q);
    m(2, 1) = z * (y * q) - s * x;
    m(2, 2) = c + z * (z * q);
    m(3, 3) = 1;
    m.put(out);
}

void rotationYawPitchRoll(const In& in, Out& out)
{
    const float sy = sineOf(in.value("yaw")), cy = cosineOf(in.value("yaw"));
    const float sp = sineOf(in.value("pitch")), cp = cosineOf(in.value("pitch"));
    const float sr = sineOf(in.value("roll")), cr = cosineOf(in.value("roll"));
    Matrix m;
    m(0, 0) = sr * (sy * sp) + cy * cr;
    m(0, 1) = sr * cp;
    m(0, 2) = sr * (sp * cy) - cr * sy;
    m(1, 0) = cr * (sy * sp) - cy * sr;
    m(1, 1) = cr * cp;
    m(1, 2) = sy * sr + cr * (sp * cy);
    m(2, 0) = sy * cp;
    m(2, 1) = 0 - sp;
    m(2, 2) = cy * cp;
    m(3, 3) = 1;
    m.put(out);
}

using Vector = std::array<float, 3>;

float dot(const Vector& a, const Vector& b) { return (a[0] * b[0] + a[1] * b[1]) + a[2] * b[2]; }

Vector normalized(const Vector& a)
{
    const float length = std::sqrt(dot(a, a));
    return {a[0] / length, a[1] / length, a[2] / length};
}

Vector cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

bool isLeftHanded(const In& in) { return in.member().operation.ends_with("LH"); }

void lookAt(const In& in, Out& out)
{
    Vector eye, at, up, d;
    for (int i = 0; i < 3; ++i) {
        eye[i] = in.element("eye", 0, i);
        at[i] = in.element("at", 0, i);
        up[i] = in.element("up", 0, i);
        d[i] = isLeftHanded(in) ? at[i] - eye[i] : eye[i] - at[i];
    }
    const Vector z = normalized(d), x = normalized(cross(up, z)), y = cross(z, x);
    Matrix m;
    for (int i = 0; i < 3; ++i) {
        m(i, 0) = x[i];
        m(i, 1) = y[i];
        m(i, 2) = z[i];
    }
    m(3, 0) = 0 - dot(x, eye);
    m(3, 1) = 0 - dot(y, eye);
    m(3, 2) = 0 - dot(z, eye);
    m(3, 3) = 1;
    m.put(out);
}

void orthographic(const In& in, Out& out)
{
    const float n = in.value("zNear"), f = in.value("zFar");
    Matrix m;
    if (in.member().operation.find("OffCenter") == std::string_view::npos) {
        m(0, 0) = 2 / in.value("viewWidth");
        m(1, 1) = 2 / in.value("viewHeight");
    } else {
        const float l = in.value("left"), r = in.value("right"), b = in.value("bottom"), t = in.value("top");
        m(0, 0) = 2 / (r - l);
        m(1, 1) = 2 / (t - b);
        m(3, 0) = (r + l) / (0 - (r - l));
        m(3, 1) = (t + b) / (0 - (t - b));
    }
    m(2, 2) = isLeftHanded(in) ? 1 / (f - n) : 1 / (n - f);
    m(3, 2) = isLeftHanded(in) ? n / (0 - (f - n)) : n / (n - f);
    m(3, 3) = 1;
    m.put(out);
}

void perspective(const In& in, Out& out)
{
    const float n = in.value("zNear"), f = in.value("zFar");
    const bool left = isLeftHanded(in);
    Matrix m;
    if (in.member().operation.find("OffCenter") == std::string_view::npos) {
        m(0, 0) = (n + n) / in.value("viewWidth");
        m(1, 1) = (n + n) / in.value("viewHeight");
    } else {
        const float l = in.value("left"), r = in.value("right"), b = in.value("bottom"), t = in.value("top");
        m(0, 0) = (n + n) / (r - l);
        m(1, 1) = (n + n) / (t - b);
        m(2, 0) = left ? (r + l) / (0 - (r - l)) : (r + l) / (r - l);
        m(2, 1) = left ? (t + b) / (0 - (t - b)) : (t + b) / (t - b);
    }
    m(2, 2) = left ? f / (f - n) : f / (n - f);
    m(2, 3) = left ? 1 : -1;
    m(3, 2) = left ? (n * f) / (0 - (f - n)) : (n * f) / (n - f);
    m.put(out);
}

void perspectiveFov(const In& in, Out& out)
{
    const float n = in.value("zNear"), f = in.value("zFar");
    const float half = 0.5f * in.value("fovY");
    const float y = std::cos(half) / std::sin(half);
    const bool left = isLeftHanded(in);
    Matrix m;
    m(0, 0) = y / in.value("aspect");
    m(1, 1) = y;
    m(2, 2) = left ? f / (f - n) : f / (n - f);
    m(2, 3) = left ? 1 : -1;
    m(3, 2) = left ? (0 - n * f) / (f - n) : (n * f) / (n - f);
    m.put(out);
}

// Angles of many turns and small ones, beside those of about one.
void fillAngle(Filler& filler) { filler.set("angle", 0, 0, filler.random() * (filler.caseNumber() == 1 ? 1000 : 3)); }

const Registration registrations[] = {
    {"Identity", "m4", identity, nullptr},
    {"IsIdentity", "m4", identityTest, nullptr, {.fill = fillNearIdentity, .cases = 40}},
    {"Transpose", "m4", transpose, nullptr},
    {"Mul", "mm4x4", product, nullptr},
    {"MulTranspose", "m4", product, nullptr},
    {"Translation", "m4", translation, nullptr},
    {"Scaling", "m4", scaling, nullptr},
    {"RotationX", "m4", rotation, nullptr, {.fill = fillAngle}},
    {"RotationY", "m4", rotation, nullptr, {.fill = fillAngle}},
    {"RotationZ", "m4", rotation, nullptr, {.fill = fillAngle}},
    {"RotationAxis", "v3m4", rotationAxis, nullptr, {.fill = fillAngle}},
    {"RotationYawPitchRoll", "m4", rotationYawPitchRoll, nullptr},
    {"LookAtLH", "m4", lookAt, nullptr},
    {"LookAtRH", "m4", lookAt, nullptr},
    {"OrthoLH", "m4", orthographic, nullptr},
    {"OrthoRH", "m4", orthographic, nullptr},
    {"OrthoOffCenterLH", "m4", orthographic, nullptr},
    {"OrthoOffCenterRH", "m4", orthographic, nullptr},
    {"PerspectiveLH", "m4", perspective, nullptr},
    {"PerspectiveRH", "m4", perspective, nullptr},
    {"PerspectiveFovLH", "m4", perspectiveFov, nullptr},
    {"PerspectiveFovRH", "m4", perspectiveFov, nullptr},
    {"PerspectiveOffCenterLH", "m4", perspective, nullptr},
    {"PerspectiveOffCenterRH", "m4", perspective, nullptr},
};

} // namespace
} // namespace tarnm::reference
