/* narrow_transform.h: included ahead of the codec's forward transform, to give its sums the 32 bits that the
 * codec asks for at least. The 64 that `long` has on most systems keep it from being vectorised; samples of 8
 * bits never need them. */
#define JPEG_INTERNALS
#include "jinclude.h"

#include "jpeglib.h"

#include "jdct.h"

#define JLONG int
