// The tables that the program prints.
#pragma once

#include "normalise.h"
#include "normals.h"
#include "picture.h"
#include "placement.h"

#include <ostream>

namespace cloud {

template <class T>
void reportCloud(std::ostream& out, const std::string& name, const Points<T>& points, std::size_t removed,
                 const Placement<T>& placement);

void reportTimes(std::ostream& out, const std::vector<LayoutTime>& times, int threads, int repeat);

void reportNormals(std::ostream& out, const NormalsReport& report);

void reportPicture(std::ostream& out, const PictureReport& report);

} // namespace cloud
