#include "ply.h"

#include "ply_header.h"
#include "progress.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace cloud {
namespace {

struct DataEnded : std::runtime_error {
    DataEnded()
        : std::runtime_error("ends too early")
    {}
};

// ---- values, one after the other: double holds those of every scalar type exactly

template <bool LittleEndian> class BinaryValues {
public:
    BinaryValues(std::string_view content, const PlyHeader& header)
        : data(content.substr(header.size))
    {}

    void beginEntry() {}
    void endEntry() {}
    std::size_t bytesLeft() const { return data.size(); }
    static std::size_t leastBytes(const PlyProperty& property)
    {
        return sizeOf(property.countType.value_or(property.type));
    }

    double next(PlyScalar type)
    {
        switch (type) {
        case PlyScalar::Int8:
            return static_cast<std::int8_t>(take<std::uint8_t>());
        case PlyScalar::UInt8:
            return take<std::uint8_t>();
        case PlyScalar::Int16:
            return static_cast<std::int16_t>(take<std::uint16_t>());
        case PlyScalar::UInt16:
            return take<std::uint16_t>();
        case PlyScalar::Int32:
            return static_cast<std::int32_t>(take<std::uint32_t>());
        case PlyScalar::UInt32:
            return take<std::uint32_t>();
        case PlyScalar::Float32:
            return std::bit_cast<float>(take<std::uint32_t>());
        case PlyScalar::Float64:
            break;
        }
        return std::bit_cast<double>(take<std::uint64_t>());
    }

private:
    template <class U> U take()
    {
        if (data.size() < sizeof(U)) throw DataEnded();
        U value = 0;
        for (std::size_t k = 0; k < sizeof(U); ++k) {
            const U byte = static_cast<unsigned char>(data[k]);
            value = static_cast<U>(value | byte << 8 * (LittleEndian ? k : sizeof(U) - 1 - k));
        }
        data.remove_prefix(sizeof(U));
        return value;
    }

    std::string_view data;
};

// Each entry is a line; empty lines between entries are passed over.
class AsciiValues {
public:
    AsciiValues(std::string_view content, const PlyHeader& header)
        : data(content.substr(header.size))
        , number(header.lines)
    {}

    std::size_t bytesLeft() const { return data.size(); }
    static std::size_t leastBytes(const PlyProperty&) { return 2; } // a digit and a space

    void beginEntry()
    {
        do {
            if (data.empty()) throw DataEnded();
            const std::size_t end = std::min(data.find('\n'), data.size());
            line = data.substr(0, end);
            data.remove_prefix(std::min(end + 1, data.size()));
            ++number;
            skipSpace();
        } while (line.empty());
    }

    void endEntry()
    {
        if (!line.empty()) fail("more values than its element has properties");
    }

    double next(PlyScalar type)
    {
        if (line.empty()) {
            if (data.empty()) throw DataEnded();
            fail("fewer values than its element has properties");
        }
        const std::string_view word = line.substr(0, std::min(line.find_first_of(" \t\r"), line.size()));
        line.remove_prefix(word.size());
        skipSpace();
        return type == PlyScalar::Float32 ? parse<float>(word) : parse<double>(word);
    }

private:
    void skipSpace() { line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size())); }

    // Reads in the property's own type: to round first to double and then to float is not always the nearest float.
    template <class T> T parse(std::string_view word)
    {
        T value = 0;
        const char* begin = word.data() + (word.size() > 1 && word[0] == '+' && word[1] != '-');
        const char* end = word.data() + word.size();
        const auto [stop, error] = std::from_chars(begin, end, value);
        if (stop != end || error == std::errc::invalid_argument)
            fail("'" + std::string(word) + "', which is no number");
        if (error == std::errc::result_out_of_range) return beyondRange<T>(std::string(word));
        return value;
    }

    // Infinite or next to zero, as the C library rounds it.
    template <class T> static T beyondRange(const std::string& word)
    {
        if constexpr (sizeof(T) == sizeof(float))
            return std::strtof(word.c_str(), nullptr);
        else
            return std::strtod(word.c_str(), nullptr);
    }

    [[noreturn]] void fail(const std::string& what) const
    {
        throw std::runtime_error("has on line " + std::to_string(number) + " " + what);
    }

    std::string_view data, line;
    std::size_t number;
};

// ---- elements

template <class Values> double nextOf(Values& values, const PlyProperty& property)
{
    if (!property.countType) return values.next(property.type);
    const double count = values.next(*property.countType);
    // Not a number fails here too.
    if (!(count >= 0)) throw std::runtime_error("has a list with a negative number of values");
    for (double k = 0; k < count; ++k)
        values.next(property.type);
    return count;
}

template <class Values> void skipElement(Values& values, const PlyElement& element)
{
    if (element.properties.empty()) return;
    for (std::uint64_t n = 0; n < element.count; ++n) {
        values.beginEntry();
        for (const PlyProperty& property : element.properties)
            nextOf(values, property);
        values.endEntry();
    }
}

// Where x, y and z stand among the properties.
using Positions = std::array<std::size_t, 3>;

Positions positionsOfCoordinates(const PlyElement& vertex)
{
    Positions positions;
    for (std::size_t k = 0; k < 3; ++k) {
        const std::string name(1, "xyz"[k]);
        const auto isIt = [&](const PlyProperty& property) { return property.name == name && !property.countType; };
        const auto found = std::find_if(vertex.properties.begin(), vertex.properties.end(), isIt);
        if (found == vertex.properties.end()) throw std::runtime_error("has no coordinate " + name);
        positions[k] = static_cast<std::size_t>(found - vertex.properties.begin());
    }
    return positions;
}

bool needDouble(const PlyElement& vertex, const Positions& positions)
{
    return std::any_of(positions.begin(), positions.end(), [&](std::size_t position) {
        const PlyScalar type = vertex.properties[position].type;
        return type == PlyScalar::Float64 || type == PlyScalar::Int32 || type == PlyScalar::UInt32;
    });
}

// Memory is set aside for no more points than the file can hold, whatever its header says.
template <class Values> std::size_t mostEntries(const Values& values, const PlyElement& element)
{
    std::size_t bytes = 0;
    for (const PlyProperty& property : element.properties)
        bytes += values.leastBytes(property);
    // The last line may lack its end.
    return std::min<std::uint64_t>(element.count, (values.bytesLeft() + 1) / bytes);
}

template <class T, class Values>
Points<T> readVertices(Values& values, const PlyElement& vertex, const Positions& positions, const std::string& file)
{
    Points<T> points;
    points.reserve(mostEntries(values, vertex));
    Progress progress("reading " + file, vertex.count);
    std::vector<double> entry(vertex.properties.size());
    try {
        for (std::uint64_t n = 0; n < vertex.count; ++n) {
            progress.at(n);
            values.beginEntry();
            for (std::size_t k = 0; k < entry.size(); ++k)
                entry[k] = nextOf(values, vertex.properties[k]);
            values.endEntry();
            points.push_back({static_cast<T>(entry[positions[0]]), static_cast<T>(entry[positions[1]]),
                              static_cast<T>(entry[positions[2]])});
        }
    } catch (const DataEnded&) {
        throw std::runtime_error("is cut short: it ends after " + std::to_string(points.size()) + " of " +
                                 std::to_string(vertex.count) + " points");
    }
    return points;
}

template <class Values> Cloud readData(Values values, const PlyHeader& header, const std::string& file)
{
    const auto vertex = std::find_if(header.elements.begin(), header.elements.end(),
                                     [](const PlyElement& element) { return element.name == "vertex"; });
    if (vertex == header.elements.end()) throw std::runtime_error("has no element 'vertex'");
    const Positions positions = positionsOfCoordinates(*vertex);
    if (vertex->count == 0) throw std::runtime_error("holds no points");
    try {
        std::for_each(header.elements.begin(), vertex,
                      [&](const PlyElement& element) { skipElement(values, element); });
    } catch (const DataEnded&) {
        throw std::runtime_error("is cut short: it ends before its points");
    }
    if (needDouble(*vertex, positions)) return readVertices<double>(values, *vertex, positions, file);
    return readVertices<float>(values, *vertex, positions, file);
}

std::string contentOf(const std::string& file)
{
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::string content;
    if (stream) {
        // A folder can be opened, but not read.
        stream.exceptions(std::ios::badbit);
        try {
            content.assign(std::istreambuf_iterator<char>(stream), {});
            return content;
        } catch (const std::ios::failure&) {
        }
    }
    throw std::runtime_error(std::string("cannot be read: ") + std::strerror(errno));
}

} // namespace

Cloud readPly(const std::string& file)
{
    try {
        const std::string content = contentOf(file);
        const PlyHeader header = parsePlyHeader(content);
        switch (header.encoding) {
        case PlyEncoding::Ascii:
            return readData(AsciiValues(content, header), header, file);
        case PlyEncoding::LittleEndian:
            return readData(BinaryValues<true>(content, header), header, file);
        case PlyEncoding::BigEndian:
            break;
        }
        return readData(BinaryValues<false>(content, header), header, file);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file + " " + error.what());
    }
}

} // namespace cloud
