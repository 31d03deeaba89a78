/* wide_sums.h: included ahead of the codec's sources where `long` has 32 bits, to give their sums the 64 that
 * they have elsewhere. The coefficients that a broken file brings overflow 32, and then wrap to other
 * samples. */
#define JPEG_INTERNALS
#include "jinclude.h"

#include "jpeglib.h"

#define JLONG long long
#undef LEFT_SHIFT
#define LEFT_SHIFT(a, b) ((JLONG)((unsigned long long)(a) << (b)))
