// Memory between inaccessible pages.
//
//   Against         which of the two pages the bytes lie flush against
//   GuardedBlock    bytes of an exact size; all around them up to the pages is canary
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarnm::test {

enum class Against { start, end };

inline constexpr std::byte canary{0xC7};

// A touch of the page next to the bytes is a segmentation fault; bytes on the other side are canaries. `offset` moves
// the first byte off the 32-byte boundary: exactly so against the start, as the size allows against the end (0 is
// flush in both). Mappings are kept and used again.
class GuardedBlock {
public:
    GuardedBlock(std::size_t size, Against against, std::size_t offset = 0);
    ~GuardedBlock();
    GuardedBlock(GuardedBlock&& other) noexcept;
    GuardedBlock& operator=(GuardedBlock&&) = delete;

    std::byte* begin() const { return first; }
    std::size_t size() const { return length; }

    // Keeps a copy of the block with its surroundings.
    void remember();
    // A byte of the copy, by its address in the block.
    const std::byte* remembered(const void* address) const;
    // Makes the copy like the block at `bytes` bytes, so that a difference there no longer counts.
    void accept(const void* address, std::size_t bytes);
    // The first byte that differs from the copy, or null.
    const std::byte* firstDifference() const;

private:
    std::byte* pages;
    std::size_t pageBytes;
    std::byte* first;
    std::size_t length;
    std::byte* watched; // the block and its nearer surroundings
    std::size_t watchedBytes;
    std::vector<std::byte> copy;
};

} // namespace tarnm::test
