// What the file of a family sees: how a row names its operands, our call and the peers.
//
//   MEMBER(T, name), LAYOUT_MEMBER(T, name, layout)
//                      the member name_32f or name_64f by the element type T, or that with the layout behind it
//   Row                one row: operands made by the harness, contenders as small lambdas
//   Rows               the rows of all families
//
// A row is prepared anew for each count and number of threads:
//
//   rows.add("add_vava/3/32f", [](Row& row) {
//       const float* a = row.source<float>(3);
//       float* d = row.result<float>(3);
//       row.ours(MEMBER(float, tarnmAdd_vava), [=](auto add, int count) { return add(a, 12, 4, ..., 3, count); });
//       row.peer("plain", [=](int first, int last) { for (int i = 3 * first; i < 3 * last; ++i) d[i] = ...; });
//   });
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <vector>

#include <omp.h>

#include "harness/library.h"
#include "harness/memory.h"
#include "tarnm/tarnm.h"

namespace bench {

// A value or all memory of which the compiler knows nothing any more.
template <class T> inline T opaque(T value)
{
    asm volatile("" : "+r"(value));
    return value;
}
inline void clobberMemory() { asm volatile("" ::: "memory"); }

template <class Function> struct Member {
    std::string symbol;
};

#define MEMBER(T, name)                                                                                                \
    ::bench::Member<std::conditional_t<std::is_same_v<T, float>, decltype(&name##_32f), decltype(&name##_64f)>>        \
    {                                                                                                                  \
        std::is_same_v<T, float> ? #name "_32f" : #name "_64f"                                                         \
    }
#define LAYOUT_MEMBER(T, name, layout)                                                                                 \
    ::bench::Member<                                                                                                   \
        std::conditional_t<std::is_same_v<T, float>, decltype(&name##_32f_##layout), decltype(&name##_64f_##layout)>>  \
    {                                                                                                                  \
        std::is_same_v<T, float> ? #name "_32f_" #layout : #name "_64f_" #layout                                       \
    }

enum class Role {
    ours,  // a build of libtarnm
    peer,  // what a user would pick instead: its results must agree with ours
    floor, // what any contender has to pay: leaves no results and is not ranked
};

struct Contender {
    std::string name;
    Role role;
    std::function<tarnmStatus()> once;
    std::function<void(std::int64_t calls)> batch;
    std::function<void()> convert; // fills what is compared, where that is not what `once` leaves; may be empty
};

// Elements of a result, to be compared between contenders: object by object, `size` elements each.
struct Result {
    void* base;
    int size;
    bool isDouble;
};

class Row {
public:
    using Convert = std::function<void()>;

    Row(Memory& memory, const std::vector<Library>& libraries, int count, int threads)
        : count(count)
        , threads(threads)
        , memory(memory)
        , libraries(libraries)
    {}

    const int count;
    const int threads;

    // `count` objects of `size` elements, packed: values of either sign between 0.5 and 2.
    template <class T> const T* source(int size) { return filled<T>(std::size_t(size) * count); }
    // One such object for all.
    template <class T> const T* one(int size) { return filled<T>(size); }
    // `count` objects to be written.
    template <class T> T* result(int size);
    // `count` objects that are compared in place of all results, for contenders that store the same thing in ways of
    // their own. Each contender fills them from its results by the `convert` behind its call, which is not timed.
    template <class T> T* comparable(int size);

    // Arithmetic per object.
    void flops(double perObject) { flopsPerObject = perObject; }
    // How far results may lie apart, relative to the largest element of their object; by default 32 roundings.
    void tolerance(double relative) { relativeTolerance = relative; }

    // The member in one of the builds, for operands that it must take.
    template <class Function> Function chooser(const Member<Function>& member) const
    {
        return libraries.front().function<Function>(member.symbol);
    }
    // `call(function, count)` returns the member's status.
    template <class Function, class Call>
    void ours(const Member<Function>& member, Call call, const Convert& convert = nullptr);
    // Two members one after the other: `call(first, second, count)` returns a status.
    template <class First, class Second, class Call>
    void ours(const Member<First>& first, const Member<Second>& second, Call call);
    // `call(first, last)` works on a range of objects, so that the harness can share them among threads.
    template <class Call> void peer(const std::string& name, Call call, const Convert& convert = nullptr)
    {
        add(name, Role::peer, call, convert);
    }
    template <class Call> void floor(const std::string& name, Call call) { add(name, Role::floor, call, nullptr); }

    // What contenders leave for each other to be compared with.
    const std::vector<Result>& compared() const { return comparables.empty() ? results : comparables; }

    std::vector<Contender> contenders;
    std::vector<Result> results, comparables;
    double bytesRead = 0, bytesWritten = 0; // of one call, one-for-all operands left out
    double flopsPerObject = 0;
    double relativeTolerance = 0;
    bool isDouble = false;

private:
    template <class T> const T* filled(std::size_t elements);
    template <class Call> void add(const std::string& name, Role role, Call call, const Convert& convert);
    template <class Call> void addOurs(const Library& library, Call call, const Convert& convert);
    void fill(float* values, std::size_t n);
    void fill(double* values, std::size_t n);

    Memory& memory;
    const std::vector<Library>& libraries;
    std::uint32_t seed = 1;
};

class Rows {
public:
    using Prepare = std::function<void(Row&)>;
    struct Plan {
        std::string name;
        int count;
        int threads;
        Prepare prepare;
    };

    // NAME/1, NAME/1000, NAME/100000 with one thread and NAME/100000/2t with two.
    void add(const std::string& name, const Prepare& prepare);
    // NAME/COUNT for some counts, with one thread.
    void add(const std::string& name, std::initializer_list<int> counts, const Prepare& prepare);
    // One row alone.
    void add(const std::string& name, int count, int threads, const Prepare& prepare);

    const std::vector<Plan>& all() const { return plans; }

private:
    std::vector<Plan> plans;
};

// "32f" or "64f".
template <class T> constexpr const char* typeName() { return std::is_same_v<T, float> ? "32f" : "64f"; }

// ---- definitions

template <class T> T* Row::result(int size)
{
    const std::size_t bytes = std::size_t(size) * count * sizeof(T);
    T* const base = static_cast<T*>(memory.take(bytes));
    results.push_back({base, size, std::is_same_v<T, double>});
    bytesWritten += double(bytes);
    return base;
}

template <class T> T* Row::comparable(int size)
{
    T* const base = static_cast<T*>(memory.take(std::size_t(size) * count * sizeof(T)));
    comparables.push_back({base, size, std::is_same_v<T, double>});
    return base;
}

template <class T> const T* Row::filled(std::size_t elements)
{
    T* const base = static_cast<T*>(memory.take(elements * sizeof(T)));
    fill(base, elements);
    isDouble = std::is_same_v<T, double>;
    if (elements % count == 0) bytesRead += double(elements) * sizeof(T);
    return base;
}

template <class Function, class Call> void Row::ours(const Member<Function>& member, Call call, const Convert& convert)
{
    for (const Library& library : libraries) {
        const auto function = library.function<Function>(member.symbol);
        addOurs(
            library, [=](int objects) { return call(function, objects); }, convert);
    }
}

template <class First, class Second, class Call>
void Row::ours(const Member<First>& first, const Member<Second>& second, Call call)
{
    for (const Library& library : libraries) {
        const auto one = library.function<First>(first.symbol);
        const auto other = library.function<Second>(second.symbol);
        addOurs(
            library, [=](int objects) { return call(one, other, objects); }, nullptr);
    }
}

template <class Call> void Row::addOurs(const Library& library, Call call, const Convert& convert)
{
    const auto batch = [=, count = count](std::int64_t calls) {
        for (; calls > 0; --calls) {
            call(opaque(count));
            clobberMemory();
        }
    };
    contenders.push_back({library.name(), Role::ours, [=, count = count] { return call(count); }, batch, convert});
}

template <class Call> void Row::add(const std::string& name, Role role, Call call, const Convert& convert)
{
    const auto batch = [call, count = count, threads = threads](std::int64_t calls) {
        for (; calls > 0; --calls) {
            if (threads == 1) {
                call(0, opaque(count));
            } else {
#pragma omp parallel num_threads(threads)
                {
                    const std::int64_t thread = omp_get_thread_num(), team = omp_get_num_threads();
                    call(int(count * thread / team), int(count * (thread + 1) / team));
                }
            }
            clobberMemory();
        }
    };
    contenders.push_back({name, role, [batch] { return batch(1), StatusOk; }, batch, convert});
}

} // namespace bench
