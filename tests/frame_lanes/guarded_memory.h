// Memory between two inaccessible pages: a read or write outside ends the test program.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

enum class Flush { begin, end }; // which side touches the inaccessible page

class GuardedMemory {
public:
    // `slip` keeps that many bytes free at the flush side, to reach addresses of every alignment.
    explicit GuardedMemory(std::size_t size, Flush flush = Flush::end, std::size_t slip = 0)
        : size_(size)
    {
        const std::size_t page = std::size_t(sysconf(_SC_PAGESIZE));
        const std::size_t inner = (size + slip + page - 1) / page * page;
        mappedSize_ = inner + 2 * page;
        void* mapped = mmap(nullptr, mappedSize_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) std::abort();
        mapped_ = static_cast<unsigned char*>(mapped);
        if (mprotect(mapped_ + page, inner, PROT_READ | PROT_WRITE) != 0) std::abort();
        data_ = mapped_ + page + (flush == Flush::begin ? slip : inner - size - slip);
        std::memset(mapped_ + page, canary, inner);
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory() { munmap(mapped_, mappedSize_); }

    unsigned char* data() const { return data_; }
    std::size_t size() const { return size_; }
    std::vector<unsigned char> contents() const { return {data_, data_ + size_}; }

    static constexpr unsigned char canary = 0xA5;

private:
    std::size_t size_, mappedSize_ = 0;
    unsigned char* mapped_ = nullptr;
    unsigned char* data_ = nullptr;
};
