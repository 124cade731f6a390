// Matrices, maps and blocks of Eigen as operands.
#include <Eigen/Core>

#include <vector>

#include <gtest/gtest.h>

#include "tarnm/tarnm.hpp"

namespace tarnm::test {
namespace {

TEST(EigenViews, MatricesStoredByColumnsAndByRows)
{
    Eigen::MatrixXd a(2, 3);
    Eigen::Matrix<double, 3, 2, Eigen::RowMajor> b;
    a << 1, 2, 3, 4, 5, 6;
    b << 1, 0, 2, 1, 0, 3;
    Eigen::MatrixXd product(2, 2);
    multiply(a, b, product);
    EXPECT_EQ(product(0, 0), 5);
    EXPECT_EQ(product(0, 1), 11);
    EXPECT_EQ(product(1, 0), 14);
    EXPECT_EQ(product(1, 1), 23);
    std::vector<double> elements(9);
    multiply(transposed(a), transposed(b), Eigen::Map<Eigen::MatrixXd>(elements.data(), 3, 3));
    EXPECT_EQ(elements[0 + 3 * 2], 12);
}

TEST(EigenViews, BlocksAndVectors)
{
    Eigen::Matrix4f m = Eigen::Matrix4f::Zero();
    Eigen::Vector3f x(1, 2, 3);
    auto column = m.block<3, 1>(1, 2);
    scale(x, 2, column);
    EXPECT_EQ(m(3, 2), 6);
    EXPECT_EQ(m.sum(), 12);
    const Eigen::Vector3f& constant = x;
    EXPECT_EQ(dot(constant, x), 14);
}

TEST(EigenViews, ContainersOfFixedMatrices)
{
    std::vector<Eigen::Matrix3d> a(10), inverse(10);
    for (std::size_t n = 0; n < a.size(); ++n)
        a[n] << 2, 1, 0, 0, double(n + 1), 0, 0, 0, 4;
    invert(a, inverse);
    for (std::size_t n = 0; n < a.size(); ++n)
        EXPECT_LE((a[n] * inverse[n] - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff(), 1e-14);
}

} // namespace
} // namespace tarnm::test
