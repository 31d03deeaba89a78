// codec_user.h: a user of a JPEG library, built once for this project's codec and once for the system's other
// one.
#pragma once

#include <cstdint>
#include <vector>

#define TONEKIT_CODEC_USER(name)                                                                             \
    namespace name {                                                                                         \
    std::vector<uint8_t> Encode(const std::vector<uint8_t> &rgb, unsigned width);                            \
    std::vector<uint8_t> Decode(const std::vector<uint8_t> &file);                                           \
    int Version();     /* API level that it was compiled for */                                              \
    int LastMessage(); /* highest message code that its library knows */                                     \
    }

TONEKIT_CODEC_USER(ours)
TONEKIT_CODEC_USER(other)
