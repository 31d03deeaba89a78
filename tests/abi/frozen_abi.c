/* frozen_abi.c: the public headers declare what version 1.0 declares, to a caller in C. Compiled, never run.
 */
#include "tests/abi/constants.h"
#include "tests/abi/prototypes.h"
#include "tests/abi/records.h"
