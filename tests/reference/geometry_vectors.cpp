// The fixed-size vectors of the geometry kit: arithmetic, products, lengths, and points of curves.
#include <cmath>

#include "reference/problem.h"

namespace tarnm::reference {
namespace {

using In = Problem<float>;
using Out = Outcome<float>;

int elementsOf(const In& in) { return in.member().code[1] - '0'; }

void elementByElement(const In& in, Out& out)
{
    const auto operation = in.member().operation;
    for (int i = 0; i < elementsOf(in); ++i) {
        const float a = in.element("src1", 0, i), b = in.element("src2", 0, i);
        float d = 0;
        if (operation == "Add") d = a + b;
        if (operation == "Sub") d = a - b;
        if (operation == "Max") d = a > b ? a : b;
        if (operation == "Min") d = a < b ? a : b;
        out.exactly("dst", 0, i, d);
    }
}

void scaled(const In& in, Out& out)
{
    for (int i = 0; i < elementsOf(in); ++i)
        out.exactly("dst", 0, i, in.value("val") * in.element("src", 0, i));
}

float sumOfProducts(const In& in, std::string_view first, std::string_view second)
{
    const int n = elementsOf(in);
    float p[4];
    for (int i = 0; i < n; ++i)
        p[i] = in.element(first, 0, i) * in.element(second, 0, i);
    if (n == 2) return p[0] + p[1];
    if (n == 3) return (p[0] + p[1]) + p[2];
    return (p[0] + p[1]) + (p[2] + p[3]);
}

void dotProduct(const In& in, Out& out) { out.exactly("dst", 0, 0, sumOfProducts(in, "src1", "src2")); }
void lengthSquared(const In& in, Out& out) { out.exactly("dst", 0, 0, sumOfProducts(in, "src", "src")); }
void length(const In& in, Out& out) { out.exactly("dst", 0, 0, std::sqrt(sumOfProducts(in, "src", "src"))); }

void normalized(const In& in, Out& out)
{
    const float length = std::sqrt(sumOfProducts(in, "src", "src"));
    for (int i = 0; i < elementsOf(in); ++i)
        out.exactly("dst", 0, i, in.element("src", 0, i) / length);
}

void crossInPlane(const In& in, Out& out)
{
    out.exactly("dst", 0, 0,
                in.element("src1", 0, 0) * in.element("src2", 0, 1) -
                    in.element("src1", 0, 1) * in.element("src2", 0, 0));
}

void crossInSpace(const In& in, Out& out)
{
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        out.exactly("dst", 0, i,
                    in.element("src1", 0, j) * in.element("src2", 0, k) -
                        in.element("src1", 0, k) * in.element("src2", 0, j));
    }
}

// Cofactors along the first row of the matrix of the three vectors: element i leaves out column i.
void crossOfThree(const In& in, Out& out)
{
    for (int i = 0; i < 4; ++i) {
        int kept[3];
        for (int k = 0, column = 0; column < 4; ++column)
            if (column != i) kept[k++] = column;
        const auto minor = [&](int p, int q) {
            return in.element("src2", 0, p) * in.element("src3", 0, q) -
                   in.element("src2", 0, q) * in.element("src3", 0, p);
        };
        const auto [p, q, r] = kept;
        const float sum = (in.element("src1", 0, p) * minor(q, r) - in.element("src1", 0, q) * minor(p, r)) +
                          in.element("src1", 0, r) * minor(p, q);
        out.exactly("dst", 0, i, i % 2 == 0 ? sum : 0.0f - sum);
    }
}

void linear(const In& in, Out& out)
{
    for (int i = 0; i < elementsOf(in); ++i) {
        const float a = in.element("src1", 0, i), b = in.element("src2", 0, i);
        out.exactly("dst", 0, i, a + in.value("val") * (b - a));
    }
}

void barycentric(const In& in, Out& out)
{
    for (int i = 0; i < elementsOf(in); ++i) {
        const float a = in.element("src1", 0, i), b = in.element("src2", 0, i), c = in.element("src3", 0, i);
        out.exactly("dst", 0, i, (a + in.value("val1") * (b - a)) + in.value("val2") * (c - a));
    }
}

float hermiteOf(float start, float startTangent, float end, float endTangent, float s)
{
    const float square = s * s, cube = s * square;
    const double s2 = square, s3 = cube;
    const float endWeight = float(s3 - s2);
    const float differenceWeight = float((s3 - 3.0 * s2) + s3);
    const float startWeight = float(((double(s) - s2) - s2) + s3);
    const float tangents = (start + startWeight * startTangent) + endWeight * endTangent;
    return (start - end) * differenceWeight + tangents;
}

void hermite(const In& in, Out& out)
{
    for (int i = 0; i < elementsOf(in); ++i)
        out.exactly("dst", 0, i,
                    hermiteOf(in.element("src1", 0, i), in.element("src2", 0, i), in.element("src3", 0, i),
                              in.element("src4", 0, i), in.value("val")));
}

void catmullRom(const In& in, Out& out)
{
    for (int i = 0; i < elementsOf(in); ++i) {
        const float a = in.element("src1", 0, i), b = in.element("src2", 0, i);
        const float c = in.element("src3", 0, i), e = in.element("src4", 0, i);
        out.exactly("dst", 0, i, hermiteOf(b, (c - a) * 0.5f, c, (e - b) * 0.5f, in.value("val")));
    }
}

// Some parameters of curves are the ends of the segment.
void fillParameter(Filler& filler)
{
    if (filler.caseNumber() < 2) filler.set("val", 0, 0, filler.caseNumber());
}

const char sizes[] = "v2 v3 v4";
const Registration registrations[] = {
    {"Add", sizes, elementByElement, nullptr},
    {"Sub", sizes, elementByElement, nullptr},
    {"Max", sizes, elementByElement, nullptr},
    {"Min", sizes, elementByElement, nullptr},
    {"MulC", sizes, scaled, nullptr},
    {"DotProduct", sizes, dotProduct, nullptr},
    {"LenSqr", sizes, lengthSquared, nullptr},
    {"Len", sizes, length, nullptr},
    {"Normalize", sizes, normalized, nullptr},
    {"CrossProduct", "v2", crossInPlane, nullptr},
    {"CrossProduct", "v3", crossInSpace, nullptr},
    {"CrossProduct", "v4", crossOfThree, nullptr},
    {"InterpolationLinear", sizes, linear, nullptr, {.fill = fillParameter}},
    {"BaryCentric", sizes, barycentric, nullptr},
    {"Hermite", sizes, hermite, nullptr, {.fill = fillParameter}},
    {"InterpolationCatmullRom", sizes, catmullRom, nullptr, {.fill = fillParameter}},
};

} // namespace
} // namespace tarnm::reference
