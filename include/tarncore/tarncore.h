/* tarncore: what tarnm wants to know of the machine, and what a program may set.
 *
 *   tarnSetNumThreads     how many threads a call of tarnm may use, from now on
 *   tarnGetNumThreads     how many it may use now
 *   tarnGetMaxCacheSizeB  size of the largest cache
 *   ownGetNumThreads      the question that tarnm itself asks
 *
 * tarnm imports ownGetNumThreads and tarnGetMaxCacheSizeB as ordinary dynamic symbols: a program that defines functions
 * of these names is asked instead of this library. All functions may be called from any thread at any time. */
#ifndef TARNCORE_TARNCORE_H
#define TARNCORE_TARNCORE_H

#include <stdint.h>

#define TARNCORE_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* Sets the number of threads that a call of tarnm may use, for the whole process.
 *
 * numThreads  1 or more: this many; 0: the default again, as told under tarnGetNumThreads.
 *
 * Returns 0, or -6 for a negative number, which changes nothing. */
TARNCORE_EXPORT int32_t tarnSetNumThreads(int32_t numThreads);

/* Returns the number of threads that a call of tarnm may use, at least 1.
 *
 * The default is what the OpenMP runtime would give to a parallel region opened by the calling thread, so that
 * OMP_NUM_THREADS, OMP_THREAD_LIMIT, omp_set_num_threads and the processor affinity are honoured, and a call from inside a
 * parallel region that may not nest further gets 1. A processor quota of the process's control group, rounded up to whole
 * processors, limits it; the quota is read once. */
TARNCORE_EXPORT int32_t tarnGetNumThreads(void);

/* Gives the size of the processor's largest cache.
 *
 * size  out: bytes, 0 where it is not known.
 *
 * Returns 0, or -8 for a null pointer. */
TARNCORE_EXPORT int32_t tarnGetMaxCacheSizeB(int32_t* size);

/* The same number as tarnGetNumThreads. */
TARNCORE_EXPORT int32_t ownGetNumThreads(void);

#ifdef __cplusplus
}
#endif

#endif
