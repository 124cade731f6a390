// Compares the default number of threads with the one given, for the environment that the program was started with.
// A processor quota of the machine limits both.
#include "core/cpu_quota.h"

#include <tarncore/tarncore.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    const int quota = tarncore::cpuQuota("");
    long expected = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    if (quota > 0 && quota < expected) expected = quota;
    const int threads = tarnGetNumThreads();
    std::printf("%d threads, expected %ld\n", threads, expected);
    return threads == expected ? EXIT_SUCCESS : EXIT_FAILURE;
}
