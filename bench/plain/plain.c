/* A function with the arguments of tarnmAdd_vv_32f and none of its promises, in a shared library of its own. */
#include <stdint.h>

int32_t plainAdd_vv_32f(const float* a, int32_t aElementStride, const float* b, int32_t bElementStride, float* d,
                        int32_t dElementStride, int32_t len)
{
    for (intptr_t k = 0; k < len; ++k)
        *(float*)((char*)d + k * dElementStride) =
            *(const float*)((const char*)a + k * aElementStride) + *(const float*)((const char*)b + k * bElementStride);
    return 0;
}
