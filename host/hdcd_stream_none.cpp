// hdcd_stream_none.cpp: stands in until the library has its HDCD decoder.
#include "host/failure.h"
#include "host/hdcd_stream.h"

namespace tonekit::host {

void ReleaseHdcdDecoder::operator()(HdcdDecoder *) const {}

bool CanCarryHdcd(const AudioReader &reader)
{
    return reader.format().sample == SampleFormat::Int16 && reader.format().channels == 2;
}

HdcdFinding ScanForHdcd(AudioReader &)
{
    return HdcdFinding::None;
}

HdcdStream::HdcdStream()
{
    throw Failure("this build has no HDCD decoder");
}

const int32_t *HdcdStream::Decode(const int16_t *, uint32_t)
{
    return nullptr;
}

} // namespace tonekit::host
