// The built-in scene.
#pragma once

#include "points.h"

namespace cloud {

// Gives points on the surfaces of a hilly terrain, of spheres and of boxes standing in it, in metres: 100 m by 100 m, with
// the origin well outside. The same on every machine: the random numbers are those of std::mt19937_64, and nothing but
// additions, products, divisions and square roots is done with them, which are exactly rounded everywhere. A smaller scene
// is the beginning of a larger one.
Points<float> makeScene(std::size_t count);

} // namespace cloud
