// cloud: reads a cloud of points, normalises it, computes its normals and draws it with tarnm, and writes
// both.
//
// Exit status: 0, 1 when something is wrong with a file or the layouts do not agree, 2 for a mistake in the command line.

#include "image.h"
#include "normalise.h"
#include "normals.h"
#include "options.h"
#include "picture.h"
#include "placement.h"
#include "ply.h"
#include "points.h"
#include "report.h"
#include "scene.h"

#include <tarncore/tarncore.h>

#include <cstdio>
#include <iostream>
#include <new>
#include <sstream>
#include <stdexcept>

namespace {

using namespace cloud;

// Enough digits for a reader to undo the placement.
template <class T> std::string commentOn(const Placement<T>& placement)
{
    std::ostringstream text;
    text.precision(sizeof(T) == 4 ? 9 : 17);
    text << "normalised: position = (original - centre) * scale\ncentre";
    for (T value : placement.centre)
        text << ' ' << value;
    text << "\nscale " << placement.scale;
    return text.str();
}

template <class T> void process(Points<T> points, const Options& options)
{
    const std::string name = options.input.empty() ? "built-in scene" : options.input;
    const std::size_t removed = removeNotFinite(points);
    if (removed > 0) std::cerr << "cloud: " << name << ": skipped points that are not finite: " << removed << '\n';
    if (points.empty()) throw std::runtime_error(name + " holds no finite points");

    const Placement<T> placement = placementOf(points);
    reportCloud(std::cout, name, points, removed, placement);
    const Normalised<T> normalised = normalise(points, placement, options.repeat);
    reportTimes(std::cout, normalised.times, tarnGetNumThreads(), options.repeat);
    const Normals normals = normalsOf(normalised.points, static_cast<std::size_t>(options.neighbours));
    reportNormals(std::cout, normals.report);
    if (!options.picture.empty()) {
        const Picture picture =
            pictureOf(normalised.points, normals.surface, options.camera, options.width, options.height);
        writePng(options.picture, picture.image);
        reportPicture(std::cout, picture.report);
        std::cout << "Wrote " << options.picture << ".\n";
    }
    if (options.output.empty()) return;
    writePly(options.output, normalised.points, commentOn(placement),
             options.ascii ? PlyFormat::Ascii : PlyFormat::BinaryLittleEndian, &normals.surface);
    std::cout << "Wrote " << options.output << ".\n";
}

void run(const Options& options)
{
    tarnSetNumThreads(options.threads);
    Cloud cloud = options.input.empty() ? makeScene(static_cast<std::size_t>(options.points)) : readPly(options.input);
    std::visit([&](auto& points) { process(std::move(points), options); }, cloud);
    if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const CommandLine line = parseCommandLine(argc, argv);
        if (line.exitStatus) return *line.exitStatus;
        run(line.options);
        return 0;
    } catch (const std::bad_alloc&) {
        std::fputs("cloud: error: not enough memory\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cloud: error: %s\n", error.what());
    }
    return 1;
}
