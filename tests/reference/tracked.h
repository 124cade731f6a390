// Numbers that know how far a computation in a narrower type may be from them: where the order of operations is open.
//
//   Tracked    a value in extended precision, and a bound on the error that rounding has brought to its counterpart
#pragma once

#include <cmath>
#include <limits>

namespace tarnm::reference {

// Of a computation in type T. A number that is not finite, or out of the range in which the counterpart surely is, has
// an infinite bound.
template <class T> class Tracked {
public:
    Tracked() = default;
    Tracked(T exact)
        : value(exact)
        , bound(std::isfinite(exact) ? 0 : infinity)
    {}
    Tracked(long double value, long double bound)
        : value(value)
        , bound(bound)
    {}

    // The slack covers other orders of the same operations.
    static constexpr long double slack = 8;

    long double value = 0, bound = 0;

    bool isKnown() const { return std::isfinite(bound) && std::isfinite(value); }
    long double magnitude() const { return std::fabs(value); }
    // Within the bound with its slack, no smaller and no greater than a limit.
    bool isSurelyAbove(long double limit) const { return isKnown() && magnitude() - slack * bound > limit; }
    bool isSurelyBelow(long double limit) const { return isKnown() && magnitude() + slack * bound < limit; }

    // 1/x with a relative error of `relative` where x lies between 2^-62 and 2^62.
    Tracked reciprocal(long double relative) const
    {
        const long double x = magnitude();
        if (!isKnown() || !(slack * bound < x / 2)) return {0, infinity};
        if (relative > 0 && !(x > 0x1p-62L && x < 0x1p62L)) return {0, infinity};
        return rounded(1 / value, 2 * bound / (x * x) + relative / x);
    }

    friend Tracked operator+(const Tracked& a, const Tracked& b)
    {
        return rounded(a.value + b.value, a.bound + b.bound);
    }
    friend Tracked operator-(const Tracked& a, const Tracked& b)
    {
        return rounded(a.value - b.value, a.bound + b.bound);
    }
    friend Tracked operator*(const Tracked& a, const Tracked& b)
    {
        if (!a.isKnown() || !b.isKnown()) return {0, infinity};
        return rounded(a.value * b.value, a.magnitude() * b.bound + b.magnitude() * a.bound + a.bound * b.bound);
    }

private:
    static constexpr long double infinity = std::numeric_limits<long double>::infinity();

    static Tracked rounded(long double value, long double error)
    {
        using limits = std::numeric_limits<T>;
        const long double size = std::fabs(value) + error;
        if (!(size < static_cast<long double>(limits::max()) / 1024)) return {0, infinity};
        return {value, error + size * limits::epsilon() / 2 + (value == 0 && error == 0 ? 0 : limits::denorm_min())};
    }
};

} // namespace tarnm::reference
