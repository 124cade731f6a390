#include "ply.h"

#include "progress.h"

#include <bit>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <type_traits>

namespace cloud {
namespace {

template <class T> using BitsOf = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

template <class T> void appendLittleEndian(std::string& text, const Point<T>& point)
{
    for (T value : point) {
        auto bits = std::bit_cast<BitsOf<T>>(value);
        for (std::size_t k = 0; k < sizeof bits; ++k, bits >>= 8)
            text.push_back(static_cast<char>(bits & 0xff));
    }
}

template <class T> void appendAscii(std::string& text, const Point<T>& point)
{
    char digits[64];
    for (std::size_t k = 0; k < point.size(); ++k) {
        text.append(digits, std::to_chars(digits, digits + sizeof digits, point[k]).ptr);
        text.push_back(k + 1 < point.size() ? ' ' : '\n');
    }
}

template <class T> std::string headerOf(const Points<T>& points, const std::string& comment, PlyFormat format)
{
    std::string text = "ply\nformat ";
    text += format == PlyFormat::Ascii ? "ascii 1.0\n" : "binary_little_endian 1.0\n";
    std::istringstream lines(comment);
    for (std::string line; std::getline(lines, line);)
        text += "comment " + line + "\n";
    text += "element vertex " + std::to_string(points.size()) + "\n";
    for (char name : {'x', 'y', 'z'})
        text += std::string("property ") + (sizeof(T) == 4 ? "float " : "double ") + name + "\n";
    return text + "end_header\n";
}

} // namespace

template <class T>
void writePly(const std::string& file, const Points<T>& points, const std::string& comment, PlyFormat format)
{
    errno = 0;
    std::ofstream stream(file, std::ios::binary);
    Progress progress("writing " + file, points.size());
    std::string text = headerOf(points, comment, format);
    constexpr std::size_t piece = 1 << 16;
    for (std::size_t n = 0; n < points.size() && stream; ++n) {
        progress.at(n);
        if (format == PlyFormat::Ascii)
            appendAscii(text, points[n]);
        else
            appendLittleEndian(text, points[n]);
        if (text.size() < piece) continue;
        stream << text;
        text.clear();
    }
    stream << text;
    stream.close();
    if (!stream) throw std::runtime_error(file + " cannot be written: " + std::strerror(errno));
}

template void writePly(const std::string&, const Points<float>&, const std::string&, PlyFormat);
template void writePly(const std::string&, const Points<double>&, const std::string&, PlyFormat);

} // namespace cloud
