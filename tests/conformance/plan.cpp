#include "conformance/plan.h"

#include <algorithm>

#include "support/covering.h"
#include "support/usual_sizes.h"

namespace tarnm::test {
namespace {

const Style denseStyles[] = {Style::packed,   Style::padded,          Style::rowsOf16,
                             Style::rowsOf32, Style::interleavedRows, Style::overlapped};
const Style otherStyles[] = {Style::strided, Style::columnOrder, Style::interleavedObjects};
const Style tableStyles[] = {Style::planes, Style::paddedPlanes, Style::runs, Style::scattered, Style::repeated};

// Around the lanes of all vector widths, and their neighbours.
const int counts[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33};

// Bytes off a 32-byte boundary: every multiple of an element, of half of one, and odd addresses.
const int offsets[] = {0, 4, 8, 12, 16, 20, 24, 28, 1, 2, 6, 17, 31};

bool sharesElements(Style style) { return style == Style::overlapped || style == Style::repeated; }

// The styles of one operand. `mayShare`: objects may have elements in common.
std::vector<Style> stylesOf(const Operand& operand, bool mayShare, bool onlyDense)
{
    std::vector<Style> found;
    const auto add = [&](auto& styles) {
        for (const Style style : styles)
            if (suits(operand, style) && (mayShare || !sharesElements(style))) found.push_back(style);
    };
    add(denseStyles);
    if (!onlyDense) add(otherStyles);
    if (operand.layout == 'L' && !onlyDense && suits(operand, Style::repeated) && mayShare)
        found.push_back(Style::repeated);
    if (found.empty()) add(tableStyles);
    return found;
}

// Styles for all operands at once: the same for all, and mixtures.
std::vector<std::vector<Style>> styleSets(const Member& member, bool mayShare)
{
    constexpr int mixtures = 4;
    const auto operands = member.operands();
    std::vector<std::vector<Style>> sets;
    std::size_t most = 1;
    for (const Operand& operand : operands)
        most = std::max(most, stylesOf(operand, mayShare, false).size());
    for (std::size_t i = 0; i < most; ++i) {
        auto& set = sets.emplace_back();
        for (const Operand& operand : operands) {
            const auto styles = stylesOf(operand, mayShare, false);
            // A style that this operand cannot have is replaced by the one that all can.
            set.push_back(i < styles.size() ? styles[i] : styles[0]);
        }
    }
    for (const bool onlyDense : {true, false})
        for (int i = 0; i < mixtures; ++i) {
            auto& set = sets.emplace_back();
            for (std::size_t k = 0; k < operands.size(); ++k) {
                const auto styles = stylesOf(operands[k], mayShare, onlyDense);
                set.push_back(styles[(std::size_t(i) * (k + 1) + k * k + 1) % styles.size()]);
            }
        }
    return sets;
}

std::vector<Sizes> sizesFor(const Member& member, const reference::Options& options)
{
    if (!options.sizes) return usualSizes(member);
    std::vector<Sizes> found;
    for (const auto& entry : options.sizes(member))
        found.emplace_back(entry.begin(), entry.end());
    return found;
}

bool hasCount(const Member& member)
{
    return std::ranges::any_of(member.arguments(), [](const Argument& a) { return a.kind == Kind::count; });
}

} // namespace

std::vector<Trial> planTrials(const Member& member, const reference::Options& options)
{
    const auto sizes = sizesFor(member, options);
    const auto styles = styleSets(member, !options.fill);
    const int contents = options.cases + (options.specials ? 2 : 0);
    enum { ofSize, ofStyle, ofCount, ofOffset, ofContents, ofPage, ofShift };
    const auto rows = coverPairs({int(sizes.size()), int(styles.size()), hasCount(member) ? int(std::size(counts)) : 1,
                                  int(std::size(offsets)), contents, 2, 2});
    std::vector<Trial> trials;
    for (const auto& row : rows) {
        Trial& trial = trials.emplace_back();
        trial.setup.sizes = sizes[row[ofSize]];
        trial.setup.styles = styles[row[ofStyle]];
        trial.setup.count = hasCount(member) ? counts[row[ofCount]] : 1;
        trial.setup.offset = offsets[row[ofOffset]];
        trial.setup.against = row[ofPage] == 0 ? Against::end : Against::start;
        trial.setup.roiShifts = row[ofShift] == 0;
        trial.specials = row[ofContents] >= options.cases;
        trial.caseNumber = trial.specials ? 0 : row[ofContents];
    }
    return trials;
}

std::vector<Trial> planTeamTrials(const Member& member, const reference::Options& options)
{
    if (!hasCount(member)) return {};
    const auto sizes = sizesFor(member, options);
    const auto styles = styleSets(member, false);
    std::vector<Trial> trials;
    // One style of each path, at small and large objects in turn.
    const std::size_t places[] = {2, sizes.size() / 2, sizes.size() - 1, 4};
    for (std::size_t i = 0; i < std::size(places); ++i) {
        Trial& trial = trials.emplace_back();
        trial.setup.sizes = sizes[std::min(places[i], sizes.size() - 1)];
        trial.setup.styles = styles[i < 2 ? i : styles.size() - 1 - i];
        trial.setup.offset = i == 3 ? 4 : 0;
        trial.caseNumber = int(i) % options.cases;
    }
    return trials;
}

} // namespace tarnm::test
