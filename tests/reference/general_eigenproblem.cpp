// Eigenvalues and eigenvectors of general matrices, one object at a time, as the procedures are stated. Indices run
// from 1. Sums run in ascending order and start at 0, which makes every bit of the results predictable.
#include <cmath>
#include <vector>

#include "reference/general_matrices.h"
#include "reference/problem.h"

namespace tarnm::reference {
namespace {

template <class T> struct Constants;
template <> struct Constants<float> {
    static constexpr float E = 1.1920929e-7f, tiny = 2.3509887e-38f, twoTiny = 4.7019774e-38f, fourE = 4.7683716e-7f;
    static constexpr float B = 2.1267648e37f, numerator = 0x1.fffffcp-1f;
};
template <> struct Constants<double> {
    static constexpr double E = 2.220446049250313e-16, tiny = 4.450147717014403e-308, twoTiny = 8.900295434028806e-308,
                            fourE = 8.881784197001252e-16, B = 1.1235582092889474e307, numerator = 0.9999999999999998;
};

template <class T> T larger(T a, T b) { return a > b ? a : b; }
template <class T> T smaller(T a, T b) { return a < b ? a : b; }

template <class T> struct Square {
    int n;
    std::vector<T> values;

    explicit Square(int order)
        : n(order)
        , values(std::size_t(order) * std::size_t(order))
    {}
    T& operator()(int i, int j) { return values[std::size_t((j - 1) * n + i - 1)]; }
};

enum class Family { values, vectors };

// What a call leaves of one object.
template <class T> struct Answer {
    explicit Answer(int n)
        : re(std::size_t(n) + 1)
        , im(std::size_t(n) + 1)
        , right(n)
        , left(n)
    {}

    tarnmStatus status = StatusOk;
    int written = 1; // the eigenvalues from here on
    std::vector<T> re, im;
    bool hasVectors = false;
    bool endsCall = false;
    Square<T> right, left;
};

template <class T> class Object {
    using C = Constants<T>;
    using Vector = std::vector<T>; // from 1

public:
    Object(int order, Family family)
        : n(order)
        , family(family)
        , H(order)
        , Z(order)
        , tau(std::size_t(order) + 1)
        , answer(order)
    {}

    Answer<T> solve(const Square<T>& source, bool wantsRight, bool wantsLeft)
    {
        H = source;
        if (family == Family::vectors && n == 1) {
            answer.re[1] = H(1, 1);
            answer.right(1, 1) = answer.left(1, 1) = 1;
            answer.hasVectors = true;
            return answer;
        }
        reduce();
        if (family == Family::vectors) formZ();
        for (int j = 1; j <= n - 2; ++j)
            for (int i = j + 2; i <= n; ++i)
                H(i, j) = 0;
        if (!iterate()) {
            answer.status = StatusNotConverged;
            answer.endsCall = true;
            return answer;
        }
        if (family == Family::vectors) vectors(wantsRight, wantsLeft);
        return answer;
    }

private:
    struct Reflected {
        T tau, beta, factor;
        bool isIdentity;
    };

    static T length(T x, T y)
    {
        const T w = larger(x, y), z = smaller(x, y);
        T r = w;
        if (!(z < C::tiny)) {
            const double ratio = double(z) / double(w);
            r = T(double(w) * std::sqrt(1 + ratio * ratio));
        }
        return r < C::tiny ? C::twoTiny : r;
    }

    static Reflected procedureR(T alpha, T squares)
    {
        const T xnorm = std::sqrt(squares);
        if (xnorm < C::tiny) return {0, alpha, 1, true};
        const T r = length(std::fabs(alpha), xnorm);
        const T beta = alpha < 0 ? r : -r;
        return {(beta - alpha) / beta, beta, 1 / (alpha - beta), false};
    }

    // v(1) = 1 in column j of H
    void applyFromLeft(Square<T>& m, int j)
    {
        for (int c = j + 1; c <= n; ++c) {
            T work = 0;
            for (int t = 1; t <= n - j; ++t)
                work += m(j + t, c) * H(j + t, j);
            for (int t = 1; t <= n - j; ++t)
                m(j + t, c) -= (tau[std::size_t(j)] * work) * H(j + t, j);
        }
    }

    void reduce()
    {
        for (int j = 1; j <= n - 1; ++j) {
            T squares = 0;
            for (int i = j + 2; i <= n; ++i)
                squares += H(i, j) * H(i, j);
            const Reflected q = procedureR(H(j + 1, j), squares);
            if (!q.isIdentity)
                for (int i = j + 2; i <= n; ++i)
                    H(i, j) *= q.factor;
            tau[std::size_t(j)] = q.tau;
            H(j + 1, j) = 1;
            if (std::fabs(q.tau) > C::tiny) {
                for (int r = 1; r <= n; ++r) {
                    T work = 0;
                    for (int t = 1; t <= n - j; ++t)
                        work += H(r, j + t) * H(j + t, j);
                    for (int t = 1; t <= n - j; ++t)
                        H(r, j + t) -= (q.tau * H(j + t, j)) * work;
                }
                applyFromLeft(H, j);
            }
            H(j + 1, j) = q.beta;
        }
    }

    void formZ()
    {
        for (int r = 1; r <= n; ++r)
            for (int c = 1; c <= n; ++c)
                Z(r, c) = r == c;
        for (int j = n - 1; j >= 1; --j) {
            if (!(std::fabs(tau[std::size_t(j)]) > C::tiny)) continue;
            const T kept = H(j + 1, j);
            H(j + 1, j) = 1;
            applyFromLeft(Z, j);
            H(j + 1, j) = kept;
        }
    }

    bool isNegligible(int k, int l, int i)
    {
        if (family == Family::values) return std::fabs(H(k, k - 1)) <= C::E;
        T tst = std::fabs(H(k - 1, k - 1)) + std::fabs(H(k, k));
        if (tst <= C::tiny) {
            tst = 0;
            for (int c = l; c <= i; ++c) {
                T sum = 0;
                for (int r = l; r <= std::min(c + 1, i); ++r)
                    sum += std::fabs(H(r, c));
                tst = larger(sum, tst);
            }
        }
        const T smlnum = C::tiny * T(n) / C::E;
        return larger(C::E * tst, smlnum) >= std::fabs(H(k, k - 1));
    }

    // Shifts of values are in the type's precision; shifts of vectors in single precision.
    struct Shifts {
        T h33, h44, h4334;
    };

    Shifts valueShifts(int i, int its)
    {
        if (its == 10 || its == 20) {
            const T s = std::fabs(H(i, i - 1)) + std::fabs(H(i - 1, i - 2));
            const T h44 = T(0.75) * s + H(i, i);
            return {h44, h44, T(-0.4375) * s * s};
        }
        T h44 = H(i, i), h33 = H(i - 1, i - 1), h4334 = H(i, i - 1) * H(i - 1, i);
        const T half = (h33 - h44) * T(0.5);
        T disc = half * half + h4334;
        if (disc > 0) {
            disc = std::sqrt(disc);
            const T ave = (h33 + h44) * T(0.5);
            const T y = ave < 0 ? ave - disc : ave + disc;
            h44 = std::fabs(h33) - std::fabs(h44) > 0 ? (h33 * h44 - h4334) / y : y;
            h33 = h44;
            h4334 = 0;
        }
        return {h33, h44, h4334};
    }

    Shifts vectorShifts(int i, int its)
    {
        if (its == 10 || its == 20) {
            const float s = float(std::fabs(H(i, i - 1)) + std::fabs(H(i - 1, i - 2)));
            const float part = 0.75f * s;
            const float h44 = float(T(part) + H(i, i));
            const float product = -0.4375f * s * s;
            return {T(h44), T(h44), T(product)};
        }
        float h44 = float(H(i, i)), h33 = float(H(i - 1, i - 1)), h4334 = float(H(i, i - 1) * H(i - 1, i));
        const float half = (h33 - h44) * 0.5f;
        float disc = half * half + h4334;
        if (disc > Constants<float>::tiny) {
            disc = std::sqrt(disc);
            const float ave = (h33 + h44) * 0.5f;
            const float y = -h44 > h33 ? ave - disc : ave + disc;
            const float inv = std::fabs(y) > Constants<float>::tiny ? 1 / y : y;
            h44 = std::fabs(h33) > std::fabs(h44) ? (h33 * h44 - h4334) * inv : y;
            h33 = h44;
            h4334 = 0;
        }
        return {T(h33), T(h44), T(h4334)};
    }

    static T magnitudes(T x, T y) { return T(std::fabs(double(x)) + std::fabs(double(y))); }
    static T magnitudes(T x, T y, T z) { return T(std::fabs(double(x)) + std::fabs(double(y)) + std::fabs(double(z))); }

    bool iterate()
    {
        int itn = 30 * n;
        for (int i = n; i >= 1;) {
            int l = 1, its = 0;
            for (; its < itn; ++its) {
                int k = i;
                while (k > l && !isNegligible(k, l, i))
                    --k;
                l = k;
                if (l > 1) H(l, l - 1) = 0;
                if (l >= i - 1) break;
                sweep(l, i, family == Family::values ? valueShifts(i, its) : vectorShifts(i, its));
            }
            if (l < i - 1) {
                answer.written = i + 1;
                return false;
            }
            if (l == i)
                answer.re[std::size_t(i)] = H(i, i);
            else
                finishPair(i);
            itn -= its;
            i = l - 1;
        }
        return true;
    }

    void sweep(int l, int i, const Shifts& shift)
    {
        T q1 = 0, q2 = 0, q3 = 0;
        int m = i - 2;
        for (;; --m) {
            const T h11 = H(m, m), h22 = H(m + 1, m + 1), h21 = H(m + 1, m), h12 = H(m, m + 1);
            const T h44s = shift.h44 - h11, h33s = shift.h33 - h11;
            q1 = (h44s * h33s - shift.h4334) / h21 + h12;
            q2 = h22 - h11 - h44s - h33s;
            q3 = H(m + 2, m + 1);
            const T s = magnitudes(q1, q2, q3);
            q1 /= s;
            q2 /= s;
            q3 /= s;
            if (m == l) break;
            const T sum = magnitudes(h11, h22, H(m - 1, m - 1));
            if (C::E * sum * std::fabs(q1) >= std::fabs(H(m, m - 1)) * magnitudes(q2, q3)) break;
        }
        for (int k = m; k <= i - 1; ++k) {
            const bool three = k < i - 1;
            if (k > m) {
                q1 = H(k, k - 1);
                q2 = H(k + 1, k - 1);
                if (three) q3 = H(k + 2, k - 1);
            }
            const Reflected q = procedureR(q1, three ? q2 * q2 + q3 * q3 : q2 * q2);
            if (!q.isIdentity) {
                q1 = q.beta;
                q2 *= q.factor;
                q3 *= q.factor;
            }
            if (k > m) {
                H(k, k - 1) = q1;
                H(k + 1, k - 1) = 0;
                if (three) H(k + 2, k - 1) = 0;
            } else if (m > l) {
                H(k, k - 1) = -H(k, k - 1);
            }
            const T t1 = q.tau, t2 = t1 * q2, t3 = t1 * q3;
            const auto apply = [&](T& x, T& y, T* z) {
                T sum = x + q2 * y;
                if (three) sum = sum + q3 * *z;
                x -= sum * t1;
                y -= sum * t2;
                if (three) *z -= sum * t3;
            };
            const bool whole = family == Family::vectors;
            for (int c = k; c <= (whole ? n : i); ++c)
                apply(H(k, c), H(k + 1, c), three ? &H(k + 2, c) : nullptr);
            for (int r = whole ? 1 : l; r <= std::min(k + 3, i); ++r)
                apply(H(r, k), H(r, k + 1), three ? &H(r, k + 2) : nullptr);
            if (whole)
                for (int r = 1; r <= n; ++r)
                    apply(Z(r, k), Z(r, k + 1), three ? &Z(r, k + 2) : nullptr);
        }
    }

    void finishPair(int i)
    {
        T &a = H(i - 1, i - 1), &b = H(i - 1, i), &c = H(i, i - 1), &d = H(i, i);
        const T y = family == Family::values ? procedureS(a, b, c, d) : procedureS2(a, b, c, d);
        answer.re[std::size_t(i) - 1] = a;
        answer.re[std::size_t(i)] = d;
        answer.im[std::size_t(i) - 1] = y;
        answer.im[std::size_t(i)] = -y;
        if (family == Family::values) return;
        const auto turn = [&](T& x, T& y) {
            const T turned = cs * x + sn * y;
            y = cs * y - sn * x;
            x = turned;
        };
        for (int c2 = i + 1; c2 <= n; ++c2)
            turn(H(i - 1, c2), H(i, c2));
        for (int r = 1; r <= i - 2; ++r)
            turn(H(r, i - 1), H(r, i));
        for (int r = 1; r <= n; ++r)
            turn(Z(r, i - 1), Z(r, i));
    }

    static bool differ(T b, T c) { return (b < 0) != (c < 0); }
    static T rootProduct(T b, T c) { return std::sqrt(std::fabs(c)) * std::sqrt(std::fabs(b)); }

    struct Spread {
        T p, bcmax, bcmis, scale, z;
    };

    static Spread spreadOf(T a, T b, T c, T d)
    {
        Spread s;
        s.p = (a - d) * T(0.5);
        s.bcmax = larger(std::fabs(b), std::fabs(c));
        s.bcmis = smaller(std::fabs(b), std::fabs(c));
        if (differ(b, c)) s.bcmis = -s.bcmis;
        s.scale = larger(std::fabs(s.p), s.bcmax);
        s.z = s.p * (s.p / s.scale) + s.bcmis * (s.bcmax / s.scale);
        return s;
    }

    static T zzOf(const Spread& s)
    {
        const T root = std::sqrt(s.scale) * std::sqrt(s.z);
        return s.p > 0 ? s.p + root : s.p - root;
    }

    static void equalise(T& a, T& b, T& c, T& d, T p, T& cosine, T& sine)
    {
        const T sigma = b + c;
        const T hypot = length(std::fabs(sigma), std::fabs(a - d));
        cosine = T(std::sqrt(0.5 * (1 + std::fabs(double(sigma)) / double(hypot))));
        sine = -p / (hypot * cosine);
        if (sigma < 0) sine = -sine;
        const T aa = a * cosine + b * sine, bb = -a * sine + b * cosine;
        const T cc = c * cosine + d * sine, dd = -c * sine + d * cosine;
        b = bb * cosine + dd * sine;
        c = cc * cosine - aa * sine;
        a = d = ((aa + dd) * cosine + (cc - bb) * sine) * T(0.5);
    }

    static T procedureS(T& a, T& b, T& c, T& d)
    {
        if (std::fabs(c) <= C::tiny) return 0;
        if (std::fabs(b) <= C::tiny) {
            std::swap(a, d);
            return 0;
        }
        if (std::fabs(a - d) <= C::tiny) return rootProduct(b, c);
        const Spread s = spreadOf(a, b, c, d);
        if (s.z >= C::fourE) {
            const T zz = zzOf(s);
            a = d + zz;
            d = d - s.bcmis * (s.bcmax / zz);
            return 0;
        }
        T cosine, sine;
        equalise(a, b, c, d, s.p, cosine, sine);
        if (!(std::fabs(c) > C::tiny && std::fabs(b) > C::tiny)) return 0;
        if (differ(b, c)) return rootProduct(b, c);
        const T pp = b < 0 ? -s.p : s.p;
        a = a + pp;
        d = d - pp;
        return 0;
    }

    T procedureS2(T& a, T& b, T& c, T& d)
    {
        if (std::fabs(c) <= C::tiny) {
            cs = 1;
            sn = 0;
        } else if (std::fabs(b) <= C::tiny) {
            std::swap(a, d);
            cs = 0;
            sn = 1;
            b = -c;
            c = 0;
        } else if (std::fabs(a - d) <= C::tiny) {
            if (differ(b, c)) {
                cs = 1;
                sn = 0;
            }
        } else {
            const Spread s = spreadOf(a, b, c, d);
            if (s.z >= C::fourE)
                splitReal(a, b, c, d, s);
            else
                splitEqual(a, b, c, d, s.p);
        }
        return std::fabs(c) <= C::tiny ? T(0) : rootProduct(b, c);
    }

    void splitReal(T& a, T& b, T& c, T& d, const Spread& s)
    {
        const T zz = zzOf(s);
        a = d + zz;
        d = d - (s.bcmax / zz) * s.bcmis;
        const T hypot = length(std::fabs(c), std::fabs(zz));
        cs = zz / hypot;
        sn = c / hypot;
        b = b - c;
        c = 0;
    }

    void splitEqual(T& a, T& b, T& c, T& d, T p)
    {
        equalise(a, b, c, d, p, cs, sn);
        if (!(std::fabs(c) > C::tiny && std::fabs(b) > C::tiny)) {
            b = -c;
            c = 0;
            const T old = cs;
            cs = -sn;
            sn = old;
        } else if (!differ(b, c)) {
            const T sab = std::sqrt(std::fabs(b)), sac = std::sqrt(std::fabs(c));
            const T pp = c < 0 ? -(sab * sac) : sab * sac;
            const T rec = T(1 / std::sqrt(std::fabs(double(b) + double(c))));
            a = a + pp;
            d = d - pp;
            b = b - c;
            c = 0;
            const T x = sab * cs, y = sac * sn;
            cs = rec * (x - y);
            sn = rec * (x + y);
        }
    }

    // ---- Vectors

    struct Number {
        T re, im;
    };
    static Number minus(Number a, Number b) { return {a.re - b.re, a.im - b.im}; }
    static Number times(Number a, Number b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
    static Number times(Number a, T b) { return {a.re * b, a.im * b}; }
    static Number over(Number a, Number b)
    {
        if (std::fabs(b.re) >= std::fabs(b.im)) {
            const T e = b.im / b.re, f = b.re + b.im * e;
            return {(a.re + a.im * e) / f, (a.im - a.re * e) / f};
        }
        const T e = b.re / b.im, f = b.im + b.re * e;
        return {(a.re * e + a.im) / f, (a.im * e - a.re) / f};
    }
    static T size(Number a) { return std::fabs(a.re) + std::fabs(a.im); }

    // Real systems are the complex ones without imaginary parts, but for the divisions and products.
    struct System {
        bool isComplex;
        Number times(Number a, Number b) const { return isComplex ? Object::times(a, b) : Number{a.re * b.re, 0}; }
        Number over(Number a, Number b) const { return isComplex ? Object::over(a, b) : Number{a.re / b.re, 0}; }
        T size(Number a) const { return isComplex ? Object::size(a) : std::fabs(a.re); }
    };

    struct Solution {
        Number x1{0, 0}, x2{0, 0};
        T scale = 1, xnorm = 0;
        bool hasPivot = true;
    };

    static void shrink(Solution& s, T norm, T bignum)
    {
        if (s.xnorm > 1 && norm > bignum / s.xnorm) {
            const T by = s.xnorm;
            s.x1 = {s.x1.re / by, s.x1.im / by};
            s.x2 = {s.x2.re / by, s.x2.im / by};
            s.scale = s.scale / by;
            s.xnorm = 1;
        }
    }

    Solution solveOne(const System& y, Number c, Number b, T norm)
    {
        if (y.size(c) < smini) c = {smini, 0};
        Solution s;
        if (y.size(c) < 1 && y.size(b) > 1 && y.size(b) > C::B * y.size(c)) s.scale = 1 / y.size(b);
        s.x1 = y.over(times(b, s.scale), c);
        s.xnorm = y.size(s.x1);
        shrink(s, norm, bignum);
        return s;
    }

    Solution solveTwo(const System& y, const Number (&c)[2][2], Number first, Number second, T norm)
    {
        static const int order[4][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
        int pr = 0, pc = 0;
        for (const auto& place : order)
            if (y.size(c[place[0]][place[1]]) > y.size(c[pr][pc])) {
                pr = place[0];
                pc = place[1];
            }
        Solution s;
        const T cmax = y.size(c[pr][pc]);
        if (smini > cmax) {
            s.hasPivot = false;
            return s;
        }
        const Number u11 = c[pr][pc], u12 = c[pr][1 - pc];
        const Number multiplier = y.over(c[1 - pr][pc], u11);
        Number u22 = minus(c[1 - pr][1 - pc], y.times(u12, multiplier));
        if (y.size(u22) < smini) u22 = {smini, 0};
        const Number b1 = pr == 1 ? second : first;
        const Number b2 = minus(pr == 1 ? first : second, y.times(multiplier, b1));
        const T bbnd = larger(y.size(y.times(y.over(b1, u11), u22)), y.size(b2));
        if (bbnd > 1 && y.size(u22) < 1 && bbnd > C::B * y.size(u22)) s.scale = 1 / bbnd;
        const Number x2 = y.over(times(b2, s.scale), u22);
        const Number x1 = minus(y.over(times(b1, s.scale), u11), y.times(x2, y.over(u12, u11)));
        s.x1 = pc == 1 ? x2 : x1;
        s.x2 = pc == 1 ? x1 : x2;
        s.xnorm = larger(y.size(x1), y.size(x2));
        if (s.xnorm > 1 && cmax > 1 && s.xnorm > C::B / cmax) {
            const T factor = cmax / C::B;
            s.x1 = times(s.x1, factor);
            s.x2 = times(s.x2, factor);
            s.xnorm *= factor;
            s.scale *= factor;
        }
        shrink(s, norm, bignum);
        return s;
    }

    bool pairAt(int j) { return j >= 1 && j < n && std::fabs(H(j + 1, j)) > C::tiny; }

    void setLimits(T wr, T wi)
    {
        const T smlnum = C::tiny * T(n) / C::E;
        const T smin = larger(C::E * (std::fabs(wr) + std::fabs(wi)), smlnum);
        smini = larger(smin, C::twoTiny);
        bignum = C::numerator / smlnum;
    }

    void scaleVector(int first, int last, T scale)
    {
        if (!(std::fabs(scale - 1) > C::tiny)) return;
        for (int k = first; k <= last; ++k) {
            xr[std::size_t(k)] *= scale;
            xi[std::size_t(k)] *= scale;
        }
    }

    Number x(int k) const { return {xr[std::size_t(k)], xi[std::size_t(k)]}; }
    void put(int k, Number value)
    {
        xr[std::size_t(k)] = value.re;
        xi[std::size_t(k)] = value.im;
    }

    // The columns of `m` that belong to the components first .. last, added to those of the eigenvalue itself.
    void backTransform(Square<T>& m, int column, const Vector& part, int first, int last)
    {
        for (int r = 1; r <= n; ++r) {
            T sum = part[std::size_t(column)] * m(r, column);
            for (int k = first; k <= last; ++k)
                sum += m(r, k) * part[std::size_t(k)];
            m(r, column) = sum;
        }
    }

    void level(Square<T>& m, int j)
    {
        T emax = 0;
        for (int r = 1; r <= n; ++r)
            emax = larger(std::fabs(m(r, j)) + std::fabs(m(r, j + 1)), emax);
        for (int c = j; c <= j + 1; ++c)
            for (int r = 1; r <= n; ++r)
                m(r, c) *= 1 / emax;
    }

    // 0: done, 1: no real pivot, 2: no complex pivot
    int rightPass(Square<T>& m)
    {
        for (int ki = n; ki >= 1;) {
            const bool isPair = pairAt(ki - 1);
            const int first = isPair ? ki - 1 : ki;
            const T wr = H(ki, ki);
            const T wi = isPair ? std::sqrt(std::fabs(H(ki, ki - 1))) * std::sqrt(std::fabs(H(ki - 1, ki))) : T(0);
            setLimits(wr, wi);
            if (!isPair) {
                put(ki, {1, 0});
                for (int k = 1; k < ki; ++k)
                    put(k, {-H(k, ki), 0});
            } else {
                T re = 1, im = 1;
                if (std::fabs(H(ki - 1, ki)) > std::fabs(H(ki, ki - 1)))
                    im = wi / H(ki - 1, ki);
                else
                    re = -wi / H(ki, ki - 1);
                put(ki - 1, {re, 0});
                put(ki, {0, im});
                for (int k = 1; k <= ki - 2; ++k)
                    put(k, {-re * H(k, ki - 1), -im * H(k, ki)});
            }
            if (!solveUp(first - 1, ki, {wr, wi}, isPair)) return isPair ? 2 : 1;
            if (!isPair) {
                if (ki > 1) backTransform(m, ki, xr, 1, ki - 1);
            } else {
                backTransform(m, ki - 1, xr, 1, ki - 2);
                backTransform(m, ki, xi, 1, ki - 2);
                level(m, ki - 1);
            }
            ki = first - 1;
        }
        return 0;
    }

    bool solveUp(int j, int ki, Number shift, bool isComplex)
    {
        const System y{isComplex};
        while (j >= 1) {
            const int first = pairAt(j - 1) ? j - 1 : j;
            Solution s;
            if (first == j) {
                s = solveOne(y, minus({H(j, j), 0}, shift), x(j), norms[std::size_t(j)]);
            } else {
                const Number c[2][2] = {{minus({H(first, first), 0}, shift), {H(first, j), 0}},
                                        {{H(j, first), 0}, minus({H(j, j), 0}, shift)}};
                s = solveTwo(y, c, x(first), x(j), larger(norms[std::size_t(first)], norms[std::size_t(j)]));
                if (!s.hasPivot) return false;
            }
            scaleVector(1, ki, s.scale);
            put(first, s.x1);
            if (first < j) put(j, s.x2);
            for (int c = first; c <= j; ++c)
                for (int k = 1; k < first; ++k)
                    put(k, minus(x(k), times(x(c), H(k, c))));
            j = first - 1;
        }
        return true;
    }

    int leftPass(Square<T>& m)
    {
        for (int ki = 1; ki <= n;) {
            const bool isPair = pairAt(ki);
            const int last = isPair ? ki + 1 : ki;
            const T wr = H(ki, ki);
            const T wi = isPair ? std::sqrt(std::fabs(H(ki + 1, ki))) * std::sqrt(std::fabs(H(ki, ki + 1))) : T(0);
            setLimits(wr, wi);
            if (!isPair) {
                put(ki, {1, 0});
                for (int k = ki + 1; k <= n; ++k)
                    put(k, {-H(ki, k), 0});
            } else {
                T re = 1, im = 1;
                if (std::fabs(H(ki + 1, ki)) > std::fabs(H(ki, ki + 1)))
                    im = wi / H(ki + 1, ki);
                else
                    re = -wi / H(ki, ki + 1);
                put(ki, {re, 0});
                put(ki + 1, {0, im});
                for (int k = ki + 2; k <= n; ++k)
                    put(k, {-re * H(ki, k), -im * H(ki + 1, k)});
            }
            if (!solveDown(last + 1, ki, {wr, wi}, isPair)) return isPair ? 2 : 1;
            if (!isPair) {
                if (ki < n) backTransform(m, ki, xr, ki + 1, n);
            } else {
                backTransform(m, ki, xr, ki + 2, n);
                backTransform(m, ki + 1, xi, ki + 2, n);
                level(m, ki);
            }
            ki = last + 1;
        }
        return 0;
    }

    bool solveDown(int known, int ki, Number shift, bool isComplex)
    {
        const System y{isComplex};
        T vmax = 1, vcrit = bignum;
        for (int j = known; j <= n;) {
            if (vmax > vcrit) {
                scaleVector(ki, n, 1 / vmax);
                vmax = 1;
                vcrit = bignum;
            }
            const int last = pairAt(j) ? j + 1 : j;
            for (int c = j; c <= last; ++c)
                for (int k = known; k < j; ++k)
                    put(c, minus(x(c), times(x(k), H(k, c))));
            Solution s;
            if (last == j) {
                s = solveOne(y, minus({H(j, j), 0}, shift), x(j), norms[std::size_t(j)]);
            } else {
                const Number c[2][2] = {{minus({H(j, j), 0}, shift), {H(last, j), 0}},
                                        {{H(j, last), 0}, minus({H(last, last), 0}, shift)}};
                s = solveTwo(y, c, x(j), x(last), larger(norms[std::size_t(j)], norms[std::size_t(last)]));
                if (!s.hasPivot) return false;
            }
            scaleVector(ki, n, s.scale);
            put(j, s.x1);
            if (last > j) put(last, s.x2);
            vmax = larger(s.xnorm, vmax);
            vcrit = bignum / vmax;
            j = last + 1;
        }
        return true;
    }

    void normalise(Square<T>& m)
    {
        const auto squares = [&](int c) {
            T sum = 0;
            for (int r = 1; r <= n; ++r)
                sum += m(r, c) * m(r, c);
            return sum;
        };
        const auto multiply = [&](int c, T factor) {
            for (int r = 1; r <= n; ++r)
                m(r, c) *= factor;
        };
        for (int i = 1; i <= n; ++i) {
            if (std::fabs(answer.im[std::size_t(i)]) < C::tiny || i == n) {
                const T s = squares(i);
                if (s > C::tiny) multiply(i, T(1 / std::sqrt(double(s))));
                continue;
            }
            const T s = squares(i) + squares(i + 1);
            multiply(i, T(1 / std::sqrt(double(s))));
            multiply(i + 1, T(1 / std::sqrt(double(s))));
            int k = 1;
            const auto modulus = [&](int r) { return m(r, i) * m(r, i) + m(r, i + 1) * m(r, i + 1); };
            for (int r = 2; r <= n; ++r)
                if (modulus(r) > modulus(k)) k = r;
            const double re = m(k, i), im = m(k, i + 1);
            const T r = T(std::sqrt(re * re + im * im));
            T cosine = m(k, i) / r, sine = m(k, i + 1) / r;
            if (std::fabs(m(k, i)) > std::fabs(m(k, i + 1)) && cosine < 0) {
                cosine = -cosine;
                sine = -sine;
            }
            for (int row = 1; row <= n; ++row) {
                const T x = m(row, i), y = m(row, i + 1);
                m(row, i) = cosine * x + sine * y;
                m(row, i + 1) = cosine * y - sine * x;
            }
            ++i;
        }
    }

    void vectors(bool wantsRight, bool wantsLeft)
    {
        norms.assign(std::size_t(n) + 1, 0);
        for (int j = 1; j <= n; ++j)
            for (int i = 1; i < j; ++i)
                norms[std::size_t(j)] += std::fabs(H(i, j));
        xr.assign(std::size_t(n) + 1, 0);
        xi.assign(std::size_t(n) + 1, 0);
        answer.right = answer.left = Z;
        int failure = wantsRight ? rightPass(answer.right) : 0;
        if (failure == 0 && wantsLeft) failure = leftPass(answer.left);
        answer.endsCall = failure != 0;
        answer.status = failure == 2 ? StatusError : StatusOk;
        if (failure != 0) return;
        if (wantsRight) normalise(answer.right);
        if (wantsLeft) normalise(answer.left);
        answer.hasVectors = true;
    }

    int n;
    Family family;
    Square<T> H, Z;
    Vector tau, norms, xr, xi;
    T cs = 0, sn = 0, smini = 0, bignum = 0;
    Answer<T> answer;
};

// H(i, j) is element (j, i) of the source.
template <class T> Square<T> transposeOf(const Problem<T>& problem, int object, int n)
{
    Square<T> m(n);
    for (int r = 1; r <= n; ++r)
        for (int c = 1; c <= n; ++c)
            m(c, r) = problem.stored("src", object, r - 1, c - 1);
    return m;
}

template <class T>
void tell(Outcome<T>& outcome, int object, int n, Answer<T>& answer, std::string_view right, std::string_view left)
{
    for (int k = answer.written; k <= n; ++k) {
        outcome.exactly("pDstValuesRe", object, k - 1, answer.re[std::size_t(k)]);
        outcome.exactly("pDstValuesIm", object, k - 1, answer.im[std::size_t(k)]);
    }
    if (!answer.hasVectors) return;
    for (int r = 1; r <= n; ++r)
        for (int c = 1; c <= n; ++c) {
            if (!right.empty()) outcome.exactly(right, object, r - 1, c - 1, answer.right(r, c));
            if (!left.empty()) outcome.exactly(left, object, r - 1, c - 1, answer.left(r, c));
        }
}

// A slice ends at its first object that fails; of several slices that fail, any may give the status.
template <class T>
void solveAll(const Problem<T>& problem, Outcome<T>& outcome, Family family, std::string_view right,
              std::string_view left)
{
    const int n = problem.size("widthHeight");
    std::vector<tarnmStatus> failures;
    for (const Slice& slice : problem.slices())
        for (int object = slice.first; object < slice.first + slice.count; ++object) {
            Answer<T> answer =
                Object<T>(n, family).solve(transposeOf(problem, object, n), !right.empty(), !left.empty());
            tell(outcome, object, n, answer, right, left);
            if (answer.status != StatusOk) failures.push_back(answer.status);
            if (answer.endsCall) break;
        }
    if (failures.empty()) return;
    outcome.status = failures.front();
    for (const tarnmStatus other : failures)
        outcome.alsoAccept(other);
}

template <class T> void values(const Problem<T>& problem, Outcome<T>& outcome)
{
    solveAll(problem, outcome, Family::values, "", "");
}
template <class T> void rightVectors(const Problem<T>& problem, Outcome<T>& outcome)
{
    solveAll(problem, outcome, Family::vectors, "dst", "");
}
template <class T> void leftVectors(const Problem<T>& problem, Outcome<T>& outcome)
{
    solveAll(problem, outcome, Family::vectors, "", "dst");
}
template <class T> void bothVectors(const Problem<T>& problem, Outcome<T>& outcome)
{
    solveAll(problem, outcome, Family::vectors, "dstRight", "dstLeft");
}

// Sizes of scratch wrap around at 32 bits.
template <class T> void valuesSize(const Problem<T>& problem, Outcome<T>& outcome)
{
    const auto n = static_cast<std::uint32_t>(problem.size("widthHeight"));
    outcome.index("pSizeBytes", 0, 0, static_cast<std::int32_t>(n * std::uint32_t(sizeof(T)) * (n + 5)));
}
template <class T> void vectorsSize(const Problem<T>& problem, Outcome<T>& outcome)
{
    const auto n = static_cast<std::uint32_t>(problem.size("widthHeight"));
    outcome.index("pSizeBytes", 0, 0, static_cast<std::int32_t>(n * std::uint32_t(sizeof(T)) * (3 * n + 5)));
}

// Random objects in the first case, in the others matrices that are hard in one way or another.
void fill(Filler& filler)
{
    if (filler.caseNumber() == 0) return;
    const int n = filler.size("widthHeight");
    const auto kinds = test::hardMatrices();
    const auto& kind = kinds[std::size_t(filler.object() * (filler.caseNumber() + 1)) % kinds.size()];
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            filler.set("src", r, c, kind.element(n, r, c));
}

const Options options{.fill = fill};
const Registration registrations[] = {
    {"EigenValues", "", values<float>, values<double>, options},
    {"EigenValuesVectors", "", bothVectors<float>, bothVectors<double>, options},
    {"EigenValuesVectorsLeft", "", leftVectors<float>, leftVectors<double>, options},
    {"EigenValuesVectorsRight", "", rightVectors<float>, rightVectors<double>, options},
    {"EigenValuesGetBufSize", "", valuesSize<float>, valuesSize<double>},
    {"EigenValuesVectorsGetBufSize", "", vectorsSize<float>, vectorsSize<double>},
};

} // namespace
} // namespace tarnm::reference
