// The processor quota of the control groups that hold this process.
#pragma once

#include <cstdint>
#include <string>

namespace tarncore {

// Number of whole processors, rounded up, that the quota amounts to; 0 where there is none. The tightest quota among the
// process's own group and all groups above it counts, of both versions of the control group file system.
// root is put in front of every path read; it is empty but for tests.
int32_t cpuQuota(const std::string& root);

} // namespace tarncore
