// QR factors, and least squares with them: one object at a time, element by element as stated. All sums ascend.
#include <cmath>
#include <vector>

#include "reference/problem.h"

namespace tarnm::reference {
namespace {

template <class T> struct Matrix {
    int height, width;
    std::vector<T> values;

    Matrix(const Problem<T>& problem, const char* operand, int object)
        : height(problem.size("height"))
        , width(problem.size("width"))
    {
        for (int r = 0; r < height; ++r)
            for (int c = 0; c < width; ++c)
                values.push_back(problem.stored(operand, object, r, c));
    }
    T& operator()(int r, int c) { return values[std::size_t(r * width + c)]; }
    int reflections() const { return width == height ? width - 1 : width; }
};

// False at the first column that is zero within the tolerance.
template <class T> bool factored(Matrix<T>& a)
{
    const T epsilon = sizeof(T) == 4 ? T(1.1920928955078125e-7) : T(2.220446049250313e-16);
    const int h = a.height, w = a.width;
    std::vector<T> buffer(std::size_t(h), T(0));
    const auto v = [&](int i) -> T& { return buffer[std::size_t(i)]; };
    for (int k = 0; k < a.reflections(); ++k) {
        T squares = 0;
        for (int i = k; i < h; ++i)
            squares += a(i, k) * a(i, k);
        if (epsilon > std::fabs(squares)) return false;
        const T norm = std::sqrt(squares);
        const T alpha = a(k, k) > 0 ? norm : -norm;
        const T d = a(k, k) + alpha;
        const T r = 1 / d;
        v(k) = 1;
        T q = 1;
        for (int i = k + 1; i < h; ++i) {
            v(i) = r * a(i, k);
            q += v(i) * v(i);
        }
        const T beta = -2 / q;
        for (int j = k; j < w; ++j) {
            T s = a(k, j);
            for (int i = k + 1; i < h; ++i)
                s += a(i, j) * v(i);
            s *= beta;
            for (int i = k; i < h; ++i)
                a(i, j) += s * v(i);
        }
        for (int i = k + 1; i < h; ++i)
            a(i, k) = v(i);
    }
    return true;
}

template <class T> void decompose(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (const Slice& slice : problem.slices())
        for (int object = slice.first; object < slice.first + slice.count; ++object) {
            Matrix<T> a(problem, "src", object);
            const bool succeeds = factored(a);
            for (int r = 0; r < a.height; ++r)
                for (int c = 0; c < a.width; ++c)
                    outcome.exactly("dst", object, r, c, a(r, c));
            if (succeeds) continue;
            outcome.status = StatusDivByZero;
            break;
        }
}

template <class T> void solve(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int object = 0; object < problem.count(); ++object) {
        Matrix<T> a(problem, "src1", object);
        const int h = a.height, w = a.width;
        std::vector<T> buffer;
        for (int i = 0; i < h; ++i)
            buffer.push_back(problem.element("src2", object, i));
        const auto c = [&](int i) -> T& { return buffer[std::size_t(i)]; };
        for (int k = 0; k < a.reflections(); ++k) {
            T q = 1, s = c(k);
            for (int i = k + 1; i < h; ++i) {
                q += a(i, k) * a(i, k);
                s += a(i, k) * c(i);
            }
            const T t = (-2 / q) * s;
            c(k) += t;
            for (int i = k + 1; i < h; ++i)
                c(i) += t * a(i, k);
        }
        std::vector<T> x(std::size_t(w), T(0));
        x[std::size_t(w - 1)] = c(w - 1) / a(w - 1, w - 1);
        for (int i = w - 2; i >= 0; --i) {
            T s = 0;
            for (int j = i + 1; j < w; ++j)
                s += a(i, j) * x[std::size_t(j)];
            x[std::size_t(i)] = (c(i) - s) / a(i, i);
        }
        for (int i = 0; i < w; ++i)
            outcome.exactly("dst", object, i, x[std::size_t(i)]);
    }
}

// Random in the first case. In the second every object has its own size, in the others some objects have a column that
// vanishes: at once, or when the columns before it have been reflected.
void fillMatrix(Filler& filler)
{
    const int h = filler.size("height"), w = filler.size("width"), object = filler.object();
    const double scale = filler.caseNumber() == 1 ? std::pow(2.0, object % 7 * 3 - 9) : 1;
    const bool isBroken = (filler.caseNumber() == 2 && object % 29 == 19) || (filler.caseNumber() == 3 && object == 5);
    const int broken = isBroken ? object % w : w;
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c) {
            const double value = filler.random();
            filler.set("src", r, c, c == broken ? (r < c ? 1.0 : 0.0) : (r > c && broken < w ? 0.0 : value) * scale);
        }
}

void fillFactor(Filler& filler)
{
    const int w = filler.size("width");
    if (filler.caseNumber() > 0)
        for (int i = 0; i < w; ++i)
            filler.set("src1", i, i, filler.random(1, 2) * (i % 2 == 0 ? 1 : -1));
}

const Registration registrations[] = {
    {"QRDecomp", "", decompose<float>, decompose<double>, {.fill = fillMatrix, .cases = 4}},
    {"QRBackSubst", "", solve<float>, solve<double>, {.fill = fillFactor}},
};

} // namespace
} // namespace tarnm::reference
