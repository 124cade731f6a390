#include "bits.h"

#include <cstring>

namespace tarnm::test {

void expectSame(std::span<const float> got, std::span<const float> expected)
{
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        const bool same =
            std::isnan(expected[i]) ? std::isnan(got[i]) : std::memcmp(&got[i], &expected[i], sizeof(float)) == 0;
        EXPECT_TRUE(same) << "element " << i << ": expected " << expected[i] << ", found " << got[i];
    }
}

Random::Random(unsigned seed)
    : generator(seed)
{}

float Random::number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(generator); }

void Random::fill(std::span<float> values)
{
    for (float& value : values)
        value = number();
}

std::vector<float> Random::vector(std::size_t n)
{
    std::vector<float> values(n);
    fill(values);
    return values;
}

} // namespace tarnm::test
