/* tonekit.h: the whole exported interface. */
#ifndef TONEKIT_TONEKIT_H
#define TONEKIT_TONEKIT_H

#include <tonekit/convert.h>
#include <tonekit/encode.h>
#include <tonekit/frame.h>
#include <tonekit/hdcd.h>
#include <tonekit/image.h>
#include <tonekit/loudness.h>
#include <tonekit/tags.h>

#endif
