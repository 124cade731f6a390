#include "support/guarded_memory.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <map>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace tarnm::test {
namespace {

constexpr std::size_t surroundings = 256;

std::size_t pageSize()
{
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

std::byte* mapBetweenGuards(std::size_t bytes)
{
    const std::size_t page = pageSize();
    void* mapped = mmap(nullptr, bytes + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    auto* first = static_cast<std::byte*>(mapped) + page;
    if (mprotect(first, bytes, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    return first;
}

// Free mappings by size. Tests build their calls on one thread.
std::multimap<std::size_t, std::byte*>& freePages()
{
    static std::multimap<std::size_t, std::byte*> pages;
    return pages;
}

std::byte* takePages(std::size_t bytes)
{
    auto& pages = freePages();
    const auto found = pages.find(bytes);
    if (found == pages.end()) return mapBetweenGuards(bytes);
    std::byte* first = found->second;
    pages.erase(found);
    return first;
}

} // namespace

GuardedBlock::GuardedBlock(std::size_t size, Against against, std::size_t offset)
    : length(size)
{
    pageBytes = std::bit_ceil((size + offset + pageSize() - 1) / pageSize() + (size + offset == 0)) * pageSize();
    pages = takePages(pageBytes);
    first = against == Against::start ? pages + offset : pages + pageBytes - size - offset;
    watched = pages + std::max<std::ptrdiff_t>(0, first - pages - std::ptrdiff_t(surroundings));
    std::byte* const last = pages + std::min<std::size_t>(pageBytes, std::size_t(first - pages) + size + surroundings);
    watchedBytes = std::size_t(last - watched);
    std::memset(watched, int(canary), watchedBytes);
}

GuardedBlock::~GuardedBlock()
{
    if (pages != nullptr) freePages().emplace(pageBytes, pages);
}

GuardedBlock::GuardedBlock(GuardedBlock&& other) noexcept
    : pages(other.pages)
    , pageBytes(other.pageBytes)
    , first(other.first)
    , length(other.length)
    , watched(other.watched)
    , watchedBytes(other.watchedBytes)
    , copy(std::move(other.copy))
{
    other.pages = nullptr;
}

void GuardedBlock::remember() { copy.assign(watched, watched + watchedBytes); }

const std::byte* GuardedBlock::remembered(const void* address) const
{
    return copy.data() + (static_cast<const std::byte*>(address) - watched);
}

void GuardedBlock::accept(const void* address, std::size_t bytes)
{
    const std::ptrdiff_t at = static_cast<const std::byte*>(address) - watched;
    std::memcpy(copy.data() + at, watched + at, bytes);
}

const std::byte* GuardedBlock::firstDifference() const
{
    if (std::memcmp(copy.data(), watched, watchedBytes) == 0) return nullptr;
    return std::mismatch(watched, watched + watchedBytes, copy.data()).first;
}

} // namespace tarnm::test
