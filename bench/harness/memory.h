// Memory for the operands of a row.
//
//   Memory    one block on huge pages, from which operands are taken side by side
//
// Operands begin at a fixed distance from a cache line (0 unless asked otherwise) and at different places of a page:
// operands at equal places would make the processor take a load for one that follows from an earlier store.
#pragma once

#include <cstddef>
#include <vector>

namespace bench {

class Memory {
public:
    explicit Memory(std::size_t offset)
        : offset(offset)
    {}
    ~Memory();
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    // Holds at least `bytes` zero bytes, valid until clear().
    void* take(std::size_t bytes);
    void clear();

private:
    struct Block {
        char* base;
        std::size_t size;
    };
    std::size_t offset;
    std::vector<Block> blocks;
};

} // namespace bench
