// The command line.
#pragma once

#include <optional>
#include <string>

#include "camera.h"

namespace cloud {

struct Options {
    std::string input;  // empty: the built-in scene
    std::string output; // empty: none
    bool ascii = false;
    std::string picture;            // empty: none
    int width = 1280, height = 720; // of the picture, in pixels
    Camera camera;
    int points = 20000; // of the built-in scene
    int repeat = 20;
    int neighbours = 16; // that a normal comes from, its own point among them
    int threads = 0;     // 0: the default of tarncore
};

struct CommandLine {
    Options options;
    std::optional<int> exitStatus; // set if there is nothing to be done: 0 after --help, 2 after a mistake
};

// Prints the help or what is wrong.
CommandLine parseCommandLine(int argc, const char* const* argv);

} // namespace cloud
