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

template <class T> void appendLittleEndian(std::string& text, T value)
{
    auto bits = std::bit_cast<BitsOf<T>>(value);
    for (std::size_t k = 0; k < sizeof bits; ++k, bits >>= 8)
        text.push_back(static_cast<char>(bits & 0xff));
}

template <class T> void appendAscii(std::string& text, T value)
{
    char digits[64];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    text.push_back(' ');
}

template <class T> void append(std::string& text, T value, PlyFormat format)
{
    if (format == PlyFormat::Ascii)
        appendAscii(text, value);
    else
        appendLittleEndian(text, value);
}

template <class T>
std::string headerOf(const Points<T>& points, const std::string& comment, PlyFormat format, const Surface* surface)
{
    std::string text = "ply\nformat ";
    text += format == PlyFormat::Ascii ? "ascii 1.0\n" : "binary_little_endian 1.0\n";
    std::istringstream lines(comment);
    for (std::string line; std::getline(lines, line);)
        text += "comment " + line + "\n";
    text += "element vertex " + std::to_string(points.size()) + "\n";
    for (char name : {'x', 'y', 'z'})
        text += std::string("property ") + (sizeof(T) == 4 ? "float " : "double ") + name + "\n";
    if (surface != nullptr) {
        for (const char* name : {"nx", "ny", "nz", "curvature"})
            text += std::string("property float ") + name + "\n";
    }
    return text + "end_header\n";
}

} // namespace

template <class T>
void writePly(const std::string& file, const Points<T>& points, const std::string& comment, PlyFormat format,
              const Surface* surface)
{
    errno = 0;
    std::ofstream stream(file, std::ios::binary);
    Progress progress("writing " + file, points.size());
    std::string text = headerOf(points, comment, format, surface);
    constexpr std::size_t piece = 1 << 16;
    for (std::size_t n = 0; n < points.size() && stream; ++n) {
        progress.at(n);
        for (T value : points[n])
            append(text, value, format);
        if (surface != nullptr) {
            for (float value : surface->normals[n])
                append(text, value, format);
            append(text, surface->curvature[n], format);
        }
        if (format == PlyFormat::Ascii) text.back() = '\n';
        if (text.size() < piece) continue;
        stream << text;
        text.clear();
    }
    stream << text;
    stream.close();
    if (!stream) throw std::runtime_error(file + " cannot be written: " + std::strerror(errno));
}

template void writePly(const std::string&, const Points<float>&, const std::string&, PlyFormat, const Surface*);
template void writePly(const std::string&, const Points<double>&, const std::string&, PlyFormat, const Surface*);

} // namespace cloud
