// hdcd_state.cpp: sets up the records of a decoder.
#include "hdcd/hdcd_state.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace tonekit {

extern "C" void hdcd_channel_init(HdcdChannelState *channel, uint32_t sample_rate, int32_t bits,
                                  int32_t cdt_ms, uint32_t options)
{
    if (!channel)
        return;
    std::memset(channel, 0, sizeof *channel);
    channel->record_kind = kHdcdChannelRecord;
    channel->decoder_options = options;
    channel->readahead = 32;
    channel->sample_rate = sample_rate != 0 ? sample_rate : 44100;
    channel->bits = bits != 0 ? bits : 16;
    channel->cdt_ms = cdt_ms != 0 ? std::clamp(cdt_ms, 100, 60000) : 2000;
    // Both divisions truncate, in this order: the timer is a whole number of 1/100 s of samples per 10 ms.
    channel->sustain_reset = channel->sample_rate / 100 * static_cast<uint32_t>(channel->cdt_ms) / 10;
    channel->count_sustain_expired = -1;
}

extern "C" void hdcd_decoder_init(HdcdDecoder *decoder, uint32_t sample_rate, int32_t bits, int32_t cdt_ms,
                                  uint32_t options)
{
    if (!decoder)
        return;
    std::memset(static_cast<void *>(decoder), 0, offsetof(HdcdDecoder, detection));
    decoder->record_kind = kHdcdDecoderRecord;
    for (HdcdChannelState &channel : decoder->channel)
        hdcd_channel_init(&channel, sample_rate, bits, cdt_ms, options);
}

extern "C" void hdcd_set_log(void *decoder_or_channel, HdcdLogSink *sink)
{
    if (!decoder_or_channel)
        return;
    switch (*static_cast<const uint32_t *>(decoder_or_channel)) {
    case kHdcdChannelRecord:
        static_cast<HdcdChannelState *>(decoder_or_channel)->log = sink;
        break;
    case kHdcdDecoderRecord:
        for (HdcdChannelState &channel : static_cast<HdcdDecoder *>(decoder_or_channel)->channel)
            channel.log = sink;
        break;
    }
}

extern "C" void hdcd_set_analyze_mode(void *decoder_or_channel, uint32_t mode)
{
    if (!decoder_or_channel)
        return;
    switch (*static_cast<const uint32_t *>(decoder_or_channel)) {
    case kHdcdChannelRecord:
        static_cast<HdcdChannelState *>(decoder_or_channel)->analyze_mode = mode;
        break;
    case kHdcdDecoderRecord: {
        auto *decoder = static_cast<HdcdDecoder *>(decoder_or_channel);
        for (HdcdChannelState &channel : decoder->channel)
            channel.analyze_mode = mode;
        decoder->analyze_mode = mode;
        break;
    }
    }
}

} // namespace tonekit
