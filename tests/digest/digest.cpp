#include "digest/digest.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "conformance/contents.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

// FNV-1a
class Hash {
public:
    void add(std::uint64_t bits)
    {
        for (int byte = 0; byte < 8; ++byte, bits >>= 8)
            value = (value ^ (bits & 0xff)) * 0x100000001b3;
    }
    std::uint64_t result() const { return value; }

private:
    std::uint64_t value = 0xcbf29ce484222325;
};

template <class T> std::uint64_t bitsOf(T value)
{
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(value)) return ~std::uint64_t(0);
        if constexpr (sizeof(T) == 4) return std::bit_cast<std::uint32_t>(value);
        if constexpr (sizeof(T) == 8) return std::bit_cast<std::uint64_t>(value);
    }
    return std::uint64_t(std::int64_t(value));
}

std::uint64_t bitsOf(const Call& call, int operand, int n, int r, int c)
{
    if (call.member().operands()[operand].letter == 'i') return bitsOf(call.read<std::int32_t>(operand, n, r, c));
    if (call.member().type == Type::f32) return bitsOf(call.read<float>(operand, n, r, c));
    return bitsOf(call.read<double>(operand, n, r, c));
}

} // namespace

const reference::Options& optionsOf(const Member& member)
{
    const auto found = reference::registrationsOf(member);
    if (found.size() != 1) throw std::logic_error(std::string(member.name) + " needs exactly one reference");
    return found.front()->options;
}

Results resultsOf(const Call& call, tarnmStatus status)
{
    Results results{status, {}};
    const auto operands = call.member().operands();
    results.objects.resize(std::size_t(std::max(1, call.setup().count)));
    for (int i = 0; i < int(operands.size()); ++i) {
        if (operands[i].direction != Direction::out) continue;
        for (int n = 0; n < call.objects(i); ++n)
            for (int r = 0; r < call.rows(i); ++r)
                for (int c = 0; c < call.columns(i); ++c)
                    results.objects[n].push_back(bitsOf(call, i, n, r, c));
    }
    return results;
}

std::uint64_t digestOf(const Member& member)
{
    const reference::Options& options = optionsOf(member);
    Hash hash;
    for (const Trial& trial : planTrials(member, options)) {
        Call call(member, trial.setup);
        fillSources(call, options, trial);
        answerThreadCount({1});
        const Results results = resultsOf(call, call());
        hash.add(std::uint64_t(std::int64_t(results.status)));
        for (const auto& object : results.objects)
            for (const std::uint64_t bits : object)
                hash.add(bits);
    }
    return hash.result();
}

} // namespace tarnm::test
