// release.cpp: the one routine that releases what this family returns, and its four names.
#include "frame/allocator.h"

#include <tonekit/encode.h>

void UNC_freeStr(void *text)
{
    tonekit::Release(text);
}

extern "C" {
TONEKIT_API void UNC_freeWStr(void *text) __attribute__((alias("UNC_freeStr")));
TONEKIT_API void UUFreeMem(void *memory) __attribute__((alias("UNC_freeStr")));
TONEKIT_API void BASE64FreeMem(void *memory) __attribute__((alias("UNC_freeStr")));
}
