/* frozen_codec.c: the codec's headers declare what version 1.0 declares, to a caller in C. Compiled, never
 * run. */
#include "tests/abi/codec_prototypes.h"
#include "tests/abi/codec_records.h"

#include <stddef.h>
#include <stdio.h>
#include <tonekit/codec/jpeglib.h>
#include <tonekit/codec/transupp.h>
