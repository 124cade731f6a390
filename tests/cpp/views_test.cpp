// Where views say that elements lie, and what views are made of.
#include <array>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "cpp/samples.h"

namespace tarnm::test {
namespace {

TEST(Views, PackedStridesFollowFromSizes)
{
    double elements[2 * 3 * 4];
    const matrix_array<double> a(elements, 2, 3, 4);
    EXPECT_EQ(a.element_stride(), 8);
    EXPECT_EQ(a.row_stride(), 32);
    EXPECT_EQ(a.object_stride(), 96);
    EXPECT_EQ(a.address(1, 2, 3), elements + 23);
}

TEST(Views, StridesCountBytes)
{
    float elements[100];
    const matrix_array<float> a(elements, 2, 3, 4, {.object = 200, .row = 40, .element = 8});
    EXPECT_EQ(a.address(1, 2, 3), elements + 50 + 20 + 6);
    EXPECT_EQ(transposed(a).address(1, 3, 2), a.address(1, 2, 3));
    EXPECT_EQ(transposed(a).rows(), 4);
    EXPECT_EQ(transposed(a).columns(), 3);
}

TEST(Views, EveryLayoutFindsTheSameElements)
{
    Matrices<float> m(3, 2, 4);
    const auto strided = m.strided();
    for (std::ptrdiff_t n = 0; n < 3; ++n)
        for (std::ptrdiff_t r = 0; r < 2; ++r)
            for (std::ptrdiff_t c = 0; c < 4; ++c) {
                EXPECT_EQ(strided.address(n, r, c), &m.at(n, r, c));
                EXPECT_EQ(m.list().address(n, r, c), &m.at(n, r, c));
                EXPECT_EQ(m.elements().address(n, r, c), &m.at(n, r, c));
            }
}

TEST(Views, PartsAndSingleObjectsBeginAtTheirObject)
{
    Matrices<double> m(5, 2, 3);
    const auto strided = m.strided();
    const auto list = m.list();
    EXPECT_EQ(strided.objects(2, 3).address(1, 1, 2), &m.at(3, 1, 2));
    EXPECT_EQ(strided.objects(2, 3).count(), 3);
    EXPECT_EQ(list.objects(2, 3).address(1, 1, 2), &m.at(3, 1, 2));
    EXPECT_EQ(strided[4].address(0, 1, 2), &m.at(4, 1, 2));
    EXPECT_EQ(list[4].address(0, 1, 2), &m.at(4, 1, 2));
    const auto elements = m.elements();
    EXPECT_EQ(elements.objects(2, 3).address(1, 1, 2), &m.at(3, 1, 2));
    EXPECT_EQ(elements[4].address(0, 1, 2), &m.at(4, 1, 2));
}

TEST(Views, StructureOfArraysNeedsNoStride)
{
    std::array<float, 4> x{}, y{}, z{};
    std::array<float*, 3> table{x.data(), y.data(), z.data()};
    const vector_elements_array<float> points(table.data(), 4, 3);
    EXPECT_EQ(points.address(2, 0, 1), &y[2]);
}

TEST(ViewOf, ContainersOfNumbersAreVectors)
{
    std::vector<double> a(7);
    std::array<double, 3> b{};
    double c[4];
    EXPECT_EQ(view_of(a).size(), 7);
    EXPECT_EQ(view_of(b).size(), 3);
    EXPECT_EQ(view_of(c).size(), 4);
    EXPECT_EQ(view_of(std::span(a)).origin(), a.data());
    const auto& constant = a;
    static_assert(std::same_as<decltype(view_of(constant)), vector_view<const double>>);
}

TEST(ViewOf, ContainersOfArraysAreArraysOfObjects)
{
    std::vector<std::array<float, 3>> points(5);
    EXPECT_EQ(view_of(points).count(), 5);
    EXPECT_EQ(view_of(points).size(), 3);
    EXPECT_EQ(view_of(points).object_stride(), 12);
    std::vector<std::array<std::array<float, 4>, 2>> matrices(3);
    const auto seen = view_of(matrices);
    EXPECT_EQ(seen.count(), 3);
    EXPECT_EQ(seen.rows(), 2);
    EXPECT_EQ(seen.columns(), 4);
    EXPECT_EQ(seen.address(2, 1, 3), &matrices[2][1][3]);
}

TEST(ViewOf, AnArrayOfArraysIsOneMatrixAndObjectsOfTellsOtherwise)
{
    std::array<std::array<float, 3>, 5> rows{};
    EXPECT_EQ(view_of(rows).rows(), 5);
    EXPECT_EQ(objects_of(rows).count(), 5);
    float matrices[6][2][2];
    EXPECT_EQ(view_of(matrices).count(), 6);
    EXPECT_EQ(view_of(matrices).address(5, 1, 0), &matrices[5][1][0]);
}

struct Particle {
    std::array<float, 3> place;
    float mass;
};

} // namespace
} // namespace tarnm::test

template <> struct tarnm::object_traits<tarnm::test::Particle> : tarnm::vector_object<float, 3> {};

namespace tarnm::test {
namespace {

TEST(ViewOf, ATypeOfOnesOwnIsAnObjectByItsTraits)
{
    std::vector<Particle> particles(4);
    const auto places = view_of(particles);
    EXPECT_EQ(places.object_stride(), 16);
    EXPECT_EQ(places.address(3, 0, 2), &particles[3].place[2]);
}

// A matrix in the manner of Eigen, stored by columns.
struct ByColumns {
    using Scalar = double;
    using PlainObject = ByColumns;
    static constexpr bool IsVectorAtCompileTime = false, IsRowMajor = false;
    static constexpr int SizeAtCompileTime = 6, RowsAtCompileTime = 2, ColsAtCompileTime = 3;
    double elements[6];
    double* data() { return elements; }
    const double* data() const { return elements; }
    std::ptrdiff_t rows() const { return 2; }
    std::ptrdiff_t cols() const { return 3; }
    std::ptrdiff_t rowStride() const { return 1; }
    std::ptrdiff_t colStride() const { return 2; }
    std::ptrdiff_t innerStride() const { return 1; }
    std::ptrdiff_t size() const { return 6; }
};

TEST(ViewOf, AMatrixStoredByColumnsIsReadWhereItLies)
{
    ByColumns m{{11, 21, 12, 22, 13, 23}};
    EXPECT_EQ(*view_of(m).address(0, 1, 2), 23);
    EXPECT_EQ(*view_of(m).address(0, 0, 1), 12);
    std::vector<ByColumns> many(3, m);
    EXPECT_EQ(view_of(many).count(), 3);
    EXPECT_EQ(view_of(many).address(2, 1, 2), &many[2].elements[5]);
}

} // namespace
} // namespace tarnm::test
