// Calls of the Cholesky and QR families in every layout, with elements as doubles whatever the member's type.
//
//   membersOf         the members of an operation
//   Elements          a Call with its elements by name, object, row and column
//   stylesOf          one style on all operands that can have it
//   shareMemory       makes a result the memory of a source
//   SparseMemory      pages that are all missing until some are opened
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "support/call.h"
#include "support/thread_count.h"

namespace tarnm::test {

inline std::vector<const Member*> membersOf(std::string_view operation)
{
    std::vector<const Member*> found;
    for (const Member& member : members())
        if (member.operation == operation) found.push_back(&member);
    return found;
}

inline bool isArrayMember(const Member& member) { return member.code.find('a') != std::string_view::npos; }

inline double epsilonOf(const Member& member) { return member.type == Type::f32 ? 0x1p-23 : 0x1p-52; }

// The nearest number of the member's type.
inline double rounded(const Member& member, double value)
{
    return member.type == Type::f32 ? double(float(value)) : value;
}

class Elements {
public:
    Elements(const Member& member, const Setup& setup)
        : call(member, setup)
    {}

    double get(std::string_view operand, int n, int r, int c) const
    {
        const int index = call.operandIndex(operand);
        return call.member().type == Type::f32 ? double(call.read<float>(index, n, r, c))
                                               : call.read<double>(index, n, r, c);
    }
    double get(std::string_view operand, int n, int k) const { return get(operand, n, 0, k); }

    void set(std::string_view operand, int n, int r, int c, double value)
    {
        const int index = call.operandIndex(operand);
        if (call.member().type == Type::f32)
            call.write(index, n, r, c, float(value));
        else
            call.write(index, n, r, c, value);
    }
    void set(std::string_view operand, int n, int k, double value) { set(operand, n, 0, k, value); }

    void accept(std::string_view operand, int n, int r, int c) { call.accept(call.operandIndex(operand), n, r, c); }

    tarnmStatus run(int threads = 1)
    {
        call.remember();
        answerThreadCount({threads});
        return call();
    }

    Call call;
};

// Operands in tables of elements stand in planes where `style` is one for strides, and the other way round.
inline std::vector<Style> stylesOf(const Member& member, Style style)
{
    std::vector<Style> styles;
    for (const Operand& operand : member.operands())
        styles.push_back(suits(operand, style) ? style : suits(operand, Style::packed) ? Style::packed : Style::planes);
    return styles;
}

// Two styles for each kernel of a member.
inline std::vector<Style> stylesToTry(const Member& member)
{
    if (member.layout == "P") return {Style::planes, Style::scattered};
    return {Style::packed, Style::padded, Style::strided, Style::interleavedObjects};
}

inline void shareMemory(Call& call, std::string_view result, std::string_view source)
{
    const auto arguments = call.member().arguments();
    const int to = call.operandIndex(result), from = call.operandIndex(source);
    for (int i = 0; i < int(arguments.size()); ++i)
        for (int k = 0; k < int(arguments.size()); ++k)
            if (arguments[i].operand == to && arguments[k].operand == from && arguments[i].kind == arguments[k].kind)
                call.value(i) = call.value(k);
}

class SparseMemory {
public:
    explicit SparseMemory(std::size_t bytes)
        : size(bytes)
        , start(static_cast<std::byte*>(mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {}
    ~SparseMemory() { munmap(start, size); }
    SparseMemory(const SparseMemory&) = delete;
    SparseMemory& operator=(const SparseMemory&) = delete;

    static std::ptrdiff_t pageBytes() { return sysconf(_SC_PAGESIZE); }

    std::byte* base() const { return start; }
    // The pages of an element exist from now on.
    void open(std::byte* element, std::size_t bytes)
    {
        const std::ptrdiff_t first = (element - start) / pageBytes(),
                             last = (element + bytes - 1 - start) / pageBytes();
        mprotect(start + first * pageBytes(), std::size_t((last - first + 1) * pageBytes()), PROT_READ | PROT_WRITE);
    }

private:
    std::size_t size;
    std::byte* start;
};

} // namespace tarnm::test
