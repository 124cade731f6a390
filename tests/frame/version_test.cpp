// The version record.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

// The permissions of the mapping that holds an address, such as "r--p".
std::string permissionsAt(const void* address)
{
    std::ifstream maps("/proc/self/maps");
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0, last = 0;
        char permissions[5] = "";
        if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s", &first, &last, permissions) == 3 &&
            first <= wanted && wanted < last)
            return permissions;
    }
    return {};
}

TEST(Version, HasTheFieldsOfTheInterface)
{
    const LibraryVersion* version = tarnmGetLibVersion();
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version->major, 7);
    EXPECT_EQ(version->minor, 0);
    EXPECT_EQ(version->majorBuild, 205);
    EXPECT_EQ(version->build, 952);
    EXPECT_EQ(std::memcmp(version->targetCode, "g9\0\0", 4), 0);
    EXPECT_STREQ(version->name, "tarnmg9-7.0.dll");
    EXPECT_STREQ(version->version, "7.0 build 205.23");
    EXPECT_STREQ(version->buildDate, "Sep  2 2010");
}

TEST(Version, IsLaidOutWithoutSurprises)
{
    // Four integers and four characters, then three pointers at their own alignment.
    EXPECT_EQ(sizeof(LibraryVersion), sizeof(void*) == 8 ? 48u : 32u);
    EXPECT_EQ(offsetof(LibraryVersion, targetCode), 16u);
    EXPECT_EQ(offsetof(LibraryVersion, name), sizeof(void*) == 8 ? 24u : 20u);
}

TEST(Version, IsTheSameRecordWhateverWasCalledBefore)
{
    const LibraryVersion* first = tarnmGetLibVersion();
    const LibraryVersion copy = *first;
    float value = 1;
    EXPECT_EQ(tarnmAdd_vc_32f(&value, 4, 2, &value, 4, 1), StatusOk);
    EXPECT_EQ(tarnmAdd_vc_32f(nullptr, 4, 2, &value, 4, 1), StatusNullPointer);
    EXPECT_EQ(tarnmGetLibVersion(), first);
    EXPECT_EQ(std::memcmp(tarnmGetLibVersion(), &copy, sizeof copy), 0);
}

// The record holds addresses, which the loader fills in before it takes the right to write away.
TEST(Version, CannotBeWritten)
{
    const LibraryVersion* version = tarnmGetLibVersion();
    EXPECT_EQ(permissionsAt(version).substr(0, 2), "r-");
    EXPECT_EQ(permissionsAt(version->name).substr(0, 2), "r-");
}

} // namespace
