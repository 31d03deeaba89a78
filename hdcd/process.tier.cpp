// process.tier.cpp: cuts blocks at the control codes and runs the gain stage between them.
//
// The scan goes one frame ahead of the gain stage, so that the frame that completes a code, or on which a
// timer lapses, is the first to be heard under the new control.
#include "frame/tier.h"
#include "hdcd/analyze.h"
#include "hdcd/entries.h"
#include "hdcd/gain_ramp.h"

#include <cstddef>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(hdcd_find_codes);
TONEKIT_SIBLING(hdcd_envelope);
TONEKIT_SIBLING(EnvelopeLinked);

namespace {

int32_t *FrameAt(int32_t *samples, int32_t frame, int32_t stride)
{
    return samples + static_cast<ptrdiff_t>(frame) * stride;
}

int32_t WrappingSum(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// What a channel's control byte asks for; valid until it is read again.
struct ChannelControl {
    int32_t extend;
    int32_t target;
};

ChannelControl ControlOf(const HdcdChannelState *state)
{
    return {ExtendsPeaks(*state), (state->control & kHdcdGainMask) * kHdcdGainStep};
}

void RunChannel(HdcdChannelState *state, int32_t *samples, int32_t count, int32_t stride,
                ChannelControl control)
{
    if (state->analyze_mode != 0)
        state->running_gain = hdcd_analyze(samples, count, stride, state->running_gain, control.target,
                                           control.extend, state->analyze_mode, state->sustain, -1);
    else
        state->running_gain = TONEKIT_TIER::hdcd_envelope(
            samples, count, stride, state->bits, state->running_gain, control.target, control.extend);
}

// A linked block on its way through the decoder.
struct LinkedBlock {
    HdcdDecoder *decoder;
    int32_t *samples; // of the next frame that the gain stage takes
    bool heard;       // whether anybody wants the samples
    int32_t mismatch;
    LinkedGain gain;
};

void TakeControl(LinkedBlock *block)
{
    HdcdDecoder *decoder = block->decoder;
    block->mismatch = hdcd_control_linked(decoder, &block->gain.extend[0], &block->gain.extend[1]);
    block->gain.target = decoder->val_target_gain;
}

// The gain stage over the next frames.
void RunLinked(LinkedBlock *block, int32_t frames)
{
    HdcdDecoder *decoder = block->decoder;
    LinkedGain *gain = &block->gain;
    if (block->mismatch != 0)
        decoder->count_tg_mismatch = WrappingSum(decoder->count_tg_mismatch, frames);
    if (!block->heard)
        for (int i = 0; i < 2; ++i)
            gain->gain[i] = RampTowards(gain->gain[i], gain->target, frames).reached;
    else if (decoder->analyze_mode == 0)
        TONEKIT_TIER::EnvelopeLinked(block->samples, frames, gain);
    else
        for (int i = 0; i < 2; ++i)
            gain->gain[i] =
                hdcd_analyze(block->samples + i, frames, 2, gain->gain[i], gain->target, gain->extend[i],
                             decoder->analyze_mode, decoder->channel[i].sustain, block->mismatch);
    block->samples = FrameAt(block->samples, frames, 2);
}

// Takes both channels through a block, whose samples are decoded only if they are to be heard.
int32_t TakeLinked(HdcdDecoder *decoder, int32_t *samples, int32_t count, bool heard)
{
    HdcdChannelState *channels = decoder->channel;
    if (decoder->analyze_mode != 0 && count >= 1) // an empty block may be null
        for (int i = 0; i < 2; ++i)
            PrepareAnalysis(&channels[i], samples + i, count, 2);
    LinkedBlock block{};
    block.decoder = decoder;
    block.samples = samples;
    block.heard = heard;
    for (int i = 0; i < 2; ++i) {
        block.gain.bits[i] = channels[i].bits;
        block.gain.gain[i] = channels[i].running_gain;
    }
    TakeControl(&block);
    if (count >= 1) {
        int32_t remaining = count;
        int32_t lead = 0;
        do {
            const int32_t scanned = TONEKIT_TIER::hdcd_find_codes(
                channels, 2, FrameAt(block.samples, lead, 2), remaining - lead, 0);
            const int32_t run = scanned + lead - 1;
            RunLinked(&block, run);
            TakeControl(&block);
            remaining -= run;
            lead = 1;
        } while (remaining > 1);
        RunLinked(&block, 1);
    }
    for (int i = 0; i < 2; ++i) {
        channels[i].running_gain = block.gain.gain[i];
        channels[i].sample_count = WrappingSum(channels[i].sample_count, count);
    }
    return channels[1].running_gain;
}

} // namespace

TONEKIT_INTERNAL_BODY(hdcd_process_channel, int32_t,
                      (HdcdChannelState * state, int32_t *samples, int32_t count, int32_t stride))
{
    if (state->analyze_mode != 0)
        PrepareAnalysis(state, samples, count, stride);
    if (count >= 1) {
        ChannelControl control = ControlOf(state);
        int32_t run = TONEKIT_TIER::hdcd_find_codes(state, 1, samples, count, stride) - 1;
        int32_t remaining = count;
        for (;;) {
            RunChannel(state, samples, run, stride, control);
            samples = FrameAt(samples, run, stride);
            remaining -= run;
            control = ControlOf(state);
            if (remaining <= 1)
                break;
            run = TONEKIT_TIER::hdcd_find_codes(state, 1, FrameAt(samples, 1, stride), remaining - 1, stride);
        }
        RunChannel(state, samples, 1, stride, control);
    }
    state->sample_count = WrappingSum(state->sample_count, count);
    return state->running_gain;
}

TONEKIT_INTERNAL_BODY(hdcd_process_linked, int32_t, (HdcdDecoder * decoder, int32_t *samples, int32_t count))
{
    return TakeLinked(decoder, samples, count, true);
}

TONEKIT_INTERNAL_BODY(FollowLinked, int32_t, (HdcdDecoder * decoder, int32_t *samples, int32_t count))
{
    return TakeLinked(decoder, samples, count, false);
}

} // namespace tonekit::TONEKIT_TIER
