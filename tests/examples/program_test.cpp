// examples/cloud as its users run it.

#include "examples/ply_file.h"

#include "normalise.h"
#include "normals.h"
#include "ply.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sys/wait.h>

namespace {

using namespace examples;
using cloud::Points;

struct Result {
    int status;
    std::string output, errors;
};

class CloudProgram : public testing::Test {
protected:
    // Arguments that hold a space or the like are for the caller to quote.
    Result run(const std::string& arguments, const std::string& program = CLOUD_PROGRAM)
    {
        const std::string command =
            "'" + program + "' " + arguments + " >'" + folder.path("stdout") + "' 2>'" + folder.path("stderr") + "'";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("stdout"), folder.read("stderr")};
    }

    void expectError(const Result& result, const std::string& message)
    {
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "cloud: error: " + message + "\n");
    }

    // The scene as the program has to write it, by the formula.
    static Points<float> normalisedScene(std::size_t count)
    {
        Points<float> points = cloud::makeScene(count);
        const auto placement = cloud::placementOf(points);
        for (auto& point : points) {
            for (std::size_t k = 0; k < 3; ++k)
                point[k] = (point[k] - placement.centre[k]) * placement.scale;
        }
        return points;
    }

    Points<float> readBack(const std::string& name)
    {
        auto cloud = cloud::readPly(folder.path(name));
        return std::get<Points<float>>(cloud);
    }

    Folder folder;
};

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// ---- the built-in scene

TEST_F(CloudProgram, WritesTheSceneAsTheFormulaGivesIt)
{
    const Result result = run("--repeat 2 --output '" + folder.path("out.ply") + "'");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(cloud::firstDifference(readBack("out.ply"), normalisedScene(20000)), std::nullopt);
    EXPECT_TRUE(contains(result.output, "built-in scene: 20000 points, single precision\n")) << result.output;
    EXPECT_TRUE(contains(result.output, "The three results agree bit for bit.\n"));
    EXPECT_TRUE(contains(result.output, "Wrote " + folder.path("out.ply") + ".\n"));
    for (const char* line : {"\nS  packed points ", "\nL  list of pointers to points ",
                             "\nP  one array per coordinate ", "\nextent ", "\nmean ", "\nscale "})
        EXPECT_TRUE(contains(result.output, line)) << line;
}

TEST_F(CloudProgram, ReadsItsOwnOutput)
{
    ASSERT_EQ(run("--points 300 --output '" + folder.path("out.ply") + "'").status, 0);
    const Result result = run("--repeat 1 '" + folder.path("out.ply") + "'");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(contains(result.output, "out.ply: 300 points, single precision\n")) << result.output;
}

TEST_F(CloudProgram, OnePoint)
{
    EXPECT_EQ(run("--points 1 --output '" + folder.path("out.ply") + "'").status, 0);
    EXPECT_EQ(readBack("out.ply"), (Points<float>{{0, 0, 0}}));
}

TEST_F(CloudProgram, TheNumberOfThreadsDoesNotShowInTheResult)
{
    for (const char* threads : {"1", "2", "3", "7"}) {
        const Result result =
            run(std::string("--repeat 2 --threads ") + threads + " --output '" + folder.path(threads) + "'");
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_TRUE(contains(result.output, std::string(" 2 runs, ") + threads + " thread")) << result.output;
        EXPECT_EQ(folder.read(threads), folder.read("1"));
    }
}

// ---- normals

TEST_F(CloudProgram, DrawsAPicture)
{
    const Result result =
        run("--points 500 --repeat 1 --width 64 --height 48 --picture '" + folder.path("out.png") + "'");
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(contains(result.output, "\nPicture, ns per point: projection ")) << result.output;
    EXPECT_TRUE(contains(result.output, "Wrote " + folder.path("out.png") + ".\n"));
    EXPECT_GT(std::filesystem::file_size(folder.path("out.png")), 500U);
    EXPECT_EQ(run("--points 500 --picture /nonexistent/out.png").status, 1);
    EXPECT_EQ(run("--points 500 --zoom 2").status, 2);
}

TEST_F(CloudProgram, WritesANormalForEveryPoint)
{
    const Result result = run("--neighbours 12 --repeat 1 --output '" + folder.path("out.ply") + "'");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(contains(result.output, "\nNormals from 12 points each, ns per point: search ")) << result.output;
    EXPECT_TRUE(contains(result.output, "\nSpecial: 0 with all points at one place, 0 with all on a line, "))
        << result.output;
    EXPECT_TRUE(contains(result.output, " solved alone, 0 unsolved.\n")) << result.output;

    const Points<float> points = normalisedScene(20000);
    const auto surface = cloud::normalsOf(points, 12).surface;
    std::string data;
    for (std::size_t n = 0; n < points.size(); ++n) {
        for (const auto& numbers : {points[n], surface.normals[n]}) {
            for (float value : numbers)
                data += bytesOf(value, Order::Little);
        }
        data += bytesOf(surface.curvature[n], Order::Little);
    }
    const std::string content = folder.read("out.ply");
    ASSERT_GT(content.size(), data.size());
    EXPECT_EQ(content.substr(content.size() - data.size()), data);
}

// ---- files

TEST_F(CloudProgram, AsciiAndBinaryGiveTheSameResult)
{
    const Points<float> points = cloud::makeScene(500);
    std::string data;
    for (const auto& point : points) {
        for (float value : point)
            data += bytesOf(value, Order::Big);
    }
    const std::string binary = folder.write("binary.ply", header("binary_big_endian", xyz("float", 500)) + data);
    data.clear();
    for (const auto& point : points) {
        char line[100];
        std::snprintf(line, sizeof line, "%.9g %.9g %.9g\n", double(point[0]), double(point[1]), double(point[2]));
        data += line;
    }
    const std::string ascii = folder.write("ascii.ply", header("ascii", xyz("float", 500)) + data);
    ASSERT_EQ(run("'" + binary + "' --output '" + folder.path("from-binary.ply") + "'").status, 0);
    ASSERT_EQ(run("'" + ascii + "' --output '" + folder.path("from-ascii.ply") + "'").status, 0);
    EXPECT_EQ(folder.read("from-ascii.ply"), folder.read("from-binary.ply"));
    EXPECT_EQ(cloud::firstDifference(readBack("from-ascii.ply"), normalisedScene(500)), std::nullopt);
}

TEST_F(CloudProgram, DoubleCoordinatesStayDouble)
{
    const std::string in = folder.write("in.ply", header("ascii", xyz("double", 2)) + "1e9 0 0\n1000000000.5 0 0\n");
    const Result result = run("'" + in + "' --ascii --output '" + folder.path("out.ply") + "'");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(contains(result.output, ": 2 points, double precision\n")) << result.output;
    const std::string comments = "comment normalised: position = (original - centre) * scale\n"
                                 "comment centre 1000000000.25 0 0\ncomment scale 4\n";
    const std::string surface = "property float nx\nproperty float ny\nproperty float nz\nproperty float curvature\n";
    EXPECT_EQ(folder.read("out.ply"),
              header("ascii", comments + xyz("double", 2) + surface) + "-1 0 0 0 0 1 0\n1 0 0 0 0 1 0\n");
}

TEST_F(CloudProgram, ReportsAndSkipsPointsThatAreNotFinite)
{
    const std::string in =
        folder.write("in.ply", header("ascii", xyz("float", 4)) + "nan 0 0\n0 0 0\n0 -inf 0\n2 4 8\n");
    const Result result = run("'" + in + "' --output '" + folder.path("out.ply") + "'");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "cloud: " + in + ": skipped points that are not finite: 2\n");
    EXPECT_TRUE(contains(result.output, ": 2 points, single precision, 2 skipped")) << result.output;
    EXPECT_EQ(readBack("out.ply"), (Points<float>{{-0.25F, -0.5F, -1}, {0.25F, 0.5F, 1}}));
}

TEST_F(CloudProgram, NoFinitePointIsAnError)
{
    const std::string in = folder.write("in.ply", header("ascii", xyz("float", 1)) + "nan 0 0\n");
    const Result result = run("'" + in + "'");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.errors, "cloud: error: " + in + " holds no finite points\n")) << result.errors;
}

TEST_F(CloudProgram, FilesThatCannotBeUsed)
{
    const std::string file = folder.path("in.ply"), argument = "'" + file + "'";
    expectError(run(argument), file + " cannot be read: No such file or directory");
    folder.write("in.ply", "");
    expectError(run(argument), file + " is empty");
    folder.write("in.ply", "ply\nformat ascii 1.0\nelement ver");
    expectError(run(argument), file + " ends within its header");
    folder.write("in.ply", header("ascii", xyz("float", 3)) + "1 2 3\n4 5");
    expectError(run(argument), file + " is cut short: it ends after 1 of 3 points");
    folder.write("in.ply", header("binary_little_endian", xyz("double", 3)) + std::string(71, '\0'));
    expectError(run(argument), file + " is cut short: it ends after 2 of 3 points");
    folder.write("in.ply", header("ascii", "element face 0\nproperty int a\n"));
    expectError(run(argument), file + " has no element 'vertex'");
    folder.write("in.ply", header("ascii", "element vertex 1\nproperty float intensity\n") + "1\n");
    expectError(run(argument), file + " has no coordinate x");
}

TEST_F(CloudProgram, OutputThatCannotBeWritten)
{
    const Result result = run("--points 10 --output '" + folder.path("none/out.ply") + "'");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.errors, "none/out.ply cannot be written: No such file or directory\n"))
        << result.errors;
}

// ---- layouts that do not agree

TEST_F(CloudProgram, FailsWhenOneLayoutIsWrongByOneBit)
{
    const Result result = run("--points 40 --output '" + folder.path("out.ply") + "'", CLOUD_WITH_WRONG_CALL);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "cloud: error: the layouts S and P do not agree: point 39 differs\n");
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.ply")));
}

// ---- the command line

TEST_F(CloudProgram, Help)
{
    const Result result = run("--help");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    for (const char* option :
         {"input", "--output", "--ascii", "--points", "--repeat", "--neighbours", "--threads", "--help"})
        EXPECT_TRUE(contains(result.output, option)) << option;
}

TEST_F(CloudProgram, MistakesInTheCommandLine)
{
    for (const char* arguments : {"--points 0", "--points many", "--points 5 some.ply", "--repeat 0", "--neighbours 2",
                                  "--threads -1", "--no", "a.ply b.ply", "--ascii", "''"}) {
        const Result result = run(arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_NE(result.errors, "") << arguments;
        EXPECT_EQ(result.output, "") << arguments;
    }
}

} // namespace
