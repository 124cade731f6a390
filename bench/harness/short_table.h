// The table for people who want to know whether the library is fast: a few rows, both types side by side.
//
//   isInShortTable   whether a row is among them
//   shortTable       Markdown; rows that were not measured are left out
#pragma once

#include <string>
#include <vector>

#include "harness/report.h"

namespace bench {

bool isInShortTable(const std::string& row);
std::string shortTable(const std::vector<Finding>& findings, const std::string& processor);

} // namespace bench
