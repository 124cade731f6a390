// Pictures in memory and as PNG files.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace cloud {

// Red, green and blue, from 0 to 1 as they are shown.
using Colour = std::array<float, 3>;

struct Image {
    int width = 0, height = 0;
    std::vector<Colour> pixels; // row by row from the top

    Image(int width, int height)
        : width(width)
        , height(height)
        , pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
    {}

    std::size_t number(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
    Colour& at(int x, int y) { return pixels[number(x, y)]; }
    const Colour& at(int x, int y) const { return pixels[number(x, y)]; }
};

// Every pixel is the mean of `times` by `times` of the source, whose sides are multiples of that.
Image reduced(const Image& image, int times);

// Throws std::runtime_error with the reason if the file cannot be written.
void writePng(const std::string& file, const Image& image);

} // namespace cloud
