// What a failing call tells.
//
//   status_name      the name of a status
//   status_text      what a status means
//   error            the exception: function, argument, value, status
//   detail::problem  the same before it is known whether the caller wants an exception or a status
#ifndef TARNM_DETAIL_ERROR_H
#define TARNM_DETAIL_ERROR_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "../tarnm.h"

namespace tarnm {

using status = tarnmStatus;

namespace detail {

struct status_words {
    const char* name;
    const char* text;
};

constexpr status_words words_of(status value)
{
    switch (value) {
    case StatusOk:
        return {"StatusOk", "the operation ran to its end"};
    case StatusError:
        return {"StatusError", "an inner system of equations had no usable pivot"};
    case StatusBadSize:
        return {"StatusBadSize", "a size is below 1 or too large"};
    case StatusNullPointer:
        return {"StatusNullPointer", "a pointer is null"};
    case StatusDivByZero:
        return {"StatusDivByZero", "a divisor is zero within the tolerance"};
    case StatusNotPositiveDefinite:
        return {"StatusNotPositiveDefinite", "a matrix is not positive definite"};
    case StatusBadStride:
        return {"StatusBadStride", "a stride is below 1 or not a multiple of the element size"};
    case StatusSingular:
        return {"StatusSingular", "a matrix is singular within the tolerance"};
    case StatusBadRoiShift:
        return {"StatusBadRoiShift", "a shift is negative or not a multiple of the element size"};
    case StatusBadCount:
        return {"StatusBadCount", "a number of objects is below 1"};
    case StatusSizeMismatch:
        return {"StatusSizeMismatch", "two sizes that must agree do not"};
    case StatusNotConverged:
        return {"StatusNotConverged", "an iteration reached its limit"};
    default:
        return {"unknown status", "unknown status"};
    }
}

// A failure that lies in the data of an object. All others lie in the arguments.
constexpr bool is_numeric(status value)
{
    return value == StatusError || value == StatusDivByZero || value == StatusNotPositiveDefinite ||
           value == StatusSingular || value == StatusNotConverged;
}

// status is StatusOk where there is no problem. The argument is empty where no single one is to blame.
struct problem {
    tarnmStatus status = StatusOk;
    const char* argument = "";
    const char* property = "";
    std::ptrdiff_t value = 0;

    constexpr explicit operator bool() const { return status != StatusOk; }
};

inline std::string argument_of(const problem& found)
{
    std::string text = found.argument;
    if (*found.property != 0) text += (text.empty() ? "" : ".") + std::string(found.property);
    return text;
}

inline std::string message(const char* function, const problem& found)
{
    const status_words words = words_of(found.status);
    std::string text = std::string("tarnm::") + function + ": " + words.text;
    if (const std::string argument = argument_of(found); !argument.empty())
        text += ": " + argument + " = " + std::to_string(found.value);
    return text + " (" + words.name + ")";
}

} // namespace detail

constexpr const char* status_name(status value) { return detail::words_of(value).name; }
constexpr const char* status_text(status value) { return detail::words_of(value).text; }

class error : public std::runtime_error {
public:
    error(const char* function, const detail::problem& found)
        : std::runtime_error(detail::message(function, found))
        , function_(function)
        , argument_(detail::argument_of(found))
        , value_(found.value)
        , status_(found.status)
    {}

    // The operation, without its namespace: "invert".
    const char* function() const noexcept { return function_; }
    // The argument and its property, "a.row_stride"; empty where the failure lies in the data.
    const std::string& argument() const noexcept { return argument_; }
    // What the argument was.
    std::ptrdiff_t value() const noexcept { return value_; }
    tarnm::status status() const noexcept { return status_; }

private:
    const char* function_;
    std::string argument_;
    std::ptrdiff_t value_;
    tarnm::status status_;
};

namespace detail {

// Kept out of line, so that a call of the library stays small where it is inlined.
[[noreturn]] [[gnu::cold]] [[gnu::noinline]] inline void raise(const char* function, const problem& found)
{
    throw error(function, found);
}

} // namespace detail
} // namespace tarnm

#endif
