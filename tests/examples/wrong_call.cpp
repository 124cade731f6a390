// A multiplication that is wrong in the last bit of one coordinate of one point.

#include <tarnm/tarnm.h>

#include <cmath>

extern "C" TARNM_API tarnmStatus tarnmMul_vac_32f_P(const float* const* ppSrc, int32_t, int32_t, float val,
                                                    float* const* ppDst, int32_t, int32_t, int32_t len, int32_t count)
{
    for (int32_t k = 0; k < len; ++k) {
        for (int32_t n = 0; n < count; ++n)
            ppDst[k][n] = ppSrc[k][n] * val;
    }
    ppDst[2][count - 1] = std::nextafter(ppDst[2][count - 1], 10.0F);
    return StatusOk;
}
