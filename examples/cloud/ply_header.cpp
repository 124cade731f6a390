#include "ply_header.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace cloud {
namespace {

using Words = std::vector<std::string>;

constexpr std::pair<std::string_view, PlyScalar> scalarNames[] = {
    {"char", PlyScalar::Int8},      {"int8", PlyScalar::Int8},       {"uchar", PlyScalar::UInt8},
    {"uint8", PlyScalar::UInt8},    {"short", PlyScalar::Int16},     {"int16", PlyScalar::Int16},
    {"ushort", PlyScalar::UInt16},  {"uint16", PlyScalar::UInt16},   {"int", PlyScalar::Int32},
    {"int32", PlyScalar::Int32},    {"uint", PlyScalar::UInt32},     {"uint32", PlyScalar::UInt32},
    {"float", PlyScalar::Float32},  {"float32", PlyScalar::Float32}, {"double", PlyScalar::Float64},
    {"float64", PlyScalar::Float64}};

constexpr std::pair<std::string_view, PlyEncoding> encodingNames[] = {
    {"ascii", PlyEncoding::Ascii},
    {"binary_little_endian", PlyEncoding::LittleEndian},
    {"binary_big_endian", PlyEncoding::BigEndian}};

template <class Table> auto lookUp(const Table& table, const std::string& name, const char* what)
{
    const auto* found = std::find_if(std::begin(table), std::end(table), [&](auto& row) { return row.first == name; });
    if (found == std::end(table)) throw std::runtime_error(std::string("has the unknown ") + what + " '" + name + "'");
    return found->second;
}

PlyElement parseElement(const Words& words)
{
    if (words.size() != 3) throw std::runtime_error("has a malformed element in its header");
    std::uint64_t count = 0;
    const char* end = words[2].data() + words[2].size();
    const auto [stop, error] = std::from_chars(words[2].data(), end, count);
    if (error != std::errc() || stop != end)
        throw std::runtime_error("has the invalid element count '" + words[2] + "'");
    return {words[1], count, {}};
}

PlyProperty parseProperty(const Words& words)
{
    const char* what = "property type";
    if (words.size() == 3) return {words[2], lookUp(scalarNames, words[1], what), {}};
    if (words.size() == 5 && words[1] == "list")
        return {words[4], lookUp(scalarNames, words[3], what), lookUp(scalarNames, words[2], what)};
    throw std::runtime_error("has a malformed property in its header");
}

PlyEncoding parseFormat(const Words& words)
{
    if (words.size() != 3) throw std::runtime_error("has a malformed format in its header");
    if (words[2] != "1.0") throw std::runtime_error("has the unknown format version '" + words[2] + "'");
    return lookUp(encodingNames, words[1], "format");
}

// Lines end with \n or with \r\n; a line that is cut off ends with the file.
class Lines {
public:
    explicit Lines(std::string_view theContent)
        : content(theContent)
    {}

    bool next(Words& words)
    {
        if (position == content.size()) return false;
        const std::size_t end = std::min(content.find('\n', position), content.size());
        std::istringstream line{std::string(content.substr(position, end - position))};
        complete = end < content.size();
        words.clear();
        for (std::string word; line >> word;)
            words.push_back(word);
        position = std::min(end + 1, content.size());
        ++number;
        return true;
    }

    std::string_view content;
    std::size_t position = 0, number = 0;
    bool complete = true;
};

} // namespace

std::size_t sizeOf(PlyScalar type)
{
    constexpr std::size_t sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
    return sizes[static_cast<std::size_t>(type)];
}

PlyHeader parsePlyHeader(std::string_view content)
{
    if (content.empty()) throw std::runtime_error("is empty");
    Lines lines(content);
    Words words;
    // Anything may lie in a file that is not PLY, also a very long first line.
    if (content.substr(0, 3) != "ply" || !lines.next(words) || words.size() != 1 || words[0] != "ply")
        throw std::runtime_error("is no PLY file");

    std::optional<PlyEncoding> encoding;
    std::vector<PlyElement> elements;
    while (lines.next(words)) {
        if (!lines.complete && words != Words{"end_header"}) break;
        if (words.empty() || words[0] == "comment" || words[0] == "obj_info") continue;
        if (words[0] == "end_header") {
            if (!encoding) throw std::runtime_error("does not tell its format");
            return {*encoding, elements, lines.position, lines.number};
        }
        if (words[0] == "format") {
            encoding = parseFormat(words);
        } else if (words[0] == "element") {
            elements.push_back(parseElement(words));
        } else if (words[0] == "property" && !elements.empty()) {
            elements.back().properties.push_back(parseProperty(words));
        } else {
            throw std::runtime_error("has the unexpected word '" + words[0] + "' in its header");
        }
    }
    throw std::runtime_error("ends within its header");
}

} // namespace cloud
