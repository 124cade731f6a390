// Reading and writing PLY files.

#include "examples/ply_file.h"

#include "ply.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using namespace examples;
using cloud::Cloud;
using cloud::PlyFormat;
using cloud::Points;

class Ply : public testing::Test {
protected:
    Cloud read(const std::string& content) { return cloud::readPly(folder.write("cloud.ply", content)); }

    template <class T> Points<T> readAs(const std::string& content)
    {
        Cloud cloud = read(content);
        return std::get<Points<T>>(cloud);
    }

    // The message without the name of the file, which it must begin with.
    std::string errorOf(const std::string& content)
    {
        const std::string file = folder.path("cloud.ply");
        try {
            read(content);
        } catch (const std::runtime_error& error) {
            const std::string message = error.what();
            EXPECT_EQ(message.substr(0, file.size() + 1), file + " ");
            return message.substr(std::min(message.size(), file.size() + 1));
        }
        return "no error";
    }

    Folder folder;
};

const Points<float> twoFloats = {{1.5F, -2.25F, 3e-7F}, {4, 5, 6.1F}};
const Points<double> twoDoubles = {{1.5, -2.25, 3e-300}, {4, 5, 6.1}};

template <class T> std::string binary(const Points<T>& points, Order order)
{
    std::string data;
    for (const auto& point : points) {
        for (T value : point)
            data += bytesOf(value, order);
    }
    return data;
}

// ---- formats and types

TEST_F(Ply, ReadsAscii)
{
    EXPECT_EQ(readAs<float>(header("ascii", xyz("float", 2)) + "1.5 -2.25 3e-7\n4 5 6.1\n"), twoFloats);
    EXPECT_EQ(readAs<double>(header("ascii", xyz("double", 2)) + "1.5 -2.25 3e-300\n4 5 6.1\n"), twoDoubles);
}

TEST_F(Ply, ReadsBinaryLittleEndian)
{
    const std::string format = "binary_little_endian";
    EXPECT_EQ(readAs<float>(header(format, xyz("float", 2)) + binary(twoFloats, Order::Little)), twoFloats);
    EXPECT_EQ(readAs<double>(header(format, xyz("double", 2)) + binary(twoDoubles, Order::Little)), twoDoubles);
}

TEST_F(Ply, ReadsBinaryBigEndian)
{
    const std::string format = "binary_big_endian";
    EXPECT_EQ(readAs<float>(header(format, xyz("float32", 2)) + binary(twoFloats, Order::Big)), twoFloats);
    EXPECT_EQ(readAs<double>(header(format, xyz("float64", 2)) + binary(twoDoubles, Order::Big)), twoDoubles);
}

TEST_F(Ply, KeepsSmallIntegersAsFloatAndLargeOnesAsDouble)
{
    const std::string format = "binary_big_endian";
    const auto data = [](auto x, auto y, auto z) {
        return bytesOf(x, Order::Big) + bytesOf(y, Order::Big) + bytesOf(z, Order::Big);
    };
    using std::int16_t, std::int32_t, std::int8_t;
    EXPECT_EQ(readAs<float>(header(format, xyz("char", 1)) + data(int8_t(-128), int8_t(0), int8_t(127))),
              (Points<float>{{-128, 0, 127}}));
    EXPECT_EQ(readAs<float>(header(format, xyz("uchar", 1)) + data(int8_t(-128), int8_t(0), int8_t(-1))),
              (Points<float>{{128, 0, 255}}));
    EXPECT_EQ(readAs<float>(header(format, xyz("short", 1)) + data(int16_t(-32768), int16_t(258), int16_t(1))),
              (Points<float>{{-32768, 258, 1}}));
    EXPECT_EQ(readAs<float>(header(format, xyz("uint16", 1)) + data(int16_t(-32768), int16_t(258), int16_t(-1))),
              (Points<float>{{32768, 258, 65535}}));
    EXPECT_EQ(readAs<double>(header(format, xyz("int", 1)) + data(INT32_MIN, int32_t(0x01020304), int32_t(-1))),
              (Points<double>{{-2147483648.0, 16909060, -1}}));
    EXPECT_EQ(readAs<double>(header(format, xyz("uint32", 1)) + data(INT32_MIN, int32_t(0x01020304), int32_t(-1))),
              (Points<double>{{2147483648.0, 16909060, 4294967295.0}}));
}

TEST_F(Ply, OneDoubleAmongTheCoordinatesMakesThemAllDouble)
{
    const std::string declarations = "element vertex 1\nproperty float x\nproperty double y\nproperty short z\n";
    EXPECT_EQ(readAs<double>(header("ascii", declarations) + "0.1 0.1 7\n"), (Points<double>{{0.1F, 0.1, 7}}));
}

// 1 + 2^-24 + 2^-60 lies just above the middle between two floats; rounded to double first, it lies on it.
TEST_F(Ply, RoundsAsciiToFloatOnce)
{
    const auto points = readAs<float>(header("ascii", xyz("float", 1)) + "1.00000005960464477626 +1 0\n");
    EXPECT_EQ(points, (Points<float>{{1 + 0x1p-23F, 1, 0}}));
}

TEST_F(Ply, ReadsNumbersBeyondTheRange)
{
    const auto points = readAs<float>(header("ascii", xyz("float", 2)) + "1e40 -1e40 1e-60\nnan inf -inf\n");
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(points.at(0), (cloud::Point<float>{infinity, -infinity, 0}));
    EXPECT_TRUE(std::isnan(points.at(1)[0]));
    EXPECT_EQ(points.at(1)[1], infinity);
    EXPECT_EQ(points.at(1)[2], -infinity);
}

// ---- what stands beside the coordinates

TEST_F(Ply, SkipsOtherPropertiesListsAndElements)
{
    const std::string declarations =
        "comment made by hand\nobj_info none\n"
        "element camera 1\nproperty list uchar short path\nproperty double angle\n"
        "element vertex 2\nproperty uchar red\nproperty float z\nproperty list uint8 int near\n"
        "property float x\nproperty float y\n"
        "element face 1\nproperty list uchar int vertex_indices\n";
    const Points<float> expected = {{1, 2, 3}, {4, 5, 6}};
    EXPECT_EQ(readAs<float>(header("ascii", declarations) + "3 7 8 9 0.5\n255 3 2 0 1 1 2\n0 6 0 4 5\n3 0 1 1\n"),
              expected);

    const Order order = Order::Little;
    const auto byte = [&](int value) { return bytesOf(static_cast<std::uint8_t>(value), order); };
    std::string data = byte(3);
    for (std::int16_t value : {7, 8, 9})
        data += bytesOf(value, order);
    data += bytesOf(0.5, order);
    data += byte(255) + bytesOf(3.0F, order) + byte(2) + bytesOf(0, order) + bytesOf(1, order) + bytesOf(1.0F, order) +
            bytesOf(2.0F, order);
    data += byte(0) + bytesOf(6.0F, order) + byte(0) + bytesOf(4.0F, order) + bytesOf(5.0F, order);
    EXPECT_EQ(readAs<float>(header("binary_little_endian", declarations) + data), expected);
}

TEST_F(Ply, ReadsLinesThatEndAsOnWindows)
{
    std::string content = header("ascii", xyz("float", 2)) + "1.5 -2.25\t3e-7 \n\n 4 5 6.1\n";
    for (std::size_t at = 0; (at = content.find('\n', at)) != std::string::npos; at += 2)
        content.insert(at, "\r");
    EXPECT_EQ(readAs<float>(content), twoFloats);
}

TEST_F(Ply, ReadsALastLineWithoutItsEnd)
{
    EXPECT_EQ(readAs<float>(header("ascii", xyz("float", 2)) + "1.5 -2.25 3e-7\n4 5 6.1"), twoFloats);
    EXPECT_EQ(readAs<float>(header("ascii", xyz("float", 1)) + "0 0 0"), (Points<float>{{0, 0, 0}}));
}

// ---- what is wrong with a file

TEST_F(Ply, MissingFile)
{
    try {
        cloud::readPly(folder.path("none.ply"));
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), folder.path("none.ply") + " cannot be read: No such file or directory");
    }
}

TEST_F(Ply, Folder)
{
    try {
        cloud::readPly(folder.path("."));
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), folder.path(".") + " cannot be read: Is a directory");
    }
}

TEST_F(Ply, EmptyFile) { EXPECT_EQ(errorOf(""), "is empty"); }

TEST_F(Ply, OtherFile)
{
    EXPECT_EQ(errorOf("play\n"), "is no PLY file");
    EXPECT_EQ(errorOf("solid cube\n"), "is no PLY file");
    EXPECT_EQ(errorOf("ply ply\n"), "is no PLY file");
}

TEST_F(Ply, CutAnywhereInTheHeader)
{
    const std::string whole = header("ascii", "comment nothing\n" + xyz("float", 1));
    for (std::size_t size = 4; size < whole.size() - 1; ++size)
        EXPECT_EQ(errorOf(whole.substr(0, size)), "ends within its header") << size;
}

TEST_F(Ply, CutAnywhereInBinaryData)
{
    const std::string head = header("binary_little_endian", xyz("float", 2)), data = binary(twoFloats, Order::Little);
    for (std::size_t size = 0; size < data.size(); ++size) {
        const std::string expected =
            std::string("is cut short: it ends after ") + (size < 12 ? "0" : "1") + " of 2 points";
        EXPECT_EQ(errorOf(head + data.substr(0, size)), expected) << size;
    }
}

TEST_F(Ply, CutInAsciiData)
{
    const std::string head = header("ascii", xyz("float", 2)), data = "1.5 -2.25 3e-7\n4 5 6.1\n";
    for (std::size_t size = 0; size < data.find("6.1"); ++size) {
        // A number may end behind any of its digits, but "1." and "3e" are cut, and "-" is no number.
        const std::string error = errorOf(head + data.substr(0, size));
        EXPECT_TRUE(error.starts_with("is cut short: it ends after ") || error.ends_with("which is no number"))
            << error;
    }
    EXPECT_EQ(errorOf(head + "1 2 3\n4 5 "), "is cut short: it ends after 1 of 2 points");
}

TEST_F(Ply, CutBeforeThePoints)
{
    const std::string camera = "element camera 2\nproperty float angle\n";
    EXPECT_EQ(errorOf(header("binary_big_endian", camera + xyz("float", 1)) + "1234"),
              "is cut short: it ends before its points");
}

TEST_F(Ply, MorePointsAnnouncedThanAnyMemoryHolds)
{
    const std::string vertex =
        "element vertex 18446744073709551615\nproperty float x\nproperty float y\nproperty float z\n";
    EXPECT_EQ(errorOf(header("binary_big_endian", vertex) + std::string(24, '\0')),
              "is cut short: it ends after 2 of 18446744073709551615 points");
    EXPECT_EQ(errorOf(header("ascii", vertex) + "1 2 3\n"),
              "is cut short: it ends after 1 of 18446744073709551615 points");
    // Entries without a property take no bytes at all.
    EXPECT_EQ(readAs<float>(header("ascii", "element none 18446744073709551615\n" + xyz("float", 1)) + "1 2 3\n"),
              (Points<float>{{1, 2, 3}}));
}

TEST_F(Ply, NoVertices)
{
    EXPECT_EQ(errorOf(header("ascii", "element face 0\nproperty list uchar int vertex_indices\n")),
              "has no element 'vertex'");
    EXPECT_EQ(errorOf(header("ascii", xyz("float", 0))), "holds no points");
}

TEST_F(Ply, NoCoordinates)
{
    EXPECT_EQ(errorOf(header("ascii", "element vertex 1\nproperty float x\nproperty float z\n") + "1 2\n"),
              "has no coordinate y");
    EXPECT_EQ(errorOf(header("ascii", "element vertex 1\nproperty list uchar float x\n") + "1 2\n"),
              "has no coordinate x");
    EXPECT_EQ(errorOf(header("ascii", "element vertex 1\n") + "\n"), "has no coordinate x");
}

TEST_F(Ply, MalformedHeader)
{
    EXPECT_EQ(errorOf("ply\nelement vertex 1\nend_header\n"), "does not tell its format");
    EXPECT_EQ(errorOf("ply\nformat ascii\nend_header\n"), "has a malformed format in its header");
    EXPECT_EQ(errorOf("ply\nformat ascii 2.0\nend_header\n"), "has the unknown format version '2.0'");
    EXPECT_EQ(errorOf(header("text", "")), "has the unknown format 'text'");
    EXPECT_EQ(errorOf(header("ascii", "element vertex\n")), "has a malformed element in its header");
    EXPECT_EQ(errorOf(header("ascii", "element vertex -1\n")), "has the invalid element count '-1'");
    EXPECT_EQ(errorOf(header("ascii", "element vertex 3.5\n")), "has the invalid element count '3.5'");
    EXPECT_EQ(errorOf(header("ascii", "element vertex 1\nproperty half x\n")), "has the unknown property type 'half'");
    EXPECT_EQ(errorOf(header("ascii", "element vertex 1\nproperty float\n")), "has a malformed property in its header");
    EXPECT_EQ(errorOf(header("ascii", "property float x\n")), "has the unexpected word 'property' in its header");
    EXPECT_EQ(errorOf(header("ascii", "vertex 1\n")), "has the unexpected word 'vertex' in its header");
}

TEST_F(Ply, MalformedAsciiData)
{
    const std::string head = header("ascii", xyz("float", 2)); // of 7 lines
    EXPECT_EQ(errorOf(head + "1 2 3\n4 five 6\n"), "has on line 9 'five', which is no number");
    EXPECT_EQ(errorOf(head + "1 2 3\n4 5,5 6\n"), "has on line 9 '5,5', which is no number");
    EXPECT_EQ(errorOf(head + "1 2\n3 4 5 6\n"), "has on line 8 fewer values than its element has properties");
    EXPECT_EQ(errorOf(head + "\n1 2 3 4\n5 6\n"), "has on line 9 more values than its element has properties");
}

TEST_F(Ply, NegativeNumberInAList)
{
    const std::string declarations = "element vertex 1\nproperty list char int near\n" + xyz("float", 1).substr(17);
    EXPECT_EQ(errorOf(header("ascii", declarations) + "-1 1 2 3\n"), "has a list with a negative number of values");
}

// ---- writing

TEST_F(Ply, WritesBinary)
{
    cloud::writePly(folder.path("out.ply"), twoFloats, "one\ntwo", PlyFormat::BinaryLittleEndian);
    EXPECT_EQ(folder.read("out.ply"), header("binary_little_endian", "comment one\ncomment two\n" + xyz("float", 2)) +
                                          binary(twoFloats, Order::Little));
    cloud::writePly(folder.path("out.ply"), twoDoubles, "", PlyFormat::BinaryLittleEndian);
    EXPECT_EQ(folder.read("out.ply"),
              header("binary_little_endian", xyz("double", 2)) + binary(twoDoubles, Order::Little));
}

TEST_F(Ply, WritesAsciiThatGivesTheSameNumbers)
{
    const Points<float> points = {{0.1F, -0.0F, 1 / 3.0F}, {std::numeric_limits<float>::max(), 1e-45F, 16777218}};
    cloud::writePly(folder.path("out.ply"), points, "", PlyFormat::Ascii);
    const std::string content = folder.read("out.ply");
    EXPECT_EQ(content.find(header("ascii", xyz("float", 2))), 0U);
    EXPECT_EQ(readAs<float>(content), points);
    EXPECT_TRUE(std::signbit(readAs<float>(content).at(0)[1]));
    cloud::writePly(folder.path("out.ply"), twoDoubles, "", PlyFormat::Ascii);
    EXPECT_EQ(readAs<double>(folder.read("out.ply")), twoDoubles);
}

TEST_F(Ply, WritesMoreThanOnePieceOfMemory)
{
    Points<float> points(20000);
    for (std::size_t n = 0; n < points.size(); ++n)
        points[n] = {static_cast<float>(n), 0, 1};
    cloud::writePly(folder.path("out.ply"), points, "", PlyFormat::BinaryLittleEndian);
    EXPECT_EQ(folder.read("out.ply"),
              header("binary_little_endian", xyz("float", 20000)) + binary(points, Order::Little));
}

TEST_F(Ply, WritesTheSurfaceBehindThePoints)
{
    const cloud::Surface surface{{{1, 0, 0}, {0, 0.6F, 0.8F}}, {0.25F, 0}};
    const std::string declarations =
        xyz("float", 2) + "property float nx\nproperty float ny\nproperty float nz\nproperty float curvature\n";
    cloud::writePly(folder.path("out.ply"), twoFloats, "", PlyFormat::BinaryLittleEndian, &surface);
    std::string data;
    for (std::size_t n = 0; n < 2; ++n) {
        data += binary(Points<float>{twoFloats[n], surface.normals[n]}, Order::Little);
        data += bytesOf(surface.curvature[n], Order::Little);
    }
    EXPECT_EQ(folder.read("out.ply"), header("binary_little_endian", declarations) + data);
    cloud::writePly(folder.path("out.ply"), Points<float>{{1, 2, 3}, {4, 5, 6}}, "", PlyFormat::Ascii, &surface);
    EXPECT_EQ(folder.read("out.ply"), header("ascii", declarations) + "1 2 3 1 0 0 0.25\n4 5 6 0 0.6 0.8 0\n");
}

TEST_F(Ply, CannotBeWritten)
{
    EXPECT_THROW(cloud::writePly(folder.path("none/out.ply"), twoFloats, "", PlyFormat::Ascii), std::runtime_error);
    // The device that is always full.
    EXPECT_THROW(cloud::writePly("/dev/full", twoFloats, "", PlyFormat::Ascii), std::runtime_error);
}

} // namespace
