// Uses both libraries from C++.
#include <tarncore/tarncore.h>
#include <tarnm/tarnm.h>

#include <cstdio>

int main()
{
    tarnSetNumThreads(3);
    const float a[3] = {1, 2, 3};
    const float b[3] = {1, 3, 5};
    float sum[3] = {};
    const int32_t element = sizeof(float);
    if (tarnmAdd_vv_32f(a, element, b, element, sum, element, 3) != 0) return 1;
    const auto* version = tarnmGetLibVersion();
    std::printf("version %d.%d, threads %d, sum %g\n", version->major, version->minor, tarnGetNumThreads(), sum[1]);
}
