/* frozen_codec.c: the codec's headers declare what version 1.0 declares, to a caller in C. Compiled, never
 * run. */
#include <stddef.h>
#include <stdio.h>
#include <tonekit/codec/jpeglib.h>
#include <tonekit/codec/transupp.h>

/* What is declared above, once more: after it, since transupp.h has no guard. */
#include "tests/abi/codec_prototypes.h"
#include "tests/abi/codec_records.h"
