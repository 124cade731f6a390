#include "options.h"

#include <CLI/CLI.hpp>

namespace cloud {

CommandLine parseCommandLine(int argc, const char* const* argv)
{
    constexpr int most = 10'000'000; // 2 GB of memory in all
    CommandLine line;
    Options& options = line.options;
    CLI::App app(
        "Moves a cloud of points to the origin and scales it to the size of 1, with the same calls of tarnm in each of "
        "its three memory layouts, proves that the results agree bit for bit, computes a normal for every point, and "
        "draws "
        "the cloud.",
        "cloud");
    app.add_option("input", options.input,
                   "PLY file, ASCII or binary; without one a scene of terrain, spheres and boxes");
    app.add_option("-o,--output", options.output, "write the result to this PLY file");
    app.add_flag("--ascii", options.ascii, "write ASCII, not binary")->needs("--output");
    app.add_option("--points", options.points, "points of the built-in scene")
        ->check(CLI::Range(1, most))
        ->excludes("input")
        ->capture_default_str();
    app.add_option("--repeat", options.repeat, "how many times to measure")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    app.add_option("--neighbours", options.neighbours, "points that a normal comes from, its own among them")
        ->check(CLI::Range(3, 256))
        ->capture_default_str();
    app.add_option("--threads", options.threads, "threads for a call; 0 for as many as OpenMP would take")
        ->check(CLI::Range(0, 1024))
        ->capture_default_str();
    app.add_option("--picture", options.picture, "draw the cloud into this PNG file");
    const auto ofPicture = [&](const char* name, auto& value, const char* text, auto low, auto high) {
        app.add_option(name, value, text)->check(CLI::Range(low, high))->needs("--picture")->capture_default_str();
    };
    ofPicture("--width", options.width, "of the picture, in pixels", 16, 8192);
    ofPicture("--height", options.height, "of the picture, in pixels", 16, 8192);
    ofPicture("--azimuth", options.camera.azimuth, "of the camera, in degrees from the x axis towards y", -360.0,
              360.0);
    ofPicture("--elevation", options.camera.elevation, "of the camera, in degrees above the plane of x and y", -89.0,
              89.0);
    ofPicture("--field-of-view", options.camera.fieldOfView, "strength of the perspective, in degrees", 5.0, 120.0);
    ofPicture("--zoom", options.camera.zoom, "at 1 the cloud fills the picture", 0.1, 20.0);
    try {
        app.parse(argc, argv);
        // An empty name of a file is a mistake, such as an unset variable, and no wish for the scene.
        if (app.count("input") > 0 && options.input.empty()) throw CLI::ValidationError("input", "is empty");
    } catch (const CLI::ParseError& error) {
        line.exitStatus = app.exit(error) == 0 ? 0 : 2;
    }
    return line;
}

} // namespace cloud
