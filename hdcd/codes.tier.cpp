// codes.tier.cpp: scans the control stream for codes.
//
// The stream is defined bit by bit: a channel's window takes in one bit a sample, and is looked at when
// `readahead` has counted down. Read that way, nearly all the time goes into moving bits. But while no
// channel awaits a code, all that a look can do is to set the distance to the next one, unless it finds a
// packet prefix. So stereo audio is hunted through in steps of 32 frames, by the distances of the looks
// alone, up to the step that holds a prefix; that one is read look by look.
#include "frame/packed_samples.h"
#include "frame/tier.h"
#include "hdcd/entries.h"
#include "hdcd/hdcd_log.h"
#include "hdcd/hdcd_state.h"
#include "hdcd/hdcd_tables.h"
#include "hdcd/lsb_gather.h"

#include <cstddef>

namespace tonekit::TONEKIT_TIER {

namespace {

constexpr uint32_t kPrefixA = 0x7E0FA005; // 8 bits follow
constexpr uint32_t kPrefixB = 0x7E0FA006; // 16 bits follow
constexpr uint32_t kCodeA = 0x0FA00500;
constexpr uint32_t kCodeAZeros = 0xC8;
constexpr uint32_t kCodeB = 0xA0060000;
constexpr uint8_t kLookAfterZeros = 31;

// The bits are scrambled; all patterns are those of the view.
uint32_t ScrambledView(uint64_t window)
{
    return static_cast<uint32_t>(window ^ window >> 5 ^ window >> 23);
}

bool ReadCodeA(HdcdChannelState *channel, uint32_t view)
{
    if ((view & kCodeAZeros) != 0) {
        ++channel->code_counterA_almost;
        hdcd_log_write(channel->log, "hdcd error: Control A almost: 0x%02x near %d\n", view & 0xFF,
                       channel->sample_count);
        return false;
    }
    // Code A has 3 bits for the gain, in steps of 1 dB: the sum doubles them.
    channel->control = static_cast<uint8_t>((view & 0xFF) + (view & 7));
    ++channel->code_counterA;
    return true;
}

bool ReadCodeB(HdcdChannelState *channel, uint32_t view)
{
    const uint32_t check = ~view >> 8 & 0xFF;
    if (((view & 0xFFFF00FF) ^ check) != kCodeB) {
        ++channel->code_counterB_checkfails;
        hdcd_log_write(channel->log,
                       "hdcd error: Control B check failed: 0x%04x (0x%02x vs 0x%02x) near %d\n",
                       view & 0xFFFF, view >> 8 & 0xFF, ~view & 0xFF, channel->sample_count);
        return false;
    }
    channel->control = static_cast<uint8_t>(view >> 8);
    ++channel->code_counterB;
    return true;
}

// Reads the code that is due. Returns whether it is valid; what is neither code is passed over in silence.
bool ReadCode(HdcdChannelState *channel, uint32_t view)
{
    bool valid = false;
    if ((view & kCodeA) == kCodeA)
        valid = ReadCodeA(channel, view);
    else if ((view & kCodeB) == kCodeB)
        valid = ReadCodeB(channel, view);
    if (!valid)
        return false;
    const int32_t gain = channel->control & kHdcdGainMask;
    channel->count_peak_extend += (channel->control & kHdcdPeakExtend) != 0;
    channel->count_transient_filter += (channel->control & kHdcdTransientFilter) != 0;
    ++channel->gain_counts[gain];
    if (channel->max_gain < gain)
        channel->max_gain = gain;
    return true;
}

// Looks at a channel's window, once readahead has run out. Returns whether a valid code has been completed.
bool Look(HdcdChannelState *channel)
{
    const uint32_t view = ScrambledView(channel->window);
    bool accepted = false;
    if (channel->arg != 0) {
        accepted = ReadCode(channel, view);
        channel->arg = 0;
    }
    if (view == kPrefixA || view == kPrefixB) {
        channel->readahead = static_cast<uint8_t>((view & 3) * 8);
        channel->arg = 1;
        ++channel->code_counterC;
    } else {
        channel->readahead = view != 0 ? HdcdReadaheadTable[view & 0xFF] : kLookAfterZeros;
    }
    return accepted;
}

// A scan on its way.
struct CodeScan {
    HdcdChannelState *states;
    int32_t channels;
    const int32_t *samples; // of the next frame
    int32_t stride;
    int32_t consumed;
    bool accepted; // a valid code has ended it
};

// The bits 0 of one channel's next frames, 32 at most, the oldest on top.
uint64_t CollectLsbs(const int32_t *samples, int32_t frames, int32_t stride)
{
    const auto *packed = reinterpret_cast<const PackedInt32 *>(samples);
    uint64_t bits = 0;
    for (int32_t i = 0; i < frames; ++i, packed += stride)
        bits = bits << 1 | (static_cast<uint32_t>(packed->value) & 1);
    return bits;
}

// Reads up to the next look of any channel, and at most the given number of frames (32 or fewer). Returns the
// frames.
int32_t ReadToNextLook(CodeScan *scan, int32_t frames)
{
    for (int32_t i = 0; i < scan->channels; ++i)
        frames = frames < scan->states[i].readahead ? frames : scan->states[i].readahead;
    for (int32_t i = 0; i < scan->channels; ++i) {
        HdcdChannelState *channel = &scan->states[i];
        channel->window = channel->window << frames | CollectLsbs(scan->samples + i, frames, scan->stride);
        channel->readahead = static_cast<uint8_t>(channel->readahead - frames);
        if (channel->readahead == 0 && Look(channel)) {
            scan->accepted = true;
            channel->sustain = channel->sustain_reset;
            if (channel->count_sustain_expired == -1)
                channel->count_sustain_expired = 0;
        }
    }
    return frames;
}

// The hunt keeps bits in time order, the oldest in bit 0, as they are gathered.
uint64_t ReverseBits(uint64_t bits)
{
    bits = (bits & 0x5555555555555555) << 1 | (bits >> 1 & 0x5555555555555555);
    bits = (bits & 0x3333333333333333) << 2 | (bits >> 2 & 0x3333333333333333);
    bits = (bits & 0x0F0F0F0F0F0F0F0F) << 4 | (bits >> 4 & 0x0F0F0F0F0F0F0F0F);
    return __builtin_bswap64(bits);
}
constexpr uint32_t kReversedPrefixA = 0xA005F07E;
constexpr uint32_t kReversedPrefixB = 0x6005F07E;

__m128i Scrambled(__m128i bits)
{
    return _mm_xor_si128(bits, _mm_xor_si128(_mm_slli_epi64(bits, 5), _mm_slli_epi64(bits, 23)));
}

// Follows one channel's looks through a step. Due counts from the step's first frame, 1 to 32 standing for a
// look within it. Returns the count from the next step's first frame; 0 if a look finds a prefix.
[[gnu::always_inline]] inline uint32_t HuntThroughStep(uint64_t view, uint32_t due)
{
    while (due <= kGatherFrames) {
        // Bit 31 of the shifted view is the frame of the look.
        const auto look = static_cast<uint32_t>(view >> due);
        uint32_t distance = HdcdHuntTable[static_cast<int>(look >> 24)];
        if (__builtin_expect(distance == 0, 0)) {
            if (look == kReversedPrefixA || look == kReversedPrefixB)
                return 0;
            distance = look == 0 ? kLookAfterZeros
                                 : HdcdReadaheadTable[static_cast<int>(ReverseBits(look) >> 32 & 0xFF)];
        }
        due += distance;
    }
    return due - kGatherFrames;
}

// Takes both channels through as many whole steps of 32 frames as hold no prefix. Returns the frames. Both
// channels must be without a code due.
int32_t HuntStereo(HdcdChannelState *states, const int32_t *samples, int32_t frames)
{
    // A lane for each channel: its last 64 bits, and the view of these, of which the upper 41 bits are right.
    __m128i bits = _mm_set_epi64x(static_cast<long long>(ReverseBits(states[1].window)),
                                  static_cast<long long>(ReverseBits(states[0].window)));
    __m128i newestView = Scrambled(bits);
    uint32_t leftDue = states[0].readahead;
    uint32_t rightDue = states[1].readahead;
    int32_t hunted = 0;
    for (; frames - hunted >= kGatherFrames; hunted += kGatherFrames, samples += 2 * kGatherFrames) {
        const __m128i nextBits =
            _mm_unpacklo_epi32(_mm_shuffle_epi32(bits, _MM_SHUFFLE(3, 1, 3, 1)), GatherLsbs(samples));
        const __m128i nextView = Scrambled(nextBits);
        const __m128i view = _mm_or_si128(_mm_srli_epi64(newestView, 32),
                                          _mm_and_si128(nextView, _mm_set1_epi64x(-0x100000000)));
        const uint32_t left = HuntThroughStep(static_cast<uint64_t>(_mm_cvtsi128_si64(view)), leftDue);
        const uint32_t right = HuntThroughStep(
            static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(view, view))), rightDue);
        if (left == 0 || right == 0)
            break;
        leftDue = left;
        rightDue = right;
        bits = nextBits;
        newestView = nextView;
    }
    states[0].window = ReverseBits(static_cast<uint64_t>(_mm_cvtsi128_si64(bits)));
    states[1].window = ReverseBits(static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(bits, bits))));
    states[0].readahead = static_cast<uint8_t>(leftDue);
    states[1].readahead = static_cast<uint8_t>(rightDue);
    return hunted;
}

// Hunts through what frames can be hunted through; returns how many.
int32_t Hunt(const CodeScan *scan, int32_t frames)
{
    if (scan->channels != 2 || scan->stride != 2 || frames < kGatherFrames)
        return 0;
    for (int32_t i = 0; i < 2; ++i)
        if (scan->states[i].arg != 0 || scan->states[i].readahead == 0)
            return 0;
    return HuntStereo(scan->states, scan->samples, frames);
}

void Advance(CodeScan *scan, int32_t frames)
{
    scan->samples += static_cast<ptrdiff_t>(frames) * scan->stride;
    scan->consumed += frames;
}

// Reads the frames, or the length of a hunting step of them, or up to a valid code.
void ReadLookByLook(CodeScan *scan, int32_t frames)
{
    const int32_t end = scan->consumed + (frames < kGatherFrames ? frames : kGatherFrames);
    while (scan->consumed < end && !scan->accepted)
        Advance(scan, ReadToNextLook(scan, end - scan->consumed));
}

// Counts a running timer down for the whole scan, which gives nothing back if a code ends it early. A timer
// that lapses takes the control with it and shortens the scan; for a channel before it, which has paid for
// the longer way, that comes too late. Returns the frames that are left to scan.
int32_t ChargeTimer(HdcdChannelState *channel, int32_t max)
{
    if (channel->sustain <= static_cast<uint32_t>(max)) {
        channel->control = 0;
        max = static_cast<int32_t>(channel->sustain);
    }
    channel->sustain -= static_cast<uint32_t>(max);
    return max;
}

} // namespace

TONEKIT_INTERNAL_BODY(hdcd_find_codes, int32_t,
                      (HdcdChannelState * states, int32_t channels, const int32_t *samples, int32_t max,
                       int32_t stride))
{
    if (max <= 0)
        return 0;
    bool timed[2] = {false, false};
    for (int32_t i = 0; i < channels; ++i) {
        timed[i] = states[i].sustain != 0;
        if (timed[i])
            max = ChargeTimer(&states[i], max);
    }
    CodeScan scan = {states, channels, samples, stride < channels ? channels : stride, 0, false};
    while (scan.consumed < max && !scan.accepted) {
        const int32_t hunted = Hunt(&scan, max - scan.consumed);
        if (hunted == 0)
            ReadLookByLook(&scan, max - scan.consumed);
        else
            Advance(&scan, hunted);
    }
    for (int32_t i = 0; i < channels; ++i)
        if (timed[i] && states[i].sustain == 0)
            ++states[i].count_sustain_expired;
    return scan.consumed;
}

} // namespace tonekit::TONEKIT_TIER
