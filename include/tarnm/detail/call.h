// From views to the call of a C function.
//
//   source, result      what an operation takes and what it may write to
//   numbers, indices    results that lie one behind the other in every layout
//   workspace           scratch that a caller keeps from call to call
//   detail::execute     the one way in which all operations check, call and report
//
// Behind its operands every operation takes options, in any order:
//   nothing                    a failure is thrown as tarnm::error
//   std::nothrow               the status is returned
//   a range of tarnm::status   every object is worked on, its status is stored; the number of failures is returned
//   tarnm::workspace           scratch beyond a small block on the stack comes from there
#ifndef TARNM_DETAIL_CALL_H
#define TARNM_DETAIL_CALL_H

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <tuple>
#include <utility>

#include "members.h"
#include "objects.h"

namespace tarnm {

template <class X>
concept source = detail::viewable<X>;

template <class X>
concept result =
    detail::viewable<X> && detail::lasting<X> && !std::is_const_v<typename detail::operand_type<X>::element_type>;

// Scratch that grows to what the calls need. Not for two calls at the same time.
class workspace {
public:
    void* reserve(std::size_t bytes)
    {
        if (bytes > size_) {
            block_ = std::make_unique_for_overwrite<std::byte[]>(bytes);
            size_ = bytes;
        }
        return block_.get();
    }

private:
    std::unique_ptr<std::byte[]> block_;
    std::size_t size_ = 0;
};

namespace detail {

// ---- options

template <class X>
concept statuses = std::convertible_to<X, std::span<tarnmStatus>>;

template <class X>
concept option = std::same_as<std::remove_cvref_t<X>, std::nothrow_t> ||
    std::same_as<std::remove_cvref_t<X>, workspace> || statuses<X>;

// Of the options of a call, as a tuple of references.
template <class Options> inline constexpr bool returns_status = false;
template <class... Options>
inline constexpr bool
    returns_status<std::tuple<Options...>> = (std::same_as<std::remove_cvref_t<Options>, std::nothrow_t> || ...);

template <class Options> inline constexpr bool reports_objects = false;
template <class... Options> inline constexpr bool reports_objects<std::tuple<Options...>> = (statuses<Options> || ...);

template <class... Options> std::span<tarnmStatus> statuses_of(Options&&... options)
{
    std::span<tarnmStatus> found;
    [[maybe_unused]] const auto take = [&](auto& option) {
        if constexpr (statuses<decltype(option)>) found = std::span<tarnmStatus>(option);
    };
    (take(options), ...);
    return found;
}

template <class... Options> workspace* workspace_of(Options&&... options)
{
    workspace* found = nullptr;
    [[maybe_unused]] const auto take = [&](auto& option) {
        if constexpr (std::same_as<std::remove_cvref_t<decltype(option)>, workspace>) found = &option;
    };
    (take(options), ...);
    return found;
}

// Scratch of one call: on the stack where it is small, from the caller's workspace, or from the heap.
class scratch {
public:
    template <class... Options> explicit scratch(std::size_t bytes, Options&... options)
    {
        if (bytes <= sizeof small_) return;
        workspace* const given = workspace_of(options...);
        if (given == nullptr) own_.reset(new std::byte[bytes]);
        place_ = given != nullptr ? given->reserve(bytes) : own_.get();
    }
    scratch(const scratch&) = delete;
    scratch& operator=(const scratch&) = delete;

    void* get() { return place_; }

private:
    alignas(32) std::byte small_[2048];
    std::unique_ptr<std::byte[]> own_;
    void* place_ = small_;
};

// ---- operands

// Results or pivots that stand one behind the other: so many for each object, in every layout. `shared` ones belong to a
// single matrix that serves all objects.
template <class T> struct run {
    T* data;
    std::ptrdiff_t each;
    std::size_t given;
    bool shared = false;

    using element_type = T;
    static constexpr bool is_array = true;

    std::tuple<T*> arguments() const { return {data}; }
    run objects(std::ptrdiff_t first, std::ptrdiff_t) const
    {
        return {shared ? data : data + first * each, each, given, shared};
    }
    problem blame(tarnmStatus status, const char* name) const
    {
        if (status == StatusNullPointer && data == nullptr) return {status, name, "data", 0};
        return {};
    }
    // What is wrong where this must serve so many objects.
    problem check(std::ptrdiff_t count, const char* name) const
    {
        if (given < static_cast<std::size_t>(each * (shared ? 1 : count)))
            return {StatusSizeMismatch, name, "size", static_cast<std::ptrdiff_t>(given)};
        return {};
    }
};

template <class R, class T>
concept run_of = contiguous<R> && lasting<R> && std::same_as<item<R>, T>;

template <class R>
concept index_range = contiguous<R> && std::same_as<std::remove_const_t<item<R>>, std::int32_t>;

template <class R> auto make_run(R& numbers, std::ptrdiff_t each, bool shared = false)
{
    return run<item<R>>{std::ranges::data(numbers), each, std::ranges::size(numbers), shared};
}

template <class V>
concept constant_operand = any_view<V> && std::remove_cvref_t<V>::kind == shape::constant;

template <class X>
concept vector_operand = source<X> && operand_type<X>::kind == shape::vector;

template <class X>
concept matrix_operand = source<X> && operand_type<X>::kind == shape::matrix;

template <class X>
concept vector_result = result<X> && operand_type<X>::kind == shape::vector;

template <class X>
concept matrix_result = result<X> && operand_type<X>::kind == shape::matrix && !operand_type<X>::is_transposed;

template <class X, class... Others>
concept same_element = (std::same_as<typename operand_type<X>::value_type, typename operand_type<Others>::value_type> &&
                        ...);

template <class V> consteval std::uint64_t letters()
{
    std::uint64_t letter = V::kind == shape::constant ? 'c'
                           : V::kind == shape::vector ? 'v'
                           : V::is_transposed         ? 't'
                                                      : 'm';
    return V::is_array ? letter << 8 | 'a' : letter;
}

// The operand code of views, by their letters.
template <class... Views> consteval std::uint64_t code_of()
{
    std::uint64_t number = 0;
    ((number = number << (Views::is_array ? 16 : 8) | letters<Views>()), ...);
    return number;
}

// One layout for a call: pointers per element for all, or lists for all arrays. Arrays of constants are strided beside
// pointers per element.
template <class... Views> consteval bool one_layout()
{
    const bool elements = ((Views::place == layout::elements) || ...);
    const bool lists = ((Views::place == layout::list) || ...);
    if (elements)
        return (
            (Views::place == layout::elements || (Views::kind == shape::constant && Views::place == layout::strided)) &&
            ...);
    return !lists || ((Views::place == layout::list || !Views::is_array) && ...);
}

template <class... Views> consteval layout layout_of()
{
    if (((Views::place == layout::elements) || ...)) return layout::elements;
    return ((Views::place == layout::list) || ...) ? layout::list : layout::strided;
}

template <operation Operation, std::uint64_t Code, layout Layout, class T>
inline constexpr bool exists =
    !std::same_as<std::remove_const_t<decltype(members<Operation, Code>::template function<T, Layout>())>,
                  std::nullptr_t>;

// Calls the member of the table with the arguments of all groups.
template <operation Operation, std::uint64_t Code, layout Layout, class T, class... Groups>
tarnmStatus invoke(const Groups&... groups)
{
    static_assert(exists<Operation, Code, Layout, T>, "the library has no such combination of operands");
    constexpr auto function = members<Operation, Code>::template function<T, Layout>();
    return std::apply(function, std::tuple_cat(groups...));
}

template <class... Numbers> constexpr auto numbers(Numbers... values)
{
    return std::tuple(static_cast<std::int32_t>(values)...);
}

// ---- shapes

template <class View> struct named {
    const char* name;
    const View& view;
};

// The first problem of several.
template <class... Problems> constexpr problem first_of(problem one, Problems... others)
{
    ((one = one ? one : static_cast<problem>(others)), ...);
    return one;
}

constexpr problem must_equal(std::ptrdiff_t value, std::ptrdiff_t wanted, const char* argument, const char* property)
{
    if (value != wanted) return {StatusSizeMismatch, argument, property, value};
    return {};
}

template <class View> constexpr problem must_be_square(const View& view, const char* name)
{
    return must_equal(view.columns(), view.rows(), name, "columns");
}

template <class View>
constexpr problem must_have(const View& view, std::ptrdiff_t rows, std::ptrdiff_t columns, const char* name)
{
    return first_of(must_equal(view.rows(), rows, name, "rows"),
                    must_equal(view.columns(), columns, name, View::kind == shape::vector ? "size" : "columns"));
}

// All arrays of a call have as many objects.
template <class View> constexpr problem must_count(const View& view, std::ptrdiff_t count, const char* name)
{
    if constexpr (requires { view.check(count, name); })
        return view.check(count, name);
    else if constexpr (View::is_array)
        return must_equal(view.count(), count, name, "count");
    else
        return {};
}

// ---- execution

constexpr std::ptrdiff_t count_of() { return 1; }

template <class View, class... Others> constexpr std::ptrdiff_t count_of(const View& view, const Others&... others)
{
    if constexpr (View::is_array && requires { view.count(); })
        return view.count();
    else
        return count_of(others...);
}

// The bytes between the lowest and the highest element of an operand.
struct byte_range {
    std::uintptr_t first = std::numeric_limits<std::uintptr_t>::max();
    std::uintptr_t last = 0;

    void include(const void* element, std::size_t size)
    {
        const auto at = reinterpret_cast<std::uintptr_t>(element);
        first = std::min(first, at);
        last = std::max(last, at + size - 1);
    }
    bool meets(const byte_range& other) const { return first <= other.last && other.first <= last; }
};

template <class View> byte_range bytes_of(const View& view)
{
    byte_range range;
    using T = typename View::value_type;
    const auto corners = [&](std::ptrdiff_t n) {
        if constexpr (View::place == layout::elements) {
            for (std::ptrdiff_t r = 0; r < view.rows(); ++r)
                for (std::ptrdiff_t c = 0; c < view.columns(); ++c)
                    range.include(view.address(n, r, c), sizeof(T));
        } else {
            range.include(view.address(n, 0, 0), sizeof(T));
            range.include(view.address(n, view.rows() - 1, view.columns() - 1), sizeof(T));
        }
    };
    const std::ptrdiff_t last = view.count() - 1;
    const std::ptrdiff_t step = View::place == layout::list || last < 1 ? 1 : last;
    for (std::ptrdiff_t n = 0; n <= last; n += step)
        corners(n);
    return range;
}

template <class T> byte_range bytes_of(const run<T>& numbers)
{
    byte_range range;
    if (numbers.given == 0) return range;
    range.include(numbers.data, sizeof(T));
    range.include(numbers.data + numbers.given - 1, sizeof(T));
    return range;
}

template <class View> constexpr bool is_written = !std::is_const_v<typename View::element_type>;

// Whether something that a call writes shares memory with its first operand: then no object may be done twice.
template <class Source, class... Others> bool in_place(const Source& source, const Others&... others)
{
    const byte_range read = bytes_of(source);
    return ((is_written<Others> && read.meets(bytes_of(others))) || ...);
}

// Objects of a failing call are looked for in blocks of this size, then one by one.
inline constexpr std::ptrdiff_t block = 64;

// Every object is worked on. A call that fails is continued behind the object that failed: blocks that go through stand,
// the others are done object by object. Results have the bits of the plain call.
template <class Call, class Source, class... Others>
std::ptrdiff_t each_object(std::span<tarnmStatus> report, std::ptrdiff_t count, const Call& call, const Source& source,
                           const Others&... others)
{
    const auto part = [&](std::ptrdiff_t first, std::ptrdiff_t number) {
        return call(source.objects(first, number), others.objects(first, number)...);
    };
    std::fill_n(report.begin(), count, StatusOk);
    const bool once = in_place(source, others...);
    if (!once) {
        const tarnmStatus whole = part(0, count);
        if (!is_numeric(whole)) return whole;
    }
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < count; first += block) {
        const std::ptrdiff_t end = std::min(first + block, count);
        if (!once && part(first, end - first) == StatusOk) continue;
        for (std::ptrdiff_t n = first; n < end; ++n) {
            report[n] = part(n, 1);
            if (report[n] != StatusOk && !is_numeric(report[n])) return report[n];
            failures += report[n] != StatusOk;
        }
    }
    return failures;
}

template <class Options> auto conclude(const char* function, const problem& found)
{
    if constexpr (returns_status<Options>) {
        if constexpr (reports_objects<Options>)
            return static_cast<std::ptrdiff_t>(found.status);
        else
            return found.status;
    } else {
        if (found) raise(function, found);
        if constexpr (reports_objects<Options>) return std::ptrdiff_t{0};
    }
}

// What an argument has to do with a status.
template <class... Named> [[gnu::cold]] problem blame(tarnmStatus status, const Named&... operands)
{
    problem found;
    if (!is_numeric(status)) ((found = found ? found : operands.view.blame(status, operands.name)), ...);
    return found ? found : problem{status};
}

// Checks the numbers of objects, calls, reports. `call` takes the operands, or a part of their objects, and gives a status.
// An array without objects is no failure: nothing is done.
template <class Options, class Call, class... Views>
TARNM_DETAIL_INLINE auto execute(const char* function, problem shapes, const Call& call, Options options,
                                 const named<Views>&... operands)
{
    const std::ptrdiff_t count = count_of(operands.view...);
    if (!shapes) shapes = first_of(problem{}, must_count(operands.view, count, operands.name)...);
    if (shapes) return conclude<Options>(function, shapes);
    if (count == 0) return conclude<Options>(function, {});
    if constexpr (reports_objects<Options>) {
        const std::span<tarnmStatus> report = std::apply([](auto&... o) { return statuses_of(o...); }, options);
        if (report.size() < static_cast<std::size_t>(count))
            return conclude<Options>(
                function, {StatusSizeMismatch, "statuses", "size", static_cast<std::ptrdiff_t>(report.size())});
        const std::ptrdiff_t failures = each_object(report, count, call, operands.view...);
        if (failures < 0) return conclude<Options>(function, blame(static_cast<tarnmStatus>(failures), operands...));
        return failures;
    } else {
        const tarnmStatus status = call(operands.view...);
        if (status != StatusOk) [[unlikely]]
            return conclude<Options>(function, blame(status, operands...));
        return conclude<Options>(function, {});
    }
}

// The number of objects as the last argument of an array call; nothing for a single object.
template <class... Views> constexpr auto count_argument(const Views&... views)
{
    if constexpr ((Views::is_array || ...))
        return numbers(count_of(views...));
    else
        return std::tuple<>();
}

} // namespace detail
} // namespace tarnm

#endif
