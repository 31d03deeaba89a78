/* no_stdio.h: included ahead of the codec's source and destination managers, to leave out the two that read
 * and write files. The library has its own in their place. As unused static functions they leave nothing
 * behind. */
#include "jinclude.h"

#include "jpeglib.h"

#define jpeg_stdio_src static __attribute__((unused)) unused_stdio_source
#define jpeg_stdio_dest static __attribute__((unused)) unused_stdio_destination
