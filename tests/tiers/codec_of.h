// codec_of.h: the codec's bodies of the tier under test; what is looked up is noted as called.
#pragma once

#include "tests/support/codec_driver.h"
#include "tests/tiers/tiers.h"

#include <string>

namespace tonekit::tiers {

inline codec::Codec CodecOf(const Bodies &bodies)
{
    return {std::string("body ") + bodies.Letter(),
            [&bodies](const char *name) { return bodies.Address(name); }};
}

} // namespace tonekit::tiers
