#include "harness/memory.h"

#include <new>
#include <sys/mman.h>

namespace bench {

namespace {
constexpr std::size_t hugePage = std::size_t(2) << 20;
constexpr std::size_t stagger = 1344; // 21 cache lines: three operands, three far places of a page
} // namespace

Memory::~Memory() { clear(); }

void* Memory::take(std::size_t bytes)
{
    const std::size_t begin = (blocks.size() + 1) * stagger + offset;
    const std::size_t size = (begin + bytes + 2 * hugePage) / hugePage * hugePage;
    void* const base = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) throw std::bad_alloc();
    madvise(base, size, MADV_HUGEPAGE);
    blocks.push_back({static_cast<char*>(base), size});
    const std::size_t toHugePage = -reinterpret_cast<std::size_t>(base) % hugePage;
    return static_cast<char*>(base) + toHugePage + begin;
}

void Memory::clear()
{
    for (const Block& block : blocks)
        munmap(block.base, block.size);
    blocks.clear();
}

} // namespace bench
