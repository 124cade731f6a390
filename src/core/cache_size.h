// The size of the processor's largest cache.
#pragma once

#include <cstdint>
#include <string>

namespace tarncore {

// From the C library; 0 where it does not know.
int32_t cacheSizeFromLibrary();

// From the kernel's description of the first processor, in bytes; 0 where there is none.
// root is put in front of every path read; it is empty but for tests.
int32_t cacheSizeFromKernel(const std::string& root);

} // namespace tarncore
