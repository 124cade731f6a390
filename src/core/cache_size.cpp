#include "cache_size.h"

#include <algorithm>
#include <fstream>
#include <limits>

#include <unistd.h>

namespace tarncore {
namespace {

int32_t clampToInt32(int64_t bytes)
{
    return static_cast<int32_t>(std::clamp<int64_t>(bytes, 0, std::numeric_limits<int32_t>::max()));
}

} // namespace

int32_t cacheSizeFromLibrary()
{
    int64_t largest = 0;
#ifdef _SC_LEVEL4_CACHE_SIZE
    for (int name : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL4_CACHE_SIZE})
        largest = std::max<int64_t>(largest, sysconf(name));
#endif
    return clampToInt32(largest);
}

int32_t cacheSizeFromKernel(const std::string& root)
{
    int64_t largest = 0;
    for (int index = 0;; ++index) {
        const std::string folder = root + "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(index);
        std::ifstream file(folder + "/size");
        if (!file) return clampToInt32(largest);
        int64_t size = 0;
        char unit = 0;
        file >> size >> unit; // as "32K"
        if (unit == 'K') size *= 1024;
        if (unit == 'M') size *= 1024 * 1024;
        largest = std::max(largest, size);
    }
}

} // namespace tarncore
