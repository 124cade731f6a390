// Blocks whose computation is cut in two, so that the second half of a block follows the first half of the next one.
//
//   forEachOverlappedBlockOf    as forEachBlockOf, for kernels in two steps
//
// Packed objects only: with strides that have to be asked for it gained little. The blocks of others go one by one.
//
// Where a kernel waits for a long operation between its operands and its results - a division, say - the instructions
// that wait fill the processor's window before those of the next block come into it. In this order they find what they
// need. The cut is best where few values are alive.
//
// A kernel in two steps has, beside the call that forEachBlock makes,
//
//     template <class V> struct State;                          // what the second step needs
//     mask_t<V> begin(const V (&a)[R][C], State<V>& state);     // lanes that failed
//     void finish(const State<V>& state, V (&x)[R][C]);
#pragma once

#include "frame/blocks.h"
#include "frame/fetch.h"

namespace tarnm {

namespace blocks {

inline constexpr int blocksAhead = 2;

template <bool forWriting, class PackedBlock>
TARNM_INLINE void fetchBlock(const PackedBlock& block, std::ptrdiff_t first)
{
    constexpr std::ptrdiff_t bytes = sizeof(block.elements);
    TARNM_UNROLL
    for (std::ptrdiff_t line = 0; line < bytes; line += lineBytes)
        fetchLine<forWriting>(moved(block.array[first].base, line));
}

// One of both, by measurement with 1000 and 100000 objects: 3x3 gains from its results, 4x4 from its sources.
template <class SourceBlock, class ResultBlock>
TARNM_INLINE void fetchSmallResultOrLargeSource(const SourceBlock& source, const ResultBlock& result,
                                                std::ptrdiff_t first)
{
    constexpr bool isLarge = sizeof(source.elements) >= 16 * lineBytes;
    if constexpr (isLarge)
        fetchBlock<false>(source, first);
    else
        fetchBlock<true>(result, first);
}

// Runs the whole blocks between `first` and `end` up to the first that fails, and returns where that or the rest begins.
template <class V, class Kernel, class Source, class Result>
[[gnu::noinline]] std::int32_t overlappedBlocks(std::int32_t first, std::int32_t end, const Kernel& kernel,
                                                const Source& from, const Result& to)
{
    Block<V, Source> source(from);
    Block<V, Result> result(to);
    constexpr int N = lane_count_v<V>;
    typename Kernel::template State<V> state;
    source.read(first, N);
    if (any(kernel.begin(source.argument(), state))) return first;
    bool isGood = true;
    for (; isGood && first + 2 * N <= end; first += N) {
        typename Kernel::template State<V> next;
        source.read(first + N, N);
        fetchSmallResultOrLargeSource(source, result, first + blocksAhead * N);
        isGood = !any(kernel.begin(source.argument(), next));
        kernel.finish(state, result.argument());
        result.write(first, N);
        state = next;
    }
    if (!isGood) return first;
    kernel.finish(state, result.argument());
    result.write(first, N);
    return first + N;
}

} // namespace blocks

// Runs `kernel` over the objects of `place` and returns how many of them were completed.
template <class V, class Kernel, class Source, class Result>
inline std::int32_t forEachOverlappedBlockOf(Place place, const Kernel& kernel, const Source& source,
                                             const Result& result)
{
    using namespace blocks;
    const std::int32_t end = place.first + place.count;
    std::int32_t reached = place.first;
    if constexpr (canBePacked<Source> && canBePacked<Result>)
        if (place.count >= lane_count_v<V> && isPackedOperand(source) && isPackedOperand(result))
            reached = overlappedBlocks<V>(place.first, end, kernel, packedOperand(source), packedOperand(result));
    if (reached == end) return place.count;
    return reached - place.first + forEachBlockOf<V>({reached, end - reached, place.total}, kernel, source, result);
}

} // namespace tarnm
