#include "report.h"

#include <iomanip>

namespace cloud {
namespace {

template <class T> void row(std::ostream& out, const char* name, const Point<T>& point)
{
    out << std::left << std::setw(10) << name << std::right;
    for (T value : point)
        out << ' ' << std::setw(13) << value;
    out << '\n';
}

} // namespace

template <class T>
void reportCloud(std::ostream& out, const std::string& name, const Points<T>& points, std::size_t removed,
                 const Placement<T>& placement)
{
    const Bounds<T> bounds = boundsOf(points);
    Point<T> extent;
    for (std::size_t k = 0; k < 3; ++k)
        extent[k] = bounds.high[k] - bounds.low[k];
    out << name << ": " << points.size() << " points, " << (sizeof(T) == 4 ? "single" : "double") << " precision";
    if (removed > 0) out << ", " << removed << " skipped with coordinates that are not finite";
    out << "\n\n"
        << std::setprecision(8) << std::string(23, ' ') << 'x' << std::string(13, ' ') << 'y' << std::string(13, ' ')
        << "z\n";
    row(out, "smallest", bounds.low);
    row(out, "largest", bounds.high);
    row(out, "extent", extent);
    row(out, "mean", placement.centre);
    out << "scale      " << std::setw(13) << placement.scale << "\n\n";
}

void reportTimes(std::ostream& out, const std::vector<LayoutTime>& times, int threads, int repeat)
{
    out << "ns per point, " << repeat << (repeat == 1 ? " run, " : " runs, ") << threads
        << (threads == 1 ? " thread" : " threads at most") << "    fastest    median\n";
    for (const LayoutTime& time : times) {
        out << std::left << std::setw(45) << time.layout << std::right << std::fixed << std::setprecision(3)
            << std::setw(9) << time.fastest << ' ' << std::setw(9) << time.median << '\n';
    }
    out << "The three results agree bit for bit.\n";
}

void reportNormals(std::ostream& out, const NormalsReport& report)
{
    out << std::fixed << std::setprecision(0) << "\nNormals from " << report.neighbours
        << (report.neighbours == 1 ? " point" : " points") << " each, ns per point: search " << report.search
        << ", covariance " << report.covariance << ", axes " << report.axes << "\nSpecial: " << report.coincident
        << " with all points at one place, " << report.onLine << " with all on a line, " << report.alone
        << " solved alone, " << report.unsolved << " unsolved.\n";
}

void reportPicture(std::ostream& out, const PictureReport& report)
{
    out << std::fixed << std::setprecision(2) << "\nPicture, ns per point: projection " << report.projection
        << ", shading " << report.shading << ", drawing " << report.drawing << '\n';
}

template void reportCloud(std::ostream&, const std::string&, const Points<float>&, std::size_t,
                          const Placement<float>&);
template void reportCloud(std::ostream&, const std::string&, const Points<double>&, std::size_t,
                          const Placement<double>&);

} // namespace cloud
