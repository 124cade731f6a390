// The header of a PLY file: what it holds, and how it is encoded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cloud {

enum class PlyScalar { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

std::size_t sizeOf(PlyScalar type);

struct PlyProperty {
    std::string name;
    PlyScalar type;
    std::optional<PlyScalar> countType; // of a list: the type of the number before its values
};

struct PlyElement {
    std::string name;
    std::uint64_t count;
    std::vector<PlyProperty> properties;
};

enum class PlyEncoding { Ascii, LittleEndian, BigEndian };

struct PlyHeader {
    PlyEncoding encoding;
    std::vector<PlyElement> elements;
    std::size_t size;  // bytes up to the first byte of the data
    std::size_t lines; // the data of an ASCII file begin on the line after these
};

// Throws std::runtime_error, with a message to be put behind the name of the file.
PlyHeader parsePlyHeader(std::string_view content);

} // namespace cloud
