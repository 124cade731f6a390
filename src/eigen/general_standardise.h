// Standard form of 2x2 diagonal blocks: upper triangular, or with equal diagonal elements and a complex pair.
//
//   Block                   a b
//                           c d
//   standardiseForValues    the eigenvalues of a block
//   standardiseForVectors   the same with the rotation that leads to the standard form
//
// The two differ on purpose where b and c come out with one sign: for values alone the old half difference of the
// diagonal splits them, with vectors the roots of b and c. In both, a block with equal diagonal elements from the
// start counts as complex, also where its eigenvalues are real.
#pragma once

#include "eigen/general_reflector.h"

namespace tarnm::general {

template <class V> struct Block {
    V a, b, c, d;
};

template <class V> TARNM_INLINE Block<V> select(mask_t<V> m, const Block<V>& x, const Block<V>& y)
{
    return {select(m, x.a, y.a), select(m, x.b, y.b), select(m, x.c, y.c), select(m, x.d, y.d)};
}

template <class V> struct Rotation {
    V cs, sn;
};

template <class V> TARNM_INLINE mask_t<V> vanishes(V x)
{
    return abs(x) <= V(GeneralTolerance<scalar_t<V>>::safeMinimum);
}

template <class V> TARNM_INLINE mask_t<V> isFullBlock(const Block<V>& m)
{
    const V least(GeneralTolerance<scalar_t<V>>::safeMinimum);
    return abs(m.b) > least && abs(m.c) > least;
}

// One below 0, the other not.
template <class V> TARNM_INLINE mask_t<V> signsDiffer(V b, V c)
{
    return (b < V(0) && !(c < V(0))) || (!(b < V(0)) && c < V(0));
}

template <class V> TARNM_INLINE V rootOfProduct(V b, V c) { return sqrt(abs(c)) * sqrt(abs(b)); }

// The discriminant of a block, scaled.
template <class V> struct Discriminant {
    V p, larger, smaller, scale, z;
};

template <class V> TARNM_INLINE Discriminant<V> discriminantOf(const Block<V>& block)
{
    const V p = (block.a - block.d) * V(scalar_t<V>(0.5));
    const V b = abs(block.b), c = abs(block.c);
    const V larger = max(b, c);
    V smaller = min(b, c);
    smaller = select(signsDiffer(block.b, block.c), -smaller, smaller);
    const V scale = max(abs(p), larger);
    return {p, larger, smaller, scale, p * (p / scale) + smaller * (larger / scale)};
}

// p and the root of the discriminant, with the sign of p.
template <class V> TARNM_INLINE V largerRoot(const Discriminant<V>& q)
{
    const V root = sqrt(q.scale) * sqrt(q.z);
    return select(q.p > V(0), q.p + root, q.p - root);
}

// The rotation that makes the diagonal elements equal.
template <class V> TARNM_INLINE Rotation<V> equalisingRotation(const Block<V>& block, V p)
{
    const V sigma = block.b + block.c;
    const V tau = hypotenuse<V>(abs(sigma), abs(block.a - block.d));
    const V cs = inDouble(
        [](auto s, auto t) __attribute__((always_inline)) { return sqrt(0.5 * (1.0 + s / t)); }, V(abs(sigma)), tau);
    const V sn = -p / (tau * cs);
    return {cs, select(sigma < V(0), -sn, sn)};
}

template <class V> TARNM_INLINE Block<V> rotated(const Block<V>& m, const Rotation<V>& q)
{
    const V aa = m.a * q.cs + m.b * q.sn;
    const V bb = -m.a * q.sn + m.b * q.cs;
    const V cc = m.c * q.cs + m.d * q.sn;
    const V dd = -m.c * q.sn + m.d * q.cs;
    const V mean = ((aa + dd) * q.cs + (cc - bb) * q.sn) * V(scalar_t<V>(0.5));
    return {mean, bb * q.cs + dd * q.sn, cc * q.cs - aa * q.sn, mean};
}

// The eigenvalues are a and d, with imaginary parts `imaginary` and -`imaginary`.
template <class V> struct BlockValues {
    V a, d, imaginary;
};

template <class V> TARNM_INLINE BlockValues<V> standardiseForValues(const Block<V>& block)
{
    using T = scalar_t<V>;
    const mask_t<V> isTriangular = vanishes(block.c);
    const mask_t<V> isLower = !isTriangular && vanishes(block.b);
    const mask_t<V> isEqual = !isTriangular && !isLower && vanishes<V>(block.a - block.d);
    const mask_t<V> isOther = !(isTriangular || isLower || isEqual);
    BlockValues<V> result{select(isLower, block.d, block.a), select(isLower, block.a, block.d),
                          select(isEqual, rootOfProduct(block.b, block.c), V(0))};
    if (none(isOther)) return result;

    const Discriminant<V> q = discriminantOf(block);
    const mask_t<V> isReal = isOther && q.z >= V(GeneralTolerance<T>::realBlock);
    if (any(isReal)) {
        const V zz = largerRoot(q);
        result.a = select(isReal, block.d + zz, result.a);
        result.d = select(isReal, block.d - q.smaller * (q.larger / zz), result.d);
    }
    const mask_t<V> isRotated = isOther && !isReal;
    if (none(isRotated)) return result;

    const Block<V> equal = rotated(block, equalisingRotation(block, q.p));
    const mask_t<V> isFull = isFullBlock(equal);
    const mask_t<V> isPair = isFull && signsDiffer(equal.b, equal.c);
    const mask_t<V> isSplit = isFull && !isPair;
    const V apart = select(equal.b < V(0), -q.p, q.p);
    result.a = select(isRotated, select(isSplit, equal.a + apart, equal.a), result.a);
    result.d = select(isRotated, select(isSplit, equal.d - apart, equal.d), result.d);
    result.imaginary = select(isRotated && isPair, rootOfProduct(equal.b, equal.c), result.imaginary);
    return result;
}

template <class V> struct StandardBlock {
    Block<V> block;
    V imaginary;
};

// Both eigenvalues real and distinct: the rotation to triangular form.
template <class V>
TARNM_INLINE Block<V> splitReal(const Block<V>& block, const Discriminant<V>& q, Rotation<V>& rotation)
{
    const V zz = largerRoot(q);
    const V tau = hypotenuse<V>(abs(block.c), abs(zz));
    rotation = {zz / tau, block.c / tau};
    return {block.d + zz, block.b - block.c, V(0), block.d - (q.larger / zz) * q.smaller};
}

// A block with equal diagonal elements whose b and c have one sign. Both new components are built from the same two
// products.
template <class V> TARNM_INLINE Block<V> splitBySign(const Block<V>& m, Rotation<V>& rotation)
{
    const V rootB = sqrt(abs(m.b)), rootC = sqrt(abs(m.c));
    const V product = rootB * rootC;
    const V p = select(m.c < V(0), -product, product);
    const V rec = inDouble(
        [](auto b, auto c) __attribute__((always_inline)) { return 1.0 / sqrt(abs(b + c)); }, m.b, m.c);
    const V x = rootB * rotation.cs, y = rootC * rotation.sn;
    rotation = {rec * (x - y), rec * (x + y)};
    return {m.a + p, m.b - m.c, V(0), m.d - p};
}

template <class V> TARNM_INLINE Rotation<V> select(mask_t<V> m, const Rotation<V>& x, const Rotation<V>& y)
{
    return {select(m, x.cs, y.cs), select(m, x.sn, y.sn)};
}

// `kept` is the rotation of the block before, which serves again where the diagonal elements are equal and b and c have
// one sign.
template <class V> TARNM_INLINE StandardBlock<V> standardiseForVectors(const Block<V>& block, Rotation<V>& kept)
{
    using T = scalar_t<V>;
    const Rotation<V> identity{V(1), V(0)}, exchange{V(0), V(1)};
    const mask_t<V> isTriangular = vanishes(block.c);
    const mask_t<V> isLower = !isTriangular && vanishes(block.b);
    const mask_t<V> isEqual = !isTriangular && !isLower && vanishes<V>(block.a - block.d);
    const mask_t<V> isOther = !(isTriangular || isLower || isEqual);
    kept = select(isTriangular || (isEqual && signsDiffer(block.b, block.c)), identity, kept);
    kept = select(isLower, exchange, kept);
    Block<V> result = select(isLower, Block<V>{block.d, -block.c, V(0), block.a}, block);

    if (any(isOther)) {
        const Discriminant<V> q = discriminantOf(block);
        const mask_t<V> isReal = isOther && q.z >= V(GeneralTolerance<T>::realBlock);
        if (any(isReal)) {
            Rotation<V> rotation;
            result = select(isReal, splitReal(block, q, rotation), result);
            kept = select(isReal, rotation, kept);
        }
        const mask_t<V> isRotated = isOther && !isReal;
        if (any(isRotated)) {
            const Rotation<V> rotation = equalisingRotation(block, q.p);
            const Block<V> equal = rotated(block, rotation);
            const mask_t<V> isHalf = !isFullBlock(equal);
            const mask_t<V> isSplit = !isHalf && !signsDiffer(equal.b, equal.c);
            Rotation<V> split = rotation;
            const Block<V> apart = splitBySign(equal, split);
            const Block<V> turned{equal.a, -equal.c, V(0), equal.d};
            kept =
                select(isRotated,
                       select(isHalf, Rotation<V>{-rotation.sn, rotation.cs}, select(isSplit, split, rotation)), kept);
            result = select(isRotated, select(isHalf, turned, select(isSplit, apart, equal)), result);
        }
    }
    return {result, select(vanishes(result.c), V(0), rootOfProduct(result.b, result.c))};
}

} // namespace tarnm::general
