// One call of a member, with all its arguments in guarded memory.
//
//   Setup   sizes, count, and how every operand lies in memory
//   Call    argument list, addresses of elements, and the memory as it was before the call
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "support/extent.h"
#include "support/guarded_memory.h"
#include "support/members.h"
#include "support/styles.h"

namespace tarnm::test {

struct Setup {
    Sizes sizes;
    int count = 1;
    std::vector<Style> styles; // one per operand; missing ones are packed
    Against against = Against::end;
    int offset = 0; // bytes off the 32-byte boundary (or the inaccessible page)
    bool roiShifts = true;

    std::string text() const;
};

int elementSizeOf(const Member& member);
// Whether the member can be called with objects in this style on this operand.
bool suits(const Operand& operand, Style style);

class Call {
public:
    Call(const Member& member, const Setup& setup);

    const Member& member() const { return called; }
    const Setup& setup() const { return chosen; }

    int operandIndex(std::string_view name) const; // by name of the operand; throws
    bool hasOperand(std::string_view name) const;
    int argumentIndex(std::string_view name) const; // throws

    // Stored rows and columns of one object; plain pointers have one row.
    int rows(int operand) const { return places[operand].rows; }
    int columns(int operand) const { return places[operand].columns; }
    int objects(int operand) const { return places[operand].objects; }
    std::byte* address(int operand, int n, int r, int c) const;

    Value& value(int argument) { return values[argument]; }
    const Value& value(int argument) const { return values[argument]; }

    // Every stride of elements in the list equals the element size, or there is none.
    bool isDense() const;

    template <class T> T read(int operand, int n, int r, int c) const
    {
        T value;
        std::memcpy(&value, address(operand, n, r, c), sizeof value);
        return value;
    }
    template <class T> void write(int operand, int n, int r, int c, T value)
    {
        std::memcpy(address(operand, n, r, c), &value, sizeof value);
    }

    // Keeps the memory as it is; to be called when all sources are filled.
    void remember();
    template <class T> T before(int operand, int n, int r, int c) const
    {
        T value;
        std::memcpy(&value, blocks[places[operand].block].remembered(address(operand, n, r, c)), sizeof value);
        return value;
    }
    // The element may have changed.
    void accept(int operand, int n, int r, int c);
    // The contents of scratch may have changed.
    void acceptScratch();
    // Says where the memory differs from what was kept and accepted; empty where it does not.
    std::string difference() const;

    tarnmStatus operator()() const { return called(values.data()); }

private:
    struct Place {
        int block = -1; // -1: passed by value
        int rows = 0, columns = 0, objects = 0;
        int elementBytes = 0;
        Strides strides{};
        std::vector<std::byte*> objectBases;  // lists of objects
        std::vector<std::byte*> elementBases; // tables of elements
        std::byte* base = nullptr;
        std::int32_t roiShift = 0;
        int tableBlock = -1;
    };

    void place(int operand);
    void placeStrided(Place& place, Style style);
    void placeList(Place& place, Style style);
    void placeTable(Place& place, Style style);
    void placeScratch(Place& place, std::int64_t bytes);
    void makeTable(Place& place, const std::vector<std::byte*>& bases);
    int addBlock(std::int64_t bytes, int offset);
    Value argumentValue(const Argument& argument) const;

    const Member& called;
    Setup chosen;
    std::vector<Place> places;
    std::vector<GuardedBlock> blocks;
    std::vector<Value> values;
};

} // namespace tarnm::test
