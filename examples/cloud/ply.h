// Point clouds in PLY files.
//
//   readPly   ASCII and both binary formats, any scalar type, further properties, elements and lists are skipped
//   writePly  binary little-endian or ASCII
//
// Why our own: the lightest packaged library that reads and writes PLY narrows every coordinate to float, and makes up points
// where a file is cut short; the next ones install more than 150 MB (docs/design.md has the list).
#pragma once

#include "surface.h"

#include <string>

namespace cloud {

// Gives the coordinates of the element "vertex": as double if x, y or z is a double or an integer of 32 bits, otherwise as
// float, which then holds them exactly. In an ASCII file each entry of an element is one line.
//
// Throws std::runtime_error, with the name of the file in the message, if the file cannot be read, is no PLY file, holds no
// points or no coordinates, or ends before its last point. What stands behind the last point is not looked at.
Cloud readPly(const std::string& file);

enum class PlyFormat { Ascii, BinaryLittleEndian };

// Writes x, y and z and, with a surface, nx, ny, nz and curvature; numbers in ASCII have as many digits as it takes to read
// the same number again. The comment may have several lines. Throws std::runtime_error if the file cannot be written.
template <class T>
void writePly(const std::string& file, const Points<T>& points, const std::string& comment, PlyFormat format,
              const Surface* surface = nullptr);

} // namespace cloud
