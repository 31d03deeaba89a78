// sound_type.h: what libsndfile's numbers of types mean.
#pragma once

#include "host/audio/sample_format.h"
#include "host/tags/tag_kind.h"

#include <string>

namespace tonekit::host {

// The smallest form that holds every sample of the subtype exactly.
SampleFormat FormatOfSubtype(int subtype);
bool IsLossy(int subtype);
TagKind TagKindOf(int format);
// Whether each frame is found by its number, and doesn't depend on others.
bool SeeksExactly(int format);
// The name of a type or of a subtype.
std::string NameOfPart(int format);
// The name of the type as the program's messages have it.
std::string NameOfType(int format);

} // namespace tonekit::host
