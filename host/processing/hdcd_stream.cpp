// hdcd_stream.cpp: HDCD through the library's decoder.
#include "host/processing/hdcd_stream.h"

#include "host/processing/bodies.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <algorithm>

namespace tonekit::host {

namespace {

constexpr uint32_t kScanSeconds = 60;
constexpr uint32_t kBlockFrames = 16384;

HdcdDecoderPointer NewDecoder()
{
    HdcdDecoderPointer decoder(hdcd_new());
    if (!decoder)
        throw Failure("not enough memory to decode HDCD");
    return decoder;
}

} // namespace

bool CanCarryHdcd(const SampleSource &source)
{
    return source.format().sample == SampleFormat::Int16 && source.format().channels == 2;
}

HdcdFinding ScanForHdcd(SampleSource &source)
{
    const HdcdDecoderPointer decoder = NewDecoder();
    std::vector<int16_t> samples(size_t{kBlockFrames} * 2);
    uint64_t left = uint64_t{kScanSeconds} * source.format().rate;
    uint32_t detected = 0;
    // 2 is the last word: no later block takes it back.
    while (left > 0 && detected < TONEKIT_HDCD_USED) {
        if (InterruptNoted())
            throw Interrupted();
        const uint32_t wanted = static_cast<uint32_t>(std::min<uint64_t>(left, kBlockFrames));
        const uint32_t got = source.Read(samples.data(), wanted);
        if (got == 0)
            break;
        detected = BodiesInUse().hdcd_scan16(decoder.get(), samples.data(), static_cast<int32_t>(got));
        left -= got;
    }
    source.Rewind();
    return detected == 0 ? HdcdFinding::None : detected == 1 ? HdcdFinding::NoEffect : HdcdFinding::Effective;
}

HdcdStream::HdcdStream() : decoder_(NewDecoder()) {}

const int32_t *HdcdStream::Decode(const int16_t *samples, uint32_t frames)
{
    decoded_.assign(samples, samples + size_t{frames} * 2);
    hdcd_process(decoder_.get(), decoded_.data(), static_cast<int32_t>(frames));
    return decoded_.data();
}

} // namespace tonekit::host
