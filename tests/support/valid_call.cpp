#include "support/valid_call.h"

#include <algorithm>

#include "support/usual_sizes.h"

namespace tarnm::test {

std::vector<Style> simpleStyles(const Member& member)
{
    std::vector<Style> styles;
    for (const Operand& operand : member.operands())
        styles.push_back(suits(operand, Style::packed) ? Style::packed : Style::planes);
    return styles;
}

void fillWithIdentities(Call& call)
{
    const Member& member = call.member();
    for (int i = 0; i < int(member.operands().size()); ++i) {
        const Operand& operand = member.operands()[i];
        if (operand.direction != Direction::in || (operand.letter == 'c' && !operand.isArray)) continue;
        for (int n = 0; n < call.objects(i); ++n)
            for (int r = 0; r < call.rows(i); ++r)
                for (int c = 0; c < call.columns(i); ++c) {
                    if (operand.letter == 'i')
                        call.write(i, n, r, c, std::int32_t(c));
                    else if (member.type == Type::f32)
                        call.write(i, n, r, c, r == c ? 2.0f : 0.0f);
                    else
                        call.write(i, n, r, c, r == c ? 2.0 : 0.0);
                }
    }
}

Call validCall(const Member& member, int count)
{
    Setup setup;
    for (const Sizes& sizes : usualSizes(member)) {
        setup.sizes = sizes;
        if (std::all_of(sizes.begin(), sizes.end(), [](const auto& size) { return size.second == 3; })) break;
    }
    setup.count = count;
    setup.styles = simpleStyles(member);
    Call call(member, setup);
    fillWithIdentities(call);
    return call;
}

} // namespace tarnm::test
