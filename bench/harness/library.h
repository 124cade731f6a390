// The builds of libtarnm that take part in a run.
//
//   Library          one build, opened at run time
//   openByLoader     the build that the dynamic loader takes on this machine
//   openVariants     every build beside each other: g9, v3, v4, as far as they are built and the processor runs them
//   openFile         any other build, for comparisons of one build with the next
#pragma once

#include <string>
#include <vector>

namespace bench {

class Library {
public:
    Library(std::string name, const std::string& file);

    const std::string& name() const { return label; }
    // The file that was really opened.
    const std::string& file() const { return path; }

    template <class Function> Function function(const std::string& symbol) const
    {
        return reinterpret_cast<Function>(address(symbol));
    }

private:
    void* address(const std::string& symbol) const;

    std::string label;
    std::string path;
    void* handle;
};

Library openByLoader();
std::vector<Library> openVariants();
// `text` is NAME=FILE.
Library openFile(const std::string& text);

} // namespace bench
