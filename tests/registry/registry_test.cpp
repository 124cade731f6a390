// The interface as a whole: which names there are, which of them the library exports.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "support/interface_names.h"
#include "support/members.h"

namespace tarnm::test {
namespace {

// What interface/generate.py --list prints.
std::vector<std::string> registeredNames()
{
    const std::string command = std::string(TARNM_PYTHON) + " '" + TARNM_SOURCE_DIR + "/interface/generate.py' --list";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> part;
    while (const std::size_t length = std::fread(part.data(), 1, part.size(), pipe.get()))
        output.append(part.data(), length);
    std::istringstream lines(output);
    std::vector<std::string> names;
    for (std::string line; lines >> line;)
        names.push_back(line);
    return names;
}

// The names in the global section of the export map, in its order.
std::vector<std::string> exportedNames()
{
    std::ifstream map(std::string(TARNM_SOURCE_DIR) + "/src/frame/exports.map");
    std::vector<std::string> names;
    for (std::string word; map >> word;)
        if (word.starts_with("tarnm") && word.ends_with(";")) names.push_back(word.substr(0, word.size() - 1));
    return names;
}

std::string operationOf(const std::string& name) { return name.substr(5, name.find('_') - 5); }

std::set<std::string> spelledNames()
{
    std::set<std::string> names;
    for (const InterfaceName& name : interfaceNames())
        names.insert(name.text());
    return names;
}

TEST(Registry, ExpandsTo873DistinctNames)
{
    const auto names = registeredNames();
    EXPECT_EQ(names.size(), 873u);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 873u);
}

TEST(Registry, HoldsTheNamesOfTheGrammar)
{
    const auto names = registeredNames();
    const std::set<std::string> registered(names.begin(), names.end());
    EXPECT_EQ(registered, spelledNames());
}

TEST(Registry, HasTheRightNumberOfMembersPerOperation)
{
    // A single code has 4 members, an array code 6, a fixed form 1, a code of Copy 18.
    const std::map<std::string, int> expected = {{"Add", 95},
                                                 {"Sub", 157},
                                                 {"Mul", 175},
                                                 {"CrossProduct", 25},
                                                 {"Saxpy", 22},
                                                 {"DotProduct", 19},
                                                 {"LComb", 16},
                                                 {"Gaxpy", 16},
                                                 {"L2Norm", 10},
                                                 {"FrobNorm", 10},
                                                 {"Trace", 10},
                                                 {"Det", 11},
                                                 {"Invert", 11},
                                                 {"Transpose", 11},
                                                 {"LUDecomp", 10},
                                                 {"CholeskyDecomp", 10},
                                                 {"QRDecomp", 10},
                                                 {"EigenValues", 10},
                                                 {"EigenValuesSym", 10},
                                                 {"EigenValuesVectors", 10},
                                                 {"EigenValuesVectorsLeft", 10},
                                                 {"EigenValuesVectorsRight", 10},
                                                 {"EigenValuesVectorsSym", 10},
                                                 {"LUBackSubst", 16},
                                                 {"CholeskyBackSubst", 16},
                                                 {"QRBackSubst", 16},
                                                 {"Extract", 30},
                                                 {"LoadIdentity", 6},
                                                 {"Copy", 36},
                                                 {"EigenValuesGetBufSize", 2},
                                                 {"EigenValuesVectorsGetBufSize", 2},
                                                 {"AffineTransform", 6},
                                                 {"AffineTransform3DH", 1},
                                                 {"AffineTransformCoord", 4},
                                                 {"AffineTransformNormal", 4},
                                                 {"BaryCentric", 3},
                                                 {"Hermite", 3},
                                                 {"Identity", 1},
                                                 {"InterpolationCatmullRom", 3},
                                                 {"InterpolationLinear", 3},
                                                 {"IsIdentity", 1},
                                                 {"Len", 3},
                                                 {"LenSqr", 3},
                                                 {"LookAtLH", 1},
                                                 {"LookAtRH", 1},
                                                 {"Max", 3},
                                                 {"Min", 3},
                                                 {"MulC", 3},
                                                 {"MulTranspose", 1},
                                                 {"Normalize", 3},
                                                 {"OrthoLH", 1},
                                                 {"OrthoRH", 1},
                                                 {"OrthoOffCenterLH", 1},
                                                 {"OrthoOffCenterRH", 1},
                                                 {"PerspectiveLH", 1},
                                                 {"PerspectiveRH", 1},
                                                 {"PerspectiveFovLH", 1},
                                                 {"PerspectiveFovRH", 1},
                                                 {"PerspectiveOffCenterLH", 1},
                                                 {"PerspectiveOffCenterRH", 1},
                                                 {"Project", 2},
                                                 {"RotationAxis", 1},
                                                 {"RotationX", 1},
                                                 {"RotationY", 1},
                                                 {"RotationZ", 1},
                                                 {"RotationYawPitchRoll", 1},
                                                 {"Scaling", 1},
                                                 {"Translation", 1},
                                                 {"Unproject", 2}};
    std::map<std::string, int> found;
    for (const std::string& name : registeredNames())
        ++found[operationOf(name)];
    EXPECT_EQ(found, expected);
}

TEST(Exports, AreSortedAndDistinct)
{
    const auto names = exportedNames();
    EXPECT_FALSE(names.empty());
    EXPECT_EQ(std::ranges::adjacent_find(names, std::greater_equal<>()), names.end());
}

TEST(Exports, AreTheMembersAndTheVersionQuery)
{
    std::set<std::string> expected{"tarnmGetLibVersion"};
    for (const Member& member : members())
        expected.emplace(member.name);
    const auto names = exportedNames();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), expected);
}

TEST(Exports, BelongToTheInterface)
{
    const auto all = spelledNames();
    for (const Member& member : members())
        EXPECT_TRUE(all.contains(std::string(member.name))) << member.name;
}

} // namespace
} // namespace tarnm::test
