// The version query.
#include "tarnm/tarnm.h"

namespace {

const LibraryVersion libraryVersion = {
    7, 0, 205, 952, {'g', '9', '\0', '\0'}, "tarnmg9-7.0.dll", "7.0 build 205.23", "Sep  2 2010",
};

} // namespace

const LibraryVersion* tarnmGetLibVersion(void) { return &libraryVersion; }
