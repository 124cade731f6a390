// What a failing call tells: an exception with all that is known, or a status.
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "cpp/samples.h"

namespace tarnm::test {
namespace {

template <class Call>
void expect_error(Call call, const char* function, const std::string& argument, std::ptrdiff_t value, status wanted)
{
    try {
        call();
        FAIL() << "nothing was thrown";
    } catch (const error& e) {
        EXPECT_STREQ(e.function(), function);
        EXPECT_EQ(e.argument(), argument);
        EXPECT_EQ(e.value(), value);
        EXPECT_EQ(e.status(), wanted) << e.what();
    }
}

TEST(Errors, ShapesThatDoNotFitAreNamed)
{
    Matrices<float> a(4, 2, 3), b(4, 2, 4), c(3, 2, 3), d(4, 2, 3);
    expect_error([&] { add(a.strided(), b.strided(), d.strided()); }, "add", "b.columns", 4, StatusSizeMismatch);
    expect_error([&] { add(a.strided(), c.strided(), d.strided()); }, "add", "b.count", 3, StatusSizeMismatch);
    expect_error([&] { multiply(a.strided(), b.strided(), d.strided()); }, "multiply", "b.rows", 2, StatusSizeMismatch);
    std::vector<float> few(3);
    expect_error([&] { trace(a.strided(), few); }, "trace", "a.columns", 3, StatusSizeMismatch);
    expect_error([&] { frobenius_norm(a.strided(), few); }, "frobenius_norm", "numbers.size", 3, StatusSizeMismatch);
}

TEST(Errors, ArgumentsThatTheLibraryRefusesAreNamed)
{
    float x[64] = {};
    const vector_array<float> odd(x, 2, 3, {.object = 14});
    const vector_array<float> good(x, 2, 3);
    expect_error([&] { add(good, odd, good); }, "add", "b.object_stride", 14, StatusBadStride);
    const vector_array<float> null(nullptr, 2, 3);
    expect_error([&] { add(null, good, good); }, "add", "a.data", 0, StatusNullPointer);
    const vector_array<float> empty(x, 2, 0);
    expect_error([&] { add(empty, empty, empty); }, "add", "result.size", 0, StatusBadSize);
    float* table[2] = {x, x};
    const vector_list<float> list(table, 2, 3);
    const vector_list<float> shifted(table, 2, 3, {}, 2);
    expect_error([&] { add(shifted, list, list); }, "add", "a.shift", 2, StatusBadRoiShift);
}

#if PTRDIFF_MAX > INT32_MAX
TEST(Errors, SizesBeyond32BitsAreRefusedByTheView)
{
    float x;
    expect_error([&] { vector_view<float>(&x, std::ptrdiff_t{1} << 32); }, "view", "size", std::ptrdiff_t{1} << 32,
                 StatusBadSize);
}
#endif

TEST(Errors, WithNothrowTheStatusComesBack)
{
    Matrices<float> a(4, 2, 3), b(4, 2, 4), d(4, 2, 3);
    EXPECT_EQ(add(a.strided(), b.strided(), d.strided(), std::nothrow), StatusSizeMismatch);
    EXPECT_EQ(add(a.strided(), a.strided(), d.strided(), std::nothrow), StatusOk);
}

TEST(Errors, AnArrayWithoutObjectsIsNoFailure)
{
    const vector_array<float> none(nullptr, 0, 3);
    EXPECT_NO_THROW(add(none, none, none));
    EXPECT_EQ(add(none, none, none, std::nothrow), StatusOk);
}

TEST(Errors, TheMessageSaysWhatAndWhere)
{
    Matrices<float> a(4, 2, 3), b(4, 2, 4), d(4, 2, 3);
    try {
        add(a.strided(), b.strided(), d.strided());
    } catch (const error& e) {
        EXPECT_STREQ(e.what(), "tarnm::add: two sizes that must agree do not: b.columns = 4 (StatusSizeMismatch)");
    }
    EXPECT_STREQ(status_name(StatusNotConverged), "StatusNotConverged");
}

TEST(Errors, NothingIsWrittenWhereShapesDoNotFit)
{
    Vectors<double> a(3, 3), b(3, 4), d(3, 3, 8);
    const double before = d.at(1, 1);
    EXPECT_THROW(add(a.strided(), b.strided(), d.strided()), error);
    EXPECT_EQ(d.at(1, 1), before);
}

} // namespace
} // namespace tarnm::test
