// The processor quota of control groups, read from trees laid out as the kernel and container engines do.
#include "core/cpu_quota.h"

#include "temporary_tree.h"

#include <gtest/gtest.h>

namespace {

using tarncore::cpuQuota;

// A version 2 hierarchy whose mount point shows the whole tree.
struct Version2 : testing::Test {
    void SetUp() override
    {
        tree.write("/proc/self/mountinfo", "22 1 8:1 / / rw,relatime - ext4 /dev/sda1 rw\n"
                                           "31 22 0:26 / /sys/fs/cgroup rw,nosuid shared:4 - cgroup2 cgroup2 rw\n");
        tree.write("/proc/self/cgroup", "0::/user.slice/job\n");
    }
    TemporaryTree tree;
};

TEST_F(Version2, NoQuotaFilesMeanNoLimit) { EXPECT_EQ(cpuQuota(tree.root()), 0); }

TEST_F(Version2, MaxMeansNoLimit)
{
    tree.write("/sys/fs/cgroup/user.slice/job/cpu.max", "max 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 0);
}

TEST_F(Version2, WholeNumberOfProcessorsStays)
{
    tree.write("/sys/fs/cgroup/user.slice/job/cpu.max", "300000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 3);
}

TEST_F(Version2, FractionRoundsUp)
{
    tree.write("/sys/fs/cgroup/user.slice/job/cpu.max", "200001 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 3);
}

TEST_F(Version2, LessThanOneProcessorIsOne)
{
    tree.write("/sys/fs/cgroup/user.slice/job/cpu.max", "5000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 1);
}

TEST_F(Version2, OtherPeriod)
{
    tree.write("/sys/fs/cgroup/user.slice/job/cpu.max", "100000 50000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

TEST_F(Version2, TightestOfAllGroupsAboveCounts)
{
    tree.write("/sys/fs/cgroup/user.slice/job/cpu.max", "800000 100000\n");
    tree.write("/sys/fs/cgroup/user.slice/cpu.max", "200000 100000\n");
    tree.write("/sys/fs/cgroup/cpu.max", "400000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

TEST_F(Version2, SiblingGroupDoesNotCount)
{
    tree.write("/sys/fs/cgroup/user.slice/other/cpu.max", "100000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 0);
}

TEST_F(Version2, GarbageIsNoLimit)
{
    tree.write("/sys/fs/cgroup/user.slice/job/cpu.max", "many 100000\n");
    tree.write("/sys/fs/cgroup/user.slice/cpu.max", "100000 0\n");
    tree.write("/sys/fs/cgroup/cpu.max", "");
    EXPECT_EQ(cpuQuota(tree.root()), 0);
}

TEST(Version2InContainer, MountPointShowsTheContainersOwnGroup)
{
    TemporaryTree tree;
    tree.write("/proc/self/mountinfo", "31 22 0:26 /engine/4f2a /sys/fs/cgroup ro - cgroup2 cgroup rw\n");
    tree.write("/proc/self/cgroup", "0::/engine/4f2a/inner\n");
    tree.write("/sys/fs/cgroup/cpu.max", "400000 100000\n");
    tree.write("/sys/fs/cgroup/inner/cpu.max", "200000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

TEST(Version2InContainer, GroupOutsideTheMountFallsBackToTheMount)
{
    TemporaryTree tree;
    tree.write("/proc/self/mountinfo", "31 22 0:26 / /sys/fs/cgroup ro - cgroup2 cgroup rw\n");
    tree.write("/proc/self/cgroup", "0::/../elsewhere\n");
    tree.write("/sys/fs/cgroup/cpu.max", "200000 100000\n");
    tree.write("/sys/fs/elsewhere/cpu.max", "100000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

TEST(Version2InContainer, NameThatOnlyBeginsLikeTheMountedGroup)
{
    TemporaryTree tree;
    tree.write("/proc/self/mountinfo", "31 22 0:26 /engine/4f /sys/fs/cgroup ro - cgroup2 cgroup rw\n");
    tree.write("/proc/self/cgroup", "0::/engine/4f2a\n");
    tree.write("/sys/fs/cgroup/cpu.max", "200000 100000\n");
    tree.write("/sys/fs/cgroup2a/cpu.max", "100000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

TEST(Version2InContainer, GroupBesideTheMountedOne)
{
    TemporaryTree tree;
    tree.write("/proc/self/mountinfo", "31 22 0:26 /engine/4f /sys/fs/cgroup ro - cgroup2 cgroup rw\n");
    tree.write("/proc/self/cgroup", "0::/engine/5a/inner\n");
    tree.write("/sys/fs/cgroup/cpu.max", "200000 100000\n");
    tree.write("/sys/fs/cgroup/inner/cpu.max", "100000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

// Version 1: the processor controller is one of several mounts, and shares its mount with the accounting.
struct Version1 : testing::Test {
    void SetUp() override
    {
        tree.write("/proc/self/mountinfo",
                   "30 22 0:25 / /sys/fs/cgroup/cpuset rw shared:9 master:2 - cgroup cgroup rw,cpuset\n"
                   "31 22 0:26 / /sys/fs/cgroup/cpu,cpuacct rw - cgroup cgroup rw,cpu,cpuacct\n");
        tree.write("/proc/self/cgroup", "9:cpuset:/set\n4:cpu,cpuacct:/batch\n");
    }
    void writeQuota(const std::string& folder, const std::string& quota, const std::string& period)
    {
        tree.write(folder + "/cpu.cfs_quota_us", quota + "\n");
        tree.write(folder + "/cpu.cfs_period_us", period + "\n");
    }
    TemporaryTree tree;
};

TEST_F(Version1, MinusOneMeansNoLimit)
{
    writeQuota("/sys/fs/cgroup/cpu,cpuacct/batch", "-1", "100000");
    EXPECT_EQ(cpuQuota(tree.root()), 0);
}

TEST_F(Version1, FractionRoundsUp)
{
    writeQuota("/sys/fs/cgroup/cpu,cpuacct/batch", "150000", "100000");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

TEST_F(Version1, TightestOfAllGroupsAboveCounts)
{
    writeQuota("/sys/fs/cgroup/cpu,cpuacct/batch", "700000", "100000");
    writeQuota("/sys/fs/cgroup/cpu,cpuacct", "500000", "100000");
    EXPECT_EQ(cpuQuota(tree.root()), 5);
}

TEST_F(Version1, OtherControllersDoNotCount)
{
    writeQuota("/sys/fs/cgroup/cpuset/set", "100000", "100000");
    EXPECT_EQ(cpuQuota(tree.root()), 0);
}

TEST_F(Version1, TighterOfBothVersionsCounts)
{
    writeQuota("/sys/fs/cgroup/cpu,cpuacct/batch", "300000", "100000");
    tree.write("/proc/self/mountinfo", "31 22 0:26 / /sys/fs/cgroup/cpu rw - cgroup cgroup rw,cpu\n"
                                       "32 22 0:27 / /sys/fs/cgroup/unified rw - cgroup2 cgroup2 rw\n");
    tree.write("/proc/self/cgroup", "4:cpu:/batch\n0::/job\n");
    writeQuota("/sys/fs/cgroup/cpu/batch", "300000", "100000");
    EXPECT_EQ(cpuQuota(tree.root()), 3);
    tree.write("/sys/fs/cgroup/unified/job/cpu.max", "200000 100000\n");
    EXPECT_EQ(cpuQuota(tree.root()), 2);
}

TEST(NoControlGroups, EmptySystemHasNoLimit)
{
    TemporaryTree tree;
    EXPECT_EQ(cpuQuota(tree.root()), 0);
}

} // namespace
