// decoder.cpp: a decoder's life, and the decoding of a block in place.
#include "hdcd/decoder.h"

#include "hdcd/detection.h"
#include "hdcd/entries.h"
#include "hdcd/hdcd_log.h"

#include <cstdlib>
#include <initializer_list>
#include <tonekit/hdcd.h>

using namespace tonekit;

namespace {

void Configure(HdcdDecoder *decoder, uint32_t sampleRate, int32_t bits)
{
    decoder->configured_rate = sampleRate;
    decoder->configured_bits = static_cast<uint32_t>(bits);
    hdcd_decoder_init(decoder, sampleRate, bits, 0, kHdcdSilentMismatch);
    ResetDetection(&decoder->detection);
    hdcd_set_log(decoder, &decoder->log_sink);
    for (HdcdChannelState &channel : decoder->channel)
        channel.decoder_options &= ~kHdcdForcePeakExtend;
    decoder->linked = 1;
    hdcd_set_analyze_mode(decoder, 0);
}

bool KnownRate(uint32_t sampleRate)
{
    for (const uint32_t known : {44100u, 48000u, 88200u, 96000u, 176400u, 192000u})
        if (sampleRate == known)
            return true;
    return false;
}

} // namespace

extern "C" uint32_t tonekit::hdcd_reconfigure(HdcdDecoder *decoder, uint32_t sample_rate, int32_t bits)
{
    if (sample_rate == 0)
        sample_rate = 44100;
    if (bits == 0)
        bits = 16;
    if (!decoder || !KnownRate(sample_rate) || (bits != 16 && bits != 20 && bits != 24))
        return 0;
    Configure(decoder, sample_rate, bits);
    return 1;
}

extern "C" HdcdDecoder *hdcd_new(void)
{
    auto *decoder = static_cast<HdcdDecoder *>(std::calloc(1, sizeof(HdcdDecoder)));
    if (!decoder)
        return nullptr;
    decoder->log_sink = DisabledHdcdLogSink();
    hdcd_reset(decoder);
    return decoder;
}

extern "C" void hdcd_reset(HdcdDecoder *decoder)
{
    if (decoder)
        Configure(decoder, 44100, 16);
}

extern "C" void hdcd_process(HdcdDecoder *decoder, int32_t *samples, int32_t frames)
{
    if (!decoder)
        return;
    if (!samples || frames < 0)
        frames = 0;
    if (decoder->linked != 0) {
        hdcd_process_linked(decoder, samples, frames);
    } else {
        for (int i = 0; i < 2; ++i)
            hdcd_process_channel(&decoder->channel[i], samples + (frames != 0 ? i : 0), frames, 2);
    }
    UpdateDetection(decoder);
}

extern "C" void hdcd_free(HdcdDecoder *decoder)
{
    std::free(decoder);
}

extern "C" uint32_t hdcd_detected(const HdcdDecoder *decoder)
{
    return decoder ? decoder->detection.detected : kHdcdNotDetected;
}
