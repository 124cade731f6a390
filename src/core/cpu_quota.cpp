#include "cpu_quota.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <sstream>

namespace tarncore {
namespace {

// A processor controller as it is mounted: the group that the mount point shows, and where.
struct Mount {
    std::string group;
    std::string point;
};

bool listHolds(const std::string& commaList, const std::string& item)
{
    std::istringstream items(commaList);
    for (std::string each; std::getline(items, each, ',');)
        if (each == item) return true;
    return false;
}

// A line of mountinfo: id, parent, device, root, mount point, options, optional fields, "-", type, source, super options.
bool findMount(const std::string& root, bool version2, Mount& mount)
{
    std::ifstream lines(root + "/proc/self/mountinfo");
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string id, parent, device, field, type, source, superOptions;
        Mount found;
        fields >> id >> parent >> device >> found.group >> found.point;
        while (fields >> field && field != "-") {
        }
        fields >> type >> source >> superOptions;
        if (version2 ? type == "cgroup2" : type == "cgroup" && listHolds(superOptions, "cpu")) {
            mount = found;
            return true;
        }
    }
    return false;
}

// A line of /proc/self/cgroup: hierarchy, controllers, group. Version 2 is hierarchy 0 with no controllers.
std::string ownGroup(const std::string& root, bool version2)
{
    std::ifstream lines(root + "/proc/self/cgroup");
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string hierarchy, controllers, group;
        std::getline(fields, hierarchy, ':');
        std::getline(fields, controllers, ':');
        std::getline(fields, group);
        if (version2 ? hierarchy == "0" && controllers.empty() : listHolds(controllers, "cpu")) return group;
    }
    return {};
}

// The group relative to what the mount point shows, "" for the mounted group itself. A group outside of it, as seen from
// inside some containers, is not reachable; the mounted group is then the nearest that is.
std::string relativeGroup(const std::string& group, const std::string& mounted)
{
    const std::string base = mounted == "/" ? "" : mounted;
    if (group.compare(0, base.size(), base) != 0) return {};
    std::string relative = group.substr(base.size());
    if (relative.size() < 2 || relative[0] != '/' || relative.compare(0, 3, "/..") == 0) return {};
    return relative;
}

// Microseconds of processor time per period of a folder; false where it sets no quota.
bool readQuota(const std::string& folder, bool version2, int64_t& quota, int64_t& period)
{
    if (version2) {
        // "max 100000" without a quota, on which the first read fails.
        std::ifstream both(folder + "/cpu.max");
        if (!(both >> quota >> period)) return false;
    } else {
        std::ifstream quotaFile(folder + "/cpu.cfs_quota_us"), periodFile(folder + "/cpu.cfs_period_us");
        if (!(quotaFile >> quota) || !(periodFile >> period)) return false;
    }
    return quota > 0 && period > 0;
}

int32_t quotaOf(const std::string& root, bool version2)
{
    Mount mount;
    if (!findMount(root, version2, mount)) return 0;
    std::string group = relativeGroup(ownGroup(root, version2), mount.group);
    int64_t tightest = std::numeric_limits<int32_t>::max();
    bool limited = false;
    for (;;) {
        int64_t quota = 0, period = 0;
        if (readQuota(root + mount.point + group, version2, quota, period)) {
            tightest = std::min(tightest, (quota - 1) / period + 1);
            limited = true;
        }
        if (group.empty()) break;
        group.erase(group.rfind('/'));
    }
    return limited ? static_cast<int32_t>(tightest) : 0;
}

} // namespace

int32_t cpuQuota(const std::string& root)
{
    const int32_t first = quotaOf(root, true);
    const int32_t second = quotaOf(root, false);
    return first == 0 || second == 0 ? std::max(first, second) : std::min(first, second);
}

} // namespace tarncore
