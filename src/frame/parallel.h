// Threads over the objects of one call.
//
//   Merge              whether the slices can fail
//   SliceFunction      a reference to what runs on a slice
//   forkOverObjects    a call spread over threads where that is allowed
//   forkOverThreads    the one parallel region of the library
#pragma once

#include <cstdint>
#include <type_traits>

#include "frame/operands.h"
#include "tarncore/tarncore.h"
#include "tarnm/tarnm.h"

namespace tarnm {

enum class Merge {
    none,         // slices cannot fail: the call returns StatusOk
    firstFailure, // the first failing slice to arrive gives the status; the others run to their end
};

// Refers to a callable of (Place, scratch) without owning it, so that the region is compiled once.
class SliceFunction {
public:
    template <class Callable>
    SliceFunction(const Callable& callable)
        : object(&callable)
        , invoke([](const void* o, Place place, void* scratch) {
            return (*static_cast<const Callable*>(o))(place, scratch);
        })
    {}

    tarnmStatus operator()(Place place, void* scratch) const { return invoke(object, place, scratch); }

private:
    const void* object;
    tarnmStatus (*invoke)(const void*, Place, void*);
};

// The region for a team of `threads`, at least 2 and not more than there are objects.
tarnmStatus forkOverThreads(std::int32_t threads, std::int32_t count, Merge merge, std::uint64_t scratchPerThread,
                            void* serialScratch, SliceFunction slice);

// Runs `slice` on `count` objects, spread evenly over as many threads as ownGetNumThreads allows.
//
// With one thread, or with fewer objects than threads, `slice` runs once on the calling thread, for all objects and
// with `serialScratch`. Otherwise each thread gets `scratchPerThread` bytes of one block that lives for the call;
// where that block cannot be had the call falls back to the calling thread. The first objects % threads slices are
// one object longer than the others.
//
// A slice that holds its arguments by value keeps them in registers on the calling thread.
template <class Slice>
tarnmStatus forkOverObjects(std::int32_t count, Merge merge, std::uint64_t scratchPerThread, void* serialScratch,
                            const Slice& slice)
{
    const std::int32_t threads = ownGetNumThreads();
    if (threads <= 1 || count < threads) return slice(Place::whole(count), serialScratch);
    return forkOverThreads(threads, count, merge, scratchPerThread, serialScratch, slice);
}

// What thread number `thread` of a team works on.
Place sliceOf(std::int32_t count, std::int32_t teamSize, std::int32_t thread);

} // namespace tarnm
