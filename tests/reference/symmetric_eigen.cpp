// The symmetric eigenproblem, and its members as the conformance tests see them.
#include "reference/symmetric_eigen.h"

#include <cmath>
#include <type_traits>

#include "reference/problem.h"

namespace tarnm::reference {
namespace {

const double singleEpsilon = 1.1920928955078125e-7; // 2^-23
const double doubleEpsilon = 2.220446049250313e-16; // 2^-52
const int stepLimit = 30;

// W: the type of the scalars. What is stored in the matrix, the vectors or the values is of type T.
template <class T, class W> class Solver {
public:
    Solver(const SymmetricKernel& kernel, const std::vector<T>& matrix, int n)
        : kernel(kernel)
        , a(matrix)
        , n(n)
        , E(isSingle ? singleEpsilon : doubleEpsilon)
    {
        solution.values.resize(n);
        if (kernel.isVectors) solution.vectors.resize(n * n);
    }

    SymmetricSolution<T> run()
    {
        if (n == 1)
            order1();
        else if (n == 2)
            solution.status = order2();
        else
            solution.status = general();
        return solution;
    }

private:
    static constexpr bool isSingle = std::is_same_v<T, float>;

    const SymmetricKernel kernel;
    std::vector<T> a;
    const int n;
    const W E;
    SymmetricSolution<T> solution;
    W P = 1;

    T& A(int r, int c) { return a[r * n + c]; }
    std::optional<T>& V(int r, int c) { return solution.vectors[r * n + c]; }
    W d(int i) { return A(i, i); }
    W e(int i) { return A(i + 1, i); }
    void setD(int i, W value) { A(i, i) = T(value); }
    void setE(int i, W value) { A(i + 1, i) = T(value); }

    bool isSingleVectors() const { return isSingle && kernel.isVectors && !kernel.isArray; }

    void order1()
    {
        solution.values[0] = a[0];
        if (kernel.isVectors) V(0, 0) = T(1);
    }

    tarnmStatus order2()
    {
        const bool isFine = isSingle && !kernel.isVectors && kernel.isArray && kernel.layout == 'S' && kernel.isDense;
        const T determinantAsStored = A(0, 0) * A(1, 1) - A(0, 1) * A(0, 1);
        const T limit = isFine ? T(doubleEpsilon) : T(E);
        if (limit >= std::abs(determinantAsStored)) return StatusSingular;

        const W x = A(0, 0), b = A(0, 1), y = A(1, 1);
        const W df = x - y, tb = b + b, sm = x + y;
        const W rt = std::sqrt(df * df + tb * tb);
        int sgn1 = 1;
        W first, second;
        if (sm > E) {
            first = (rt + sm) * W(0.5);
            second = (x * y - b * b) / first;
        } else if (sm < -E) {
            first = W(0.5) * (sm - rt);
            second = (x * y - b * b) / first;
            sgn1 = -1;
        } else {
            first = rt * W(0.5);
            second = rt * W(-0.5);
        }
        solution.values[0] = T(first);
        solution.values[1] = T(second);
        if (kernel.isVectors) rotation2(df, tb, rt, sgn1);
        return StatusOk;
    }

    void rotation2(W df, W tb, W rt, int sgn1)
    {
        W t = df + rt;
        int sgn2 = 1;
        if (!(df >= E) && df < -E) {
            t = df - rt;
            sgn2 = -1;
        }
        const auto inverseRoot = [&](W u) {
            if (isSingleVectors()) return W(float(1.0 / std::sqrt(1.0 + double(T(u * u)))));
            return W(1) / std::sqrt(W(1) + u * u);
        };
        W cs, sn;
        if (std::abs(t) > std::abs(tb)) {
            const W u = -tb / t;
            sn = inverseRoot(u);
            cs = u * sn;
        } else if (E >= std::abs(tb)) {
            cs = 1;
            sn = 0;
        } else {
            const W u = -t / tb;
            cs = inverseRoot(u);
            sn = u * cs;
        }
        if (sgn1 == sgn2) {
            const W held = cs;
            cs = -sn;
            sn = held;
        }
        V(0, 0) = T(cs);
        V(1, 0) = T(sn);
        V(0, 1) = T(-sn);
        V(1, 1) = T(cs);
    }

    tarnmStatus general()
    {
        if (kernel.isVectors)
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < n; ++c)
                    V(r, c) = T(r == c);
        for (int k = 0; k <= n - 3; ++k)
            reduce(k);
        solution.wentForward = std::abs(A(n - 1, n - 1)) > std::abs(A(0, 0));
        if (!(solution.wentForward ? forwardSweep() : backwardSweep())) return StatusNotConverged;
        collect();

        const bool isSingular = E >= std::abs(P);
        if (isSingular && (!kernel.isVectors || kernel.isArray)) return StatusSingular;
        sort();
        return isSingular ? StatusSingular : StatusOk;
    }

    // ---- Reduction

    void reduce(int k)
    {
        const bool sigmaTest = kernel.isArray;
        const bool alignmentTest = kernel.isArray || kernel.isVectors;
        const bool isFine = isSingle && kernel.isVectors && kernel.isArray && kernel.layout == 'L' && kernel.isDense;
        const W limit = isFine ? W(doubleEpsilon) : E;
        auto& v = solution.values;

        W sigma = 0;
        for (int i = k + 1; i < n; ++i)
            sigma += W(A(i, k)) * W(A(i, k));
        bool isZero = true;
        for (int i = k + 2; i < n; ++i)
            isZero = isZero && A(i, k) == 0;
        const bool skippedBefore = solution.skippedColumn;
        solution.skippedColumn = skippedBefore || !isZero; // unless the reflection takes place below
        if (sigmaTest && limit >= sigma) return;
        const W norm = std::sqrt(sigma), x0 = A(k + 1, k);
        for (int i = k + 2; i < n; ++i)
            v[i] = A(i, k);
        if (alignmentTest && limit >= std::abs(x0 - norm)) return;
        W w;
        if (x0 > limit) {
            v[k + 1] = T(x0 + norm);
            w = W(2) * (sigma + norm * x0);
        } else if (limit >= std::abs(x0)) {
            v[k + 1] = T(norm);
            w = sigma + sigma;
        } else {
            v[k + 1] = T(x0 - norm);
            w = W(2) * (sigma - norm * x0);
        }
        if (limit >= w) return;
        const W beta = W(2) / w;
        solution.skippedColumn = skippedBefore;

        for (int j = k; j < n; ++j) {
            W sum = 0;
            for (int i = k + 1; i < n; ++i)
                sum += W(A(i, j)) * W(*v[i]);
            const W c = beta * sum;
            for (int i = k + 1; i < n; ++i)
                A(i, j) = T(W(A(i, j)) - c * W(*v[i]));
        }
        for (int r = k; r < n; ++r) {
            W sum = 0;
            for (int i = k + 1; i < n; ++i)
                sum += W(A(r, i)) * W(*v[i]);
            const W c = beta * sum;
            for (int i = k + 1; i < n; ++i)
                A(r, i) = T(W(A(r, i)) - c * W(*v[i]));
        }
        if (kernel.isVectors) reflectVectors(k, beta);
    }

    void reflectVectors(int k, W beta)
    {
        const auto& v = solution.values;
        if (k == 0) {
            for (int i = 1; i < n; ++i) {
                V(i, i) = T(W(1) - beta * (W(*v[i]) * W(*v[i])));
                for (int j = i + 1; j < n; ++j)
                    V(i, j) = V(j, i) = T(-beta * W(*v[i]) * W(*v[j]));
            }
            return;
        }
        for (int r = 1; r < n; ++r) {
            W sum = 0;
            for (int i = k + 1; i < n; ++i)
                sum += W(*V(r, i)) * W(*v[i]);
            const W c = beta * sum;
            for (int i = k + 1; i < n; ++i)
                V(r, i) = T(W(*V(r, i)) - c * W(*v[i]));
        }
    }

    // ---- Sweeps

    W shiftRoot(W g, bool forward) const
    {
        const bool isSingleValues = isSingle && !kernel.isVectors && !kernel.isArray;
        if (isSingleVectors() || (isSingleValues && kernel.isDense && forward))
            return W(float(std::sqrt(1.0 + double(T(g * g)))));
        return std::sqrt(W(1) + g * g);
    }

    W shift(W difference, W coupling, W fromEnd, bool forward) const
    {
        const W g = difference / (W(2) * coupling);
        const W r = shiftRoot(g, forward);
        return fromEnd + coupling / (g > E ? g + r : g - r);
    }

    bool forwardSweep()
    {
        for (int l = 0; l < n; ++l)
            for (int counter = 0;; ++counter) {
                int m = l;
                while (m < n - 1 && std::abs(W(0.5) * e(m)) > E)
                    ++m;
                if (m == l) break;
                if (counter == stepLimit) return false;
                ++solution.steps;
                forwardStep(l, m);
            }
        return true;
    }

    void forwardStep(int l, int m)
    {
        W g = shift(d(l + 1) - d(l), e(l), d(m) - d(l), true);
        W s = 1, c = 1, p = 0, q = 0;
        for (int i = m - 1; i >= l; --i) {
            const W f = s * e(i), b = c * e(i), r = std::sqrt(f * f + g * g);
            if (i != m - 1) setE(i + 1, r);
            if (E >= std::abs(r)) {
                setD(i + 1, d(i + 1) - p);
                setE(m - 1, 0);
                solution.brokeChain = true;
                return;
            }
            s = f / r;
            c = g / r;
            g = d(i + 1) - p;
            q = (d(i) - g) * s + W(2) * c * b;
            p = s * q;
            setD(i + 1, g + p);
            g = c * q - b;
            if (kernel.isVectors)
                for (int r2 = 0; r2 < n; ++r2) {
                    const W t0 = *V(r2, i), t1 = *V(r2, i + 1);
                    V(r2, i) = T(c * t0 - s * t1);
                    V(r2, i + 1) = T(s * t0 + c * t1);
                }
        }
        if (std::abs(q) > E || l == 0) {
            setD(l, d(l) - p);
            setE(l, g);
        } else
            solution.leftOutClosing = true;
    }

    bool backwardSweep()
    {
        for (int l = n - 1; l >= 0; --l)
            for (int counter = 0;; ++counter) {
                int m = l;
                while (m > 0) {
                    if (std::abs(W(0.5) * e(m - 1)) <= E) {
                        if (!kernel.isVectors) {
                            solution.values[m] = T(d(m));
                            P *= d(m);
                        }
                        break;
                    }
                    --m;
                }
                if (m == l) break;
                if (counter == stepLimit) return false;
                ++solution.steps;
                backwardStep(l, m);
            }
        return true;
    }

    void backwardStep(int l, int m)
    {
        W g = shift(d(l - 1) - d(l), e(l - 1), d(m) - d(l), false);
        W s = 1, c = 1, p = 0, q = 0;
        for (int i = m; i <= l - 1; ++i) {
            const W f = s * e(i), b = c * e(i), r = std::sqrt(f * f + g * g);
            if (i != m) setE(i - 1, r);
            if (E >= std::abs(r)) {
                setD(i, d(i) - p);
                setE(m, 0);
                solution.brokeChain = true;
                return;
            }
            s = f / r;
            c = g / r;
            g = d(i) - p;
            q = (d(i + 1) - g) * s + W(2) * c * b;
            p = s * q;
            setD(i, g + p);
            g = c * q - b;
            if (kernel.isVectors)
                for (int r2 = 0; r2 < n; ++r2) {
                    const W t0 = *V(r2, i), t1 = *V(r2, i + 1);
                    V(r2, i) = T(c * t0 + s * t1);
                    V(r2, i + 1) = T(c * t1 - s * t0);
                }
        }
        if (std::abs(q) > E) {
            setD(l, d(l) - p);
            setE(l - 1, g);
        } else
            solution.leftOutClosing = true;
    }

    // ---- Results

    void collect()
    {
        if (!kernel.isVectors && !solution.wentForward) {
            solution.values[0] = T(d(0));
            P *= d(0);
            return;
        }
        P = 1;
        for (int i = 0; i < n; ++i) {
            solution.values[i] = T(d(i));
            P *= d(i);
        }
    }

    void sort()
    {
        auto& values = solution.values;
        for (int i = 0; i < n - 1; ++i) {
            int largest = i;
            for (int j = i + 1; j < n; ++j)
                if (*values[j] > *values[largest]) largest = j;
            if (largest == i) continue;
            std::swap(values[i], values[largest]);
            if (kernel.isVectors)
                for (int r = 0; r < n; ++r)
                    std::swap(V(r, i), V(r, largest));
        }
    }
};

} // namespace

template <class T>
SymmetricSolution<T> solveSymmetric(const SymmetricKernel& kernel, const std::vector<T>& matrix, int n)
{
    if (kernel.isVectors && kernel.isArray) return Solver<T, double>(kernel, matrix, n).run();
    return Solver<T, T>(kernel, matrix, n).run();
}

template SymmetricSolution<float> solveSymmetric(const SymmetricKernel&, const std::vector<float>&, int);
template SymmetricSolution<double> solveSymmetric(const SymmetricKernel&, const std::vector<double>&, int);

namespace {

template <class T> std::vector<T> sourceOf(const Problem<T>& problem, int object, int n)
{
    std::vector<T> matrix;
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            matrix.push_back(problem.stored("src", object, r, c));
    return matrix;
}

template <class T> tarnmStatus solveObject(const Problem<T>& problem, Outcome<T>& outcome, int object)
{
    const auto& member = problem.member();
    const int n = problem.size("widthHeight");
    const SymmetricKernel kernel{member.operation == "EigenValuesVectorsSym", member.code == "ma", member.layout[0],
                                 problem.path() == Path::dense};
    const auto solution = solveSymmetric(kernel, sourceOf(problem, object, n), n);
    for (int i = 0; i < n; ++i)
        if (solution.values[i]) outcome.exactly("pDstValues", object, i, *solution.values[i]);
    for (std::size_t i = 0; i < solution.vectors.size(); ++i)
        if (solution.vectors[i]) outcome.exactly("dst", object, int(i) / n, int(i) % n, *solution.vectors[i]);
    return solution.status;
}

// Every slice stops at its first failure.
template <class T> void solveObjects(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (const auto& slice : problem.slices())
        for (int k = slice.first; k < slice.first + slice.count; ++k) {
            const tarnmStatus status = solveObject(problem, outcome, k);
            if (status == StatusOk) continue;
            if (outcome.status == StatusOk)
                outcome.status = status;
            else
                outcome.alsoAccept(status);
            break;
        }
}

// Cases: random symmetric matrices; matrices that the steps treat in special ways; failing objects at several places;
// no symmetry at all, which nothing looks for.
void fillSymmetric(Filler& filler)
{
    const int n = filler.size("widthHeight"), kind = filler.caseNumber(), object = filler.object();
    const auto setBoth = [&](int r, int c, double value) {
        filler.set("src", r, c, value);
        filler.set("src", c, r, value);
    };
    for (int r = 0; r < n; ++r)
        for (int c = 0; c <= r; ++c) {
            const double x = filler.random();
            double value = x;
            if (kind == 1) switch (object % 8) {
                case 0:
                    value = r == c ? std::floor(x * 2) + 0.5 : 0;
                    break; // diagonal, with repeated values
                case 1:
                    value = r == c ? 1 + 1e-7 * x : 1e-7 * x;
                    break; // nearly a multiple of the identity
                case 2:
                    value = r - c > 1 ? 0 : x;
                    break; // tridiagonal already
                case 3:
                    value = x * std::pow(10.0, -(r + c) / 2.0);
                    break; // graded, from the first element on
                case 4:
                    value = x * std::pow(10.0, (r + c - 2 * n) / 2.0);
                    break; // graded, from the last element on
                case 5:
                    value = r == c ? 3 : 1;
                    break; // all but one value equal
                case 6:
                    value = x * 1e6;
                    break;
                default:
                    value = r == c || (r == n - 1 && c == 0) ? x : 1e-8 * x; // columns at the tests' limits
                }
            if (kind == 2) {
                if (object == 4 || object == 11) value = 0;
                if (object == 9) value = std::nan("");
                if (object == 18) value = r == c ? 1e-3 : 0;
            }
            setBoth(r, c, value);
            if (kind == 3) filler.set("src", r, c, filler.random());
        }
}

const Registration values("EigenValuesSym", "", solveObjects<float>, solveObjects<double>,
                          {.fill = fillSymmetric, .cases = 4});
const Registration vectors("EigenValuesVectorsSym", "", solveObjects<float>, solveObjects<double>,
                           {.fill = fillSymmetric, .cases = 4});

} // namespace
} // namespace tarnm::reference
