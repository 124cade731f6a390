// What a call costs before it does anything.
//
//   entry     the tests of arguments and the choice of a path, on the smallest vector that has code of its own
//   region    the smallest array that is shared among threads
#include <dlfcn.h>
#include <stdexcept>

#include "rows/rows.h"

namespace bench {
namespace {

void entry(Row& row)
{
    const float* const a = row.source<float>(3);
    const float* const b = row.source<float>(3);
    float* const d = row.result<float>(3);
    const auto call = [=](auto add, int) { return add(a, 4, b, 4, d, 4, opaque(3)); };
    row.ours(MEMBER(float, tarnmAdd_vv), call);

    void* const plain = dlopen(BENCH_PLAIN_LIBRARY, RTLD_NOW);
    if (plain == nullptr) throw std::runtime_error(dlerror());
    const auto function = reinterpret_cast<decltype(&tarnmAdd_vv_32f)>(dlsym(plain, "plainAdd_vv_32f"));
    row.peer("plain C, shared library", [=](int, int) { call(function, 1); });
    row.floor("inlined", [=](int, int) {
        for (int k = 0; k < 3; ++k)
            d[k] = a[k] + b[k];
    });
}

void region(Row& row)
{
    const float* const a = row.source<float>(3);
    const float* const b = row.source<float>(3);
    float* const d = row.result<float>(3);
    row.ours(MEMBER(float, tarnmAdd_vava),
             [=](auto add, int count) { return add(a, 12, 4, b, 12, 4, d, 12, 4, 3, count); });
    row.peer("OpenMP loop", [=](int first, int last) {
        for (int i = 3 * first; i < 3 * last; ++i)
            d[i] = a[i] + b[i];
    });
    row.floor("empty region", [](int, int) {});
}

} // namespace

void frameRows(Rows& rows)
{
    rows.add("entry/add_vv/3/32f", {1}, entry);
    // 3 * 3 * 534 is the first measure of work above the threshold of 4800.
    rows.add("region/add_vava/3/32f/534/2t", 534, 2, region);
}

} // namespace bench
