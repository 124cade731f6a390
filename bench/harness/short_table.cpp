#include "harness/short_table.h"

#include <algorithm>
#include <cstdio>

namespace bench {
namespace {

struct Line {
    const char* row; // without type and count
    const char* operation;
};

// Every family by its commonest members, 1000 objects each.
constexpr int objects = 1000;
constexpr Line lines[] = {
    {"add_vava/3", "sum of two vectors, length 3"},
    {"saxpy_vava/3", "multiple of a vector plus a vector, length 3"},
    {"dot_vava/3", "dot product, length 3"},
    {"l2norm_va/3", "length of a vector, length 3"},
    {"cross_vava/3", "cross product"},
    {"mul_mva/3", "one matrix by many vectors, 3×3"},
    {"mul_mava/3", "matrix by vector, 3×3"},
    {"mul_mava/4", "matrix by vector, 4×4"},
    {"mul_mama/3", "matrix by matrix, 3×3"},
    {"mul_mama/4", "matrix by matrix, 4×4"},
    {"mul_mama/6", "matrix by matrix, 6×6"},
    {"transpose_ma/4", "transpose, 4×4"},
    {"det/3", "determinant, 3×3"},
    {"det/4", "determinant, 4×4"},
    {"inverse/3", "inverse, 3×3"},
    {"inverse/4", "inverse, 4×4"},
    {"inverse/6", "inverse, 6×6"},
    {"lu_decompose_solve/3", "LU factors and solution, 3×3"},
    {"lu_decompose_solve/4", "LU factors and solution, 4×4"},
    {"lu_decompose_solve/6", "LU factors and solution, 6×6"},
    {"cholesky_factor/4", "Cholesky factor, 4×4"},
    {"cholesky_solve/4", "solution with a Cholesky factor, 4×4"},
    {"qr_factor/4", "QR factors, 4×4"},
    {"qr_solve/4", "solution with QR factors, 4×4"},
    {"eigen_sym_vectors/3", "symmetric eigenvalues and vectors, 3×3"},
    {"eigen_right/4", "general eigenvalues and vectors, 4×4"},
    {"affine_m4v3a", "points through a 4×4 matrix"},
    {"coord_m4v3a", "points through a 4×4 matrix, with the divide"},
};
constexpr const char* types[] = {"32f", "64f"};

std::string rowName(const Line& line, const char* type)
{
    return std::string(line.row) + "/" + type + "/" + std::to_string(objects);
}

// Three digits that count.
std::string digits(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.*f", value < 10 ? 2 : value < 100 ? 1 : 0, value);
    return text;
}

// Ours, the best peer, and how many times as fast.
std::string cells(const Finding* finding)
{
    if (finding == nullptr) return "| | | ";
    const Entrant &ours = finding->ours(), &peer = finding->bestPeer();
    const double factor = peer.minimum / ours.minimum;
    const std::string text = digits(factor);
    return "| " + digits(ours.minimum) + " | " + digits(peer.minimum) + " " + peer.name + " | " +
           (factor >= 1 ? "**" + text + "**" : text) + " ";
}

} // namespace

bool isInShortTable(const std::string& row)
{
    return std::any_of(std::begin(lines), std::end(lines), [&](const Line& line) {
        return std::any_of(std::begin(types), std::end(types),
                           [&](const char* type) { return row == rowName(line, type); });
    });
}

std::string shortTable(const std::vector<Finding>& findings, const std::string& processor)
{
    std::string text =
        "| " + std::to_string(objects) +
        " packed objects | ours, single | best peer | times as fast | ours, double | best peer | times as fast |\n"
        "|---|--:|:--|--:|--:|:--|--:|\n";
    const auto find = [&](const std::string& row) -> const Finding* {
        const auto found =
            std::find_if(findings.begin(), findings.end(), [&](const Finding& finding) { return finding.row == row; });
        return found == findings.end() ? nullptr : &*found;
    };
    for (const Line& line : lines) {
        const Finding *single = find(rowName(line, types[0])), *twice = find(rowName(line, types[1]));
        if (single != nullptr || twice != nullptr)
            text += "| " + std::string(line.operation) + " " + cells(single) + cells(twice) + "|\n";
    }
    return text + "\nNanoseconds per object, one thread, the quickest of many runs, on " + processor + ".\n";
}

} // namespace bench
