/* no_stdio.h: included ahead of the codec's source and destination managers, to leave out the two that read
 * and write files. The library has its own in their place. Of unused static functions nothing
 * remains. */
#include "jinclude.h"

#include "jpeglib.h"

#define jpeg_stdio_src static __attribute__((unused)) unused_stdio_source
#define jpeg_stdio_dest static __attribute__((unused)) unused_stdio_destination
