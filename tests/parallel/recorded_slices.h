// What the threads of a team were given, in the order of their objects.
#pragma once

#include <algorithm>
#include <mutex>
#include <vector>

#include "frame/operands.h"

namespace tarnm::test {

struct RecordedSlice {
    int first, count, total;
    void* scratch;

    bool operator==(const RecordedSlice&) const = default;
};

class RecordedSlices {
public:
    void add(Place place, void* scratch)
    {
        const std::lock_guard lock(mutex);
        slices.push_back({place.first, place.count, place.total, scratch});
    }

    std::vector<RecordedSlice> sorted()
    {
        std::ranges::sort(slices, {}, &RecordedSlice::first);
        return slices;
    }

    // First object and number of objects of each slice.
    std::vector<std::pair<int, int>> ranges()
    {
        std::vector<std::pair<int, int>> found;
        for (const RecordedSlice& slice : sorted())
            found.emplace_back(slice.first, slice.count);
        return found;
    }

private:
    std::mutex mutex;
    std::vector<RecordedSlice> slices;
};

} // namespace tarnm::test
