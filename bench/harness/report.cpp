#include "harness/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace bench {
namespace {

const Entrant& quickest(const std::vector<Entrant>& entrants, Role role)
{
    const Entrant* best = nullptr;
    for (const Entrant& entrant : entrants)
        if (entrant.role == role && (best == nullptr || entrant.minimum < best->minimum)) best = &entrant;
    return *best;
}

// Three digits that count.
std::string digits(double value)
{
    char text[40];
    const int decimals = value < 1 ? 3 : value < 10 ? 2 : value < 100 ? 1 : 0;
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string twoDecimals(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

// Rows that were measured with one thread and with two: how much quicker two are. Where one thread needs less than twice
// the time for its bytes, memory may be what holds two back, and the row is left out.
std::string gainOfThreads(const std::vector<Finding>& findings)
{
    constexpr double enough = 1.7;
    int rows = 0, good = 0;
    double least = 0;
    std::string leastRow;
    for (const Finding& two : findings) {
        const auto one = std::find_if(findings.begin(), findings.end(),
                                      [&](const Finding& other) { return other.row + "/2t" == two.row; });
        if (one == findings.end() || one->ours().minimum < 2 * one->moving) continue;
        const double gain = one->ours().minimum / two.ours().minimum;
        ++rows;
        good += gain >= enough;
        if (rows == 1 || gain < least) {
            least = gain;
            leastRow = two.row;
        }
    }
    if (rows == 0) return "";
    return "two threads at least " + twoDecimals(enough) + " times as quick as one in " + std::to_string(good) +
           " of " + std::to_string(rows) + " rows that memory does not bound, at least " + twoDecimals(least) + " (" +
           leastRow + ")\n";
}

} // namespace

const Entrant& Finding::bestPeer() const { return quickest(entrants, Role::peer); }
const Entrant& Finding::ours() const { return quickest(entrants, Role::ours); }

const char* tableHead()
{
    return "| row | ours | ns | median | to best peer | by median | to bound | best peer | ns | others, ns |\n"
           "|---|---|--:|--:|--:|--:|--:|---|--:|---|\n";
}

std::string tableLines(const Finding& finding)
{
    const Entrant& best = finding.bestPeer();
    std::string others;
    for (const Entrant& entrant : finding.entrants)
        if (entrant.role != Role::ours && &entrant != &best)
            others += (others.empty() ? "" : ", ") + entrant.name + " " + digits(entrant.minimum);
    std::string text;
    for (const Entrant& ours : finding.entrants) {
        if (ours.role != Role::ours) continue;
        text += "| " + (text.empty() ? finding.row : "") + " | " + ours.name + " | " + digits(ours.minimum) + " | " +
                digits(ours.median) + " | " + twoDecimals(ours.minimum / best.minimum) + " | " +
                twoDecimals(ours.median / best.median) + " | " + twoDecimals(ours.minimum / finding.bound()) + " | " +
                (text.empty() ? best.name + " | " + digits(best.minimum) + " | " + others : " | |") + " |\n";
    }
    return text;
}

std::string summary(const std::vector<Finding>& findings)
{
    struct Ratios {
        double logarithms = 0, worst = 0;
        int rows = 0, slower = 0;
        std::string worstRow;
    };
    std::map<std::string, Ratios> builds;
    for (const Finding& finding : findings) {
        for (const Entrant& ours : finding.entrants) {
            if (ours.role != Role::ours) continue;
            const double ratio = ours.minimum / finding.bestPeer().minimum;
            Ratios& ratios = builds[ours.name];
            ratios.logarithms += std::log(ratio);
            ratios.rows += 1;
            ratios.slower += ratio > 1.05;
            if (ratio > ratios.worst) {
                ratios.worst = ratio;
                ratios.worstRow = finding.row;
            }
        }
    }
    std::string text;
    for (const auto& [name, ratios] : builds)
        text += name + ": time relative to the best peer " + twoDecimals(std::exp(ratios.logarithms / ratios.rows)) +
                " in the mean of " + std::to_string(ratios.rows) + " rows, above 1.05 in " +
                std::to_string(ratios.slower) + ", at most " + twoDecimals(ratios.worst) + " (" + ratios.worstRow +
                ")\n";
    return text + gainOfThreads(findings);
}

std::string json(const std::vector<Finding>& findings, const std::string& machine)
{
    static const std::map<Role, std::string> roles = {
        {Role::ours, "ours"}, {Role::peer, "peer"}, {Role::floor, "floor"}};
    std::string text = "{\"unit\": \"ns per object\", \"machine\": " + machine + ",\n\"rows\": [";
    char numbers[200];
    const char* separator = "\n";
    for (const Finding& finding : findings) {
        std::snprintf(numbers, sizeof numbers, "\"count\": %d, \"threads\": %d, \"bound\": %.6g", finding.count,
                      finding.threads, finding.bound());
        text += separator + ("{\"row\": \"" + finding.row) + "\", " + numbers + ", \"contenders\": [";
        const char* comma = "";
        for (const Entrant& entrant : finding.entrants) {
            std::snprintf(numbers, sizeof numbers, "\"minimum\": %.6g, \"median\": %.6g", entrant.minimum,
                          entrant.median);
            text += comma + ("{\"name\": \"" + entrant.name) + "\", \"role\": \"" + roles.at(entrant.role) + "\", " +
                    numbers + "}";
            comma = ", ";
        }
        text += "]}";
        separator = ",\n";
    }
    return text + "\n]}\n";
}

} // namespace bench
