// A folder of small files that stands in for the machine's own /proc and /sys.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class TemporaryTree {
public:
    TemporaryTree()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tarncore-XXXXXX").string();
        if (!mkdtemp(name.data())) std::abort();
        root_ = name;
    }
    ~TemporaryTree()
    {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    TemporaryTree(const TemporaryTree&) = delete;
    TemporaryTree& operator=(const TemporaryTree&) = delete;

    const std::string& root() const { return root_; }

    void write(const std::string& path, const std::string& text) const
    {
        const std::filesystem::path file = root_ + path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

private:
    std::string root_;
};
