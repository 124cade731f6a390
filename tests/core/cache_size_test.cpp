// The size of the largest cache: the export, and the description of the kernel that it falls back to.
#include "core/cache_size.h"

#include "temporary_tree.h"

#include <tarncore/tarncore.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

const std::string caches = "/sys/devices/system/cpu/cpu0/cache/";

TEST(MaxCacheSize, NullPointerIsRefused) { EXPECT_EQ(tarnGetMaxCacheSizeB(nullptr), -8); }

TEST(MaxCacheSize, TellsWhatLibraryOrKernelKnow)
{
    int32_t size = -1;
    EXPECT_EQ(tarnGetMaxCacheSizeB(&size), 0);
    const int32_t fromLibrary = tarncore::cacheSizeFromLibrary();
    EXPECT_EQ(size, fromLibrary > 0 ? fromLibrary : tarncore::cacheSizeFromKernel(""));
    EXPECT_GE(size, 0);
}

TEST(CacheSizeFromKernel, LargestOfAllLevels)
{
    TemporaryTree tree;
    tree.write(caches + "index0/size", "48K\n");
    tree.write(caches + "index1/size", "2048K\n");
    tree.write(caches + "index2/size", "64K\n");
    EXPECT_EQ(tarncore::cacheSizeFromKernel(tree.root()), 2048 * 1024);
}

TEST(CacheSizeFromKernel, Units)
{
    TemporaryTree tree;
    tree.write(caches + "index0/size", "8192\n");
    EXPECT_EQ(tarncore::cacheSizeFromKernel(tree.root()), 8192);
    tree.write(caches + "index1/size", "3M\n");
    EXPECT_EQ(tarncore::cacheSizeFromKernel(tree.root()), 3 * 1024 * 1024);
}

TEST(CacheSizeFromKernel, BeyondTheRangeOfTheResultIsItsMaximum)
{
    TemporaryTree tree;
    tree.write(caches + "index0/size", "4096M\n");
    EXPECT_EQ(tarncore::cacheSizeFromKernel(tree.root()), std::numeric_limits<int32_t>::max());
}

TEST(CacheSizeFromKernel, UnknownIsZero)
{
    TemporaryTree tree;
    EXPECT_EQ(tarncore::cacheSizeFromKernel(tree.root()), 0);
    tree.write(caches + "index0/size", "\n");
    EXPECT_EQ(tarncore::cacheSizeFromKernel(tree.root()), 0);
}

} // namespace
