// Members that accept arguments their siblings reject, and compute with them.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

template <class T> T elementAt(const void* base, std::ptrdiff_t bytes)
{
    T value;
    std::memcpy(&value, static_cast<const char*>(base) + bytes, sizeof value);
    return value;
}

constexpr int length = 3, count = 2;

template <class T> struct Vectors {
    std::vector<T> source, constants, result;
    std::vector<const T*> sourceTable;
    std::vector<T*> resultTable;

    Vectors()
        : source(16)
        , constants{T(10), T(20)}
        , result(16, T(-1))
    {
        for (std::size_t i = 0; i < source.size(); ++i)
            source[i] = T(i) + T(0.5);
        for (int k = 0; k < length; ++k) {
            sourceTable.push_back(&source[k + 4]);
            resultTable.push_back(&result[k * count + 4]);
        }
    }
};

TEST(ElementwiseGaps, AddVcaOf64fTablesTakesAnyRoiShift)
{
    for (const int shift : {-16, -8, -2, 0, 2, 3, 4, 8}) {
        Vectors<double> v;
        ASSERT_EQ(tarnmAdd_vca_64f_P(v.sourceTable.data(), shift, v.constants.data(), 8, v.resultTable.data(), shift, 8,
                                     length, count),
                  StatusOk);
        for (int n = 0; n < count; ++n)
            for (int k = 0; k < length; ++k)
                EXPECT_EQ(elementAt<double>(v.resultTable[k], n * 8 + shift),
                          elementAt<double>(v.sourceTable[k], shift) + v.constants[n])
                    << "shift " << shift;
    }
}

TEST(ElementwiseGaps, SubCavOf32fTablesTakesAnyRoiShift)
{
    for (const int shift : {-8, -4, -2, 0, 1, 2, 4}) {
        Vectors<float> v;
        ASSERT_EQ(tarnmSub_cav_32f_P(v.sourceTable.data(), shift, v.constants.data(), 4, v.resultTable.data(), shift, 4,
                                     length, count),
                  StatusOk);
        for (int n = 0; n < count; ++n)
            for (int k = 0; k < length; ++k)
                EXPECT_EQ(elementAt<float>(v.resultTable[k], n * 4 + shift),
                          v.constants[n] - elementAt<float>(v.sourceTable[k], shift))
                    << "shift " << shift;
    }
}

TEST(ElementwiseGaps, AddVacaOf32fTablesTakesAnyObjectStrideOfTheSource)
{
    for (const int stride : {-8, -4, -2, 0, 1, 2, 4}) {
        Vectors<float> v;
        ASSERT_EQ(tarnmAdd_vaca_32f_P(v.sourceTable.data(), 0, stride, v.constants.data(), 4, v.resultTable.data(), 0,
                                      4, length, count),
                  StatusOk);
        for (int n = 0; n < count; ++n)
            for (int k = 0; k < length; ++k)
                EXPECT_EQ(elementAt<float>(v.resultTable[k], n * 4),
                          elementAt<float>(v.sourceTable[k], n * stride) + v.constants[n])
                    << "stride " << stride;
    }
}

TEST(ElementwiseGaps, SiblingsRejectTheSameArguments)
{
    Vectors<float> f;
    Vectors<double> d;
    EXPECT_EQ(
        tarnmAdd_vca_32f_P(f.sourceTable.data(), -4, f.constants.data(), 4, f.resultTable.data(), 0, 4, length, count),
        StatusBadRoiShift);
    EXPECT_EQ(
        tarnmSub_cav_64f_P(d.sourceTable.data(), -8, d.constants.data(), 8, d.resultTable.data(), 0, 8, length, count),
        StatusBadRoiShift);
    EXPECT_EQ(tarnmAdd_vaca_64f_P(d.sourceTable.data(), 0, 0, d.constants.data(), 8, d.resultTable.data(), 0, 8, length,
                                  count),
              StatusBadStride);
}

} // namespace
