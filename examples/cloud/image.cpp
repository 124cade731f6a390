#include "image.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace cloud {
namespace {

std::uint8_t byteOf(float value) { return static_cast<std::uint8_t>(std::lround(255 * std::clamp(value, 0.0F, 1.0F))); }

} // namespace

Image reduced(const Image& image, int times)
{
    Image result(image.width / times, image.height / times);
    const float share = 1 / static_cast<float>(times * times);
    for (int y = 0; y < result.height * times; ++y)
        for (int x = 0; x < result.width * times; ++x)
            for (std::size_t k = 0; k < 3; ++k)
                result.at(x / times, y / times)[k] += share * image.at(x, y)[k];
    return result;
}

void writePng(const std::string& file, const Image& image)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(image.pixels.size() * 3);
    for (const Colour& colour : image.pixels)
        for (float value : colour)
            bytes.push_back(byteOf(value));

    png_image picture{};
    picture.version = PNG_IMAGE_VERSION;
    picture.width = static_cast<png_uint_32>(image.width);
    picture.height = static_cast<png_uint_32>(image.height);
    picture.format = PNG_FORMAT_RGB;
    const bool written = png_image_write_to_file(&picture, file.c_str(), 0, bytes.data(), 0, nullptr) != 0;
    const std::string reason = picture.message;
    png_image_free(&picture);
    if (!written) throw std::runtime_error(file + " cannot be written: " + reason);
}

} // namespace cloud
