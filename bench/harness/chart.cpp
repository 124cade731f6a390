#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include "harness/report.h"

namespace bench {
namespace {

// Pixels.
constexpr int rowHeight = 16, labelWidth = 210, plotWidth = 640, top = 70, margin = 20;
// Times from a quarter of the best peer's to sixteen times as long; what lies outside is drawn at the edge.
constexpr double leftmost = -2, rightmost = 4;

double x(double ratio)
{
    const double position = (std::clamp(std::log2(ratio), leftmost, rightmost) - leftmost) / (rightmost - leftmost);
    return labelWidth + position * plotWidth;
}

// Every contender has its colour in all rows, ours the first ones.
std::map<std::string, std::string> colours(const std::vector<Finding>& findings)
{
    static const char* const palette[] = {"#c1272d", "#e8862e", "#7a1f5c", "#0072b2", "#009e73", "#56b4e9",
                                          "#8c6d31", "#666666", "#b8a9d9", "#222222", "#a0c020", "#d0a0a0"};
    std::map<std::string, std::string> assigned;
    std::size_t next[2] = {0, 3};
    for (const Finding& finding : findings)
        for (const Entrant& entrant : finding.entrants) {
            const bool ours = entrant.role == Role::ours;
            std::size_t& number = next[ours ? 0 : 1];
            if (assigned.emplace(entrant.name, palette[number % std::size(palette)]).second) ++number;
        }
    return assigned;
}

} // namespace

std::string chart(const std::vector<Finding>& findings, const std::string& title)
{
    const auto colourOf = colours(findings);
    const int width = labelWidth + plotWidth + 2 * margin;
    const int bottom = top + rowHeight * int(findings.size());
    std::ostringstream svg;
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << bottom + margin
        << "\" font-family=\"sans-serif\" font-size=\"11\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"" << margin << "\" y=\"18\" font-size=\"13\">" << title << "</text>\n";

    int legend = margin;
    for (const auto& [name, colour] : colourOf) {
        svg << "<circle cx=\"" << legend << "\" cy=\"34\" r=\"4\" fill=\"" << colour << "\"/><text x=\"" << legend + 8
            << "\" y=\"38\">" << name << "</text>\n";
        legend += 24 + 7 * int(name.size());
    }
    for (double power = leftmost; power <= rightmost; ++power) {
        const double ratio = std::exp2(power);
        svg << "<line x1=\"" << x(ratio) << "\" x2=\"" << x(ratio) << "\" y1=\"" << top - 6 << "\" y2=\"" << bottom
            << "\" stroke=\"" << (power == 0 ? "#000000" : "#dddddd") << "\"/><text x=\"" << x(ratio) << "\" y=\""
            << top - 10 << "\" text-anchor=\"middle\">" << ratio << "</text>\n";
    }
    for (std::size_t r = 0; r < findings.size(); ++r) {
        const double best = findings[r].bestPeer().minimum;
        const int y = top + rowHeight * int(r) + rowHeight / 2;
        svg << "<text x=\"" << labelWidth - 10 << "\" y=\"" << y + 4 << "\" text-anchor=\"end\">" << findings[r].row
            << "</text><line x1=\"" << x(findings[r].bound() / best) << "\" x2=\"" << x(findings[r].bound() / best)
            << "\" y1=\"" << y - 5 << "\" y2=\"" << y + 5 << "\" stroke=\"#999999\" stroke-width=\"2\"/>\n";
        // Ours last, on top of the others.
        for (const bool ours : {false, true})
            for (const Entrant& entrant : findings[r].entrants)
                if ((entrant.role == Role::ours) == ours)
                    svg << "<circle cx=\"" << x(entrant.minimum / best) << "\" cy=\"" << y << "\" r=\"4\" fill=\""
                        << colourOf.at(entrant.name) << "\"><title>" << entrant.name << ": " << entrant.minimum
                        << " ns</title></circle>\n";
    }
    svg << "</svg>\n";
    return svg.str();
}

} // namespace bench
