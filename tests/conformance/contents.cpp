#include "conformance/contents.h"

#include <cmath>
#include <limits>
#include <random>

namespace tarnm::test {
namespace {

template <class T> T specialValue(unsigned choice)
{
    using limits = std::numeric_limits<T>;
    const T values[] = {
        limits::quiet_NaN(),      limits::infinity(), -limits::infinity(), T(-0.0),       T(0),
        limits::denorm_min(),     -limits::min() / 2, limits::min(),       limits::max(), -limits::max(),
        std::sqrt(limits::max()), limits::epsilon()};
    return values[choice % std::size(values)];
}

template <class T> void fill(Call& call, const reference::Options& options, const Trial& trial)
{
    std::mt19937 generator(unsigned(trial.setup.count * 31 + trial.caseNumber * 7 + trial.setup.offset));
    std::uniform_real_distribution<double> uniform(-2, 2);
    const auto operands = call.member().operands();
    const auto overSources = [&](auto apply) {
        for (int i = 0; i < int(operands.size()); ++i) {
            if (operands[i].direction != Direction::in || (operands[i].letter == 'c' && !operands[i].isArray)) continue;
            for (int n = 0; n < call.objects(i); ++n)
                for (int r = 0; r < call.rows(i); ++r)
                    for (int c = 0; c < call.columns(i); ++c)
                        apply(i, n, r, c);
        }
    };
    overSources([&](int i, int n, int r, int c) {
        if (operands[i].letter == 'i')
            call.write(i, n, r, c, std::int32_t(c));
        else
            call.write(i, n, r, c, T(uniform(generator)));
    });
    const auto arguments = call.member().arguments();
    const auto setValue = [&](int argument, T value) {
        if constexpr (sizeof(T) == 4)
            call.value(argument).single = value;
        else
            call.value(argument).real = value;
    };
    for (int i = 0; i < int(arguments.size()); ++i)
        if (arguments[i].kind == Kind::value) setValue(i, T(uniform(generator)));

    if (options.fill) {
        reference::Filler filler(call, trial.caseNumber, generator);
        for (int n = 0; n < call.setup().count; ++n) {
            filler.goTo(n);
            options.fill(filler);
        }
    }
    if (!trial.specials) return;
    overSources([&](int i, int n, int r, int c) {
        const unsigned choice = unsigned(generator());
        if (operands[i].letter != 'i' && choice % 5 == 0) call.write(i, n, r, c, specialValue<T>(choice / 5));
    });
    for (int i = 0; i < int(arguments.size()); ++i)
        if (const unsigned choice = unsigned(generator()); arguments[i].kind == Kind::value && choice % 3 == 0)
            setValue(i, specialValue<T>(choice / 3));
}

} // namespace

void fillSources(Call& call, const reference::Options& options, const Trial& trial)
{
    if (call.member().type == Type::f32)
        fill<float>(call, options, trial);
    else
        fill<double>(call, options, trial);
}

} // namespace tarnm::test
