// Transposes of matrices.
//
//   transposeObjects    the kernel of all members
//
// Elements are moved as bit patterns. Source and result must not overlap. Square matrices of 3 to 6 rows have code of
// their own, and so have those of 16 rows without gaps; other dense ones go by blocks of rows and tiles of four columns,
// so that both sides are touched in runs.
#pragma once

#include "frame/blocks.h"
#include "frame/path.h"
#include "movement/copy.h"
#include "tarncore/tarncore.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace movement {

inline constexpr std::int32_t rowsOfBlock = 32;

template <int n, class S, class D> TARNM_INLINE void transposeSquare(const S& from, const D& to)
{
    using T = typename D::Element;
    if constexpr (n == tile && D::isDense && S::isDense)
        transposeTile<tile>(from, to, 0, 0);
    else
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c)
                copyElement<T>(to.address(c, r), from.address(r, c));
}

template <class S, class D> void transposeBlocked(const S& from, const D& to, std::int32_t width, std::int32_t height)
{
    using T = typename D::Element;
    constexpr int N = native_lane_count_v<T>;
    const std::ptrdiff_t wholeColumns = width - width % tile;
    for (std::ptrdiff_t begin = 0; begin < height; begin += rowsOfBlock) {
        const std::ptrdiff_t end = height - begin < rowsOfBlock ? height : begin + rowsOfBlock;
        const std::ptrdiff_t wholeRows = end - (end - begin) % tile;
        for (std::ptrdiff_t c = 0; c < wholeColumns; c += tile) {
            std::ptrdiff_t r = begin;
            for (; r + N <= wholeRows; r += N)
                transposeTile<N>(from, to, r, c);
            for (; r < wholeRows; r += tile)
                transposeTile<tile>(from, to, r, c);
        }
        for (std::ptrdiff_t c = 0; c < width; ++c)
            for (std::ptrdiff_t r = c < wholeColumns ? wholeRows : begin; r < end; ++r)
                copyElement<T>(to.address(c, r), from.address(r, c));
    }
}

template <class S, class D> void transposeObject(const S& from, const D& to, std::int32_t width, std::int32_t height)
{
    if constexpr (requires { requires S::isDense && D::isDense; })
        transposeBlocked(from, to, width, height);
    else
        copyObject(from, Transposed<D>{to}, height, width);
}

template <int n, class S, class D> void transposeSquares(const S& from, const D& to, Place place)
{
    if constexpr (isDenseArray<S> && isDenseArray<D>)
        if (isPacked(from, n, n) && isPacked(to, n, n))
            return transposePackedSquares<n>(from[place.first].base, to[place.first].base, place.count);
    for (std::ptrdiff_t i = place.first; i < std::ptrdiff_t(place.first) + place.count; ++i)
        if constexpr (requires { requires S::ObjectView::isDense && D::ObjectView::isDense; })
            transposeSquare<n>(from[i], to[i]);
        else {
            using T = typename D::ObjectView::Element;
            const auto source = from[i];
            const auto result = to[i];
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < n; ++c)
                    copyElement<T>(result.address(c, r), source.address(r, c));
        }
}

// Whether an array of singles is larger than three quarters of the cache. No path depends on it: arrays that are not
// in the cache and those that are go by the same blocks.
inline bool exceedsCache(std::int32_t width, std::int32_t height, std::int32_t count)
{
    const std::int64_t bytes = std::int64_t(8) * width * height * count;
    if (bytes <= 131072) return false;
    std::int32_t cache = 0;
    tarnGetMaxCacheSizeB(&cache);
    return cache != 0 && bytes > cache - cache / 4;
}

} // namespace movement

// `width` and `height` are those of the source.
template <Path path, class S, class D>
tarnmStatus transposeObjects(const S& from, const D& to, std::int32_t width, std::int32_t height, Place place)
{
    using namespace movement;
    if (width == height) switch (width) {
        case 3:
            transposeSquares<3>(from, to, place);
            return StatusOk;
        case 4:
            transposeSquares<4>(from, to, place);
            return StatusOk;
        case 5:
            transposeSquares<5>(from, to, place);
            return StatusOk;
        case 6:
            transposeSquares<6>(from, to, place);
            return StatusOk;
        }
    using T = typename D::ObjectView::Element;
    if constexpr (path == Path::dense && sizeof(T) == 4 && !D::isSingle)
        static_cast<void>(exceedsCache(width, height, place.total));
    if constexpr (isDenseArray<S> && isDenseArray<D>)
        if (width == 16 && height == 16 && isPacked(from, 16, 16) && isPacked(to, 16, 16)) {
            transposePackedSquares<16>(from[place.first].base, to[place.first].base, place.count);
            return StatusOk;
        }
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n) {
        if constexpr (isDenseArray<S> && isDenseArray<D>) {
            const std::ptrdiff_t bytes = std::ptrdiff_t(sizeof(T)) * width * height;
            fetchObject<false>(from[n + 1].base, bytes);
            fetchObject<true>(to[n + 1].base, bytes);
        }
        transposeObject(from[n], to[n], width, height);
    }
    return StatusOk;
}

} // namespace tarnm
