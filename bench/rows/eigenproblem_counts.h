// The numbers of objects in rows of eigenproblems.
#pragma once

#include "harness/row.h"

namespace bench {

// Objects take microseconds: at most 10000 of them, with one thread and with two.
inline void addEigenproblem(Rows& rows, const std::string& name, const Rows::Prepare& prepare)
{
    rows.add(name, {1, 1000, 10000}, prepare);
    rows.add(name + "/10000/2t", 10000, 2, prepare);
}

} // namespace bench
