// The exported members as data: names, arguments, shapes of operands, and a way to call them.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tarnm/tarnm.h"

namespace tarnm::test {

enum class Type { f32, f64 };
enum class Direction { in, out, scratch };

// What an argument is. `scalars` are packed elements, `indices` 32-bit integers, `buffer` scratch bytes.
enum class Kind {
    pointer,
    table,
    objectStride,
    rowStride,
    elementStride,
    roiShift,
    value,
    size,
    count,
    buffer,
    indices,
    scalars
};

struct Argument {
    std::string_view name;
    Kind kind;
    int operand; // index into the member's operands, -1 for sizes, count and plain values
};

// `letter`: v vector, m matrix, t matrix read transposed, c constant; for plain pointers s elements, i 32-bit
// integers, b bytes. `layout`: S, L, P, or F for the fixed forms, whose elements always stand side by side. `rows` and
// `columns` are expressions in the sizes ("widthHeight * 3") and describe one object as it is stored; a vector has one
// row.
struct Operand {
    std::string_view name;
    char letter;
    bool isArray;
    Direction direction;
    char layout;
    std::string_view rows;
    std::string_view columns;
};

union Value {
    const void* pointer;
    std::int32_t integer;
    float single;
    double real;
};

template <class T> T valueAs(const Value& value)
{
    if constexpr (std::is_pointer_v<T>)
        return static_cast<T>(const_cast<void*>(value.pointer));
    else if constexpr (std::is_same_v<T, float>)
        return value.single;
    else if constexpr (std::is_same_v<T, double>)
        return value.real;
    else
        return value.integer;
}

using AnyFunction = void (*)();
using Invoker = tarnmStatus (*)(AnyFunction, const Value*);

template <class... Parameter, std::size_t... index>
tarnmStatus invokeWith(tarnmStatus (*function)(Parameter...), const Value* values, std::index_sequence<index...>)
{
    return function(valueAs<Parameter>(values[index])...);
}

template <class... Parameter> tarnmStatus invoke(AnyFunction function, const Value* values)
{
    return invokeWith(reinterpret_cast<tarnmStatus (*)(Parameter...)>(function), values,
                      std::index_sequence_for<Parameter...>{});
}

template <class... Parameter> constexpr Invoker invoker(tarnmStatus (*)(Parameter...)) { return invoke<Parameter...>; }
template <class... Parameter> AnyFunction functionOf(tarnmStatus (*function)(Parameter...))
{
    return reinterpret_cast<AnyFunction>(function);
}

struct Member {
    std::string_view name;
    std::string_view operation;
    std::string_view code;
    Type type;
    std::string_view layout; // S, L, P, or two letters for Copy; S for the geometry kit
    const Argument* argumentData;
    int argumentCount;
    const Operand* operandData;
    int operandCount;
    Invoker invoker;
    AnyFunction function;

    std::span<const Argument> arguments() const { return {argumentData, std::size_t(argumentCount)}; }
    std::span<const Operand> operands() const { return {operandData, std::size_t(operandCount)}; }
    tarnmStatus operator()(const Value* values) const { return invoker(function, values); }
};

std::span<const Member> members();

} // namespace tarnm::test
