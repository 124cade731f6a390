// PLY files for tests, written apart from the writer of examples/cloud.
#pragma once

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <type_traits>
#include <unistd.h>

namespace examples {

enum class Order { Little, Big };

// The bytes of a number.
template <class T> std::string bytesOf(T value, Order order)
{
    static_assert(std::is_arithmetic_v<T>);
    std::string bytes(reinterpret_cast<const char*>(&value), sizeof value);
    const bool hostIsLittle = std::endian::native == std::endian::little;
    if (hostIsLittle != (order == Order::Little)) std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

// "ply", the format, one line for each declaration, "end_header".
inline std::string header(const std::string& format, const std::string& declarations)
{
    return "ply\nformat " + format + " 1.0\n" + declarations + "end_header\n";
}

inline std::string xyz(const std::string& type, int count)
{
    std::string lines = "element vertex " + std::to_string(count) + "\n";
    for (char name : {'x', 'y', 'z'})
        lines += "property " + type + " " + name + "\n";
    return lines;
}

// A folder for the files of one test, removed with the object.
class Folder {
public:
    Folder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "tarnm-cloud-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category(), pattern);
        folder = pattern;
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path(const std::string& name) const { return (folder / name).string(); }

    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    std::string read(const std::string& name) const
    {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    std::filesystem::path folder;
};

} // namespace examples
