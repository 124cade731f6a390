// Prints a digest of the results of every exported member, one line each. Two builds that print the same lines give
// the same bits.
#include <cinttypes>
#include <cstdio>

#include "digest/digest.h"

int main()
{
    for (const tarnm::test::Member& member : tarnm::test::members())
        std::printf("%-44.*s %016" PRIx64 "\n", int(member.name.size()), member.name.data(),
                    tarnm::test::digestOf(member));
}
