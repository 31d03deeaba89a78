// hdcd_model.cpp: the decoder bit by bit and sample by sample, slow and plain.
#include "tests/reference/hdcd_model.h"

#include <cmath>
#include <cstdlib>

namespace tonekit::reference {

namespace {

constexpr uint32_t kPrefixes[2] = {0x7E0FA005, 0x7E0FA006};

// Bit `age` of the scrambled view, age 0 being the newest.
unsigned ScrambledBit(uint64_t window, int age)
{
    const auto bit = [window](int position) { return position < 64 ? window >> position & 1 : 0; };
    return static_cast<unsigned>(bit(age) ^ bit(age + 5) ^ bit(age + 23));
}

uint32_t View(uint64_t window)
{
    uint32_t view = 0;
    for (int age = 31; age >= 0; --age)
        view = view * 2 + ScrambledBit(window, age);
    return view;
}

bool HasAll(uint32_t view, uint32_t bits)
{
    return (view & bits) == bits;
}

// Takes the code that is due. Returns whether it is valid.
bool Code(HdcdChannelState &c, uint32_t view)
{
    const unsigned low = view & 255;
    const unsigned second = view / 256 & 255;
    if (HasAll(view, 0x0FA00500)) {
        if ((low & 8) || (low & 64) || (low & 128)) {
            ++c.code_counterA_almost;
            return false;
        }
        // 0 p t . . g g g: the gain field moves up by one bit.
        const unsigned gain = low & 7;
        c.control = static_cast<uint8_t>((low - gain) + 2 * gain);
        ++c.code_counterA;
    } else if (HasAll(view, 0xA0060000)) {
        if (view >> 16 != 0xA006 || low + second != 255) {
            ++c.code_counterB_checkfails;
            return false;
        }
        c.control = static_cast<uint8_t>(second);
        ++c.code_counterB;
    } else {
        return false;
    }
    const int gain = c.control % 16;
    if (c.control & 16)
        ++c.count_peak_extend;
    if (c.control & 32)
        ++c.count_transient_filter;
    ++c.gain_counts[gain];
    if (gain > c.max_gain)
        c.max_gain = gain;
    return true;
}

bool Inspect(HdcdChannelState &c)
{
    const uint32_t view = View(c.window);
    bool valid = false;
    if (c.arg) {
        valid = Code(c, view);
        c.arg = 0;
    }
    if (view == kPrefixes[0] || view == kPrefixes[1]) {
        c.readahead = view == kPrefixes[0] ? 8 : 16;
        c.arg = 1;
        ++c.code_counterC;
    } else if (view == 0) {
        c.readahead = 31;
    } else {
        c.readahead = static_cast<uint8_t>(HdcdReadahead(view & 255));
    }
    return valid;
}

// The curve of peak extension as it is walked: from 0x2CC08300 on, up to each of these indices by the step
// next to it.
constexpr struct {
    int last;
    uint32_t step;
} kPeakSteps[] = {
    {511, 33536},   {1535, 34560},  {2132, 38400},  {2133, 38144},  {2559, 38400},  {3071, 42240},
    {3198, 43008},  {3199, 43264},  {3583, 43008},  {4095, 47872},  {4607, 49152},  {4799, 55296},
    {4800, 55040},  {5119, 55296},  {5545, 59904},  {5546, 60160},  {5631, 59904},  {6143, 65536},
    {6399, 74240},  {6400, 73984},  {6655, 74240},  {7167, 87040},  {7679, 105984}, {7935, 123904},
    {8191, 147456}, {8249, 177152}, {8250, 177408}, {8319, 177152}, {8388, 183296}, {8389, 183040},
    {8447, 183296}, {8575, 227328}, {8703, 262144}, {8724, 292864}, {8725, 293120}, {8767, 292864},
    {8831, 354304}, {8839, 376832}, {8840, 376576}, {8895, 376832}, {8959, 483328}, {9023, 565248},
    {9087, 688128}, {9150, 788480}, {9151, 788736}, {9855, 819200},
};

int32_t Extended(int32_t sample, int bits)
{
    const int64_t level = (int64_t{1} << (bits - 1)) - 9855;
    const int64_t magnitude = std::llabs(int64_t{sample});
    if (magnitude < level)
        return static_cast<int32_t>(static_cast<uint64_t>(int64_t{sample}) << (31 - bits));
    int64_t index = magnitude - level;
    if (index > 9855)
        index = 9855;
    const int64_t value = HdcdPeakValue(static_cast<int>(index));
    return static_cast<int32_t>(static_cast<uint32_t>(sample < 0 ? -value : value));
}

// Division that rounds towards minus infinity.
int64_t FloorDivide(int64_t a, int64_t b)
{
    return a / b - (a % b != 0 && a < 0);
}

int32_t Low32(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

// The gain of each sample of a run; `reached` is where the run leaves it.
std::vector<int> GainsOfRun(int32_t count, int gain, int target, int &reached)
{
    std::vector<int> gains;
    const auto left = [&] { return static_cast<int32_t>(gains.size()) < count; };
    if (gain <= target) {
        while (left() && gain < target)
            gains.push_back(++gain);
    } else {
        while (left() && gain - target >= 8)
            gains.push_back(gain -= 8);
        if (gain - target < 8)
            gain = target;
    }
    while (left())
        gains.push_back(gain);
    reached = gain;
    return gains;
}

bool Extends(const HdcdChannelState &c)
{
    return (c.control & 16) || (c.decoder_options & 128);
}

void Prepare(HdcdChannelState &c, int32_t *samples, int32_t count, int32_t stride)
{
    constexpr long double kPi = 3.14159265358979323846264338327950288L;
    for (int32_t i = 0; i < count; ++i) {
        int period = 147, entries = 588, step = 4;
        switch (c.sample_rate) {
        case 48000:
            period = 160, entries = 640, step = 4;
            break;
        case 96000:
            period = 320, entries = 640, step = 2;
            break;
        case 192000:
            period = 640, entries = 640, step = 1;
            break;
        case 88200:
            period = 294, entries = 588, step = 2;
            break;
        case 176400:
            period = 588, entries = 588, step = 1;
            break;
        }
        c.tone_index = (c.tone_index + 1) % static_cast<unsigned>(period);
        const int index = static_cast<int>(c.tone_index) * step;
        int tone = static_cast<int>(std::sin(2 * kPi * index / entries) * 0.1L * 32767);
        int32_t &sample = samples[i * stride];
        const bool peak = std::llabs(int64_t{sample}) >= 22913;
        tone = tone - (((tone % 4) + 4) % 4);
        sample = tone + (sample & 1) + (peak ? 2 : 0);
    }
}

} // namespace

int HdcdReadahead(unsigned lastEight)
{
    for (int distance = 1; distance < 32; ++distance)
        for (const uint32_t prefix : kPrefixes) {
            // What part of the prefix must be in the last bits now, if it is to be complete at that distance.
            const int known = distance <= 24 ? 8 : 32 - distance;
            const unsigned mask = (1u << known) - 1;
            if ((prefix >> distance & mask) == (lastEight & mask))
                return distance;
        }
    return 32;
}

uint32_t HdcdPeakValue(int index)
{
    static const std::vector<uint32_t> values = [] {
        std::vector<uint32_t> all{0x2CC08300};
        for (const auto &piece : kPeakSteps)
            while (static_cast<int>(all.size()) <= piece.last)
                all.push_back(all.back() + piece.step);
        return all;
    }();
    return values.at(static_cast<size_t>(index));
}

uint32_t HdcdGainFactor(int gain)
{
    static const std::vector<uint32_t> factors = [] {
        std::vector<uint32_t> all;
        for (int i = 0; i <= 1920; ++i) {
            const float factor = static_cast<float>(std::pow(10.0L, -static_cast<long double>(i) / 5120));
            all.push_back(static_cast<uint32_t>(std::floor(static_cast<double>(factor) * 8388608)));
        }
        return all;
    }();
    return factors.at(static_cast<size_t>(gain));
}

int32_t HdcdFindCodes(HdcdChannelState *states, int channels, const int32_t *samples, int32_t max,
                      int32_t stride)
{
    if (max <= 0)
        return 0;
    bool ran[2] = {};
    for (int i = 0; i < channels; ++i) {
        ran[i] = states[i].sustain != 0;
        if (!ran[i])
            continue;
        if (states[i].sustain <= static_cast<uint32_t>(max)) {
            states[i].control = 0;
            max = static_cast<int32_t>(states[i].sustain);
        }
        states[i].sustain -= static_cast<uint32_t>(max);
    }
    if (stride < channels)
        stride = channels;
    int32_t consumed = 0;
    bool found = false;
    while (consumed < max && !found) {
        for (int i = 0; i < channels; ++i) {
            HdcdChannelState &c = states[i];
            c.window = c.window * 2 + (samples[int64_t{consumed} * stride + i] & 1);
            --c.readahead;
            if (c.readahead == 0 && Inspect(c)) {
                found = true;
                c.sustain = c.sustain_reset;
                if (c.count_sustain_expired == -1)
                    c.count_sustain_expired = 0;
            }
        }
        ++consumed;
    }
    for (int i = 0; i < channels; ++i)
        if (ran[i] && states[i].sustain == 0)
            ++states[i].count_sustain_expired;
    return consumed;
}

int32_t HdcdEnvelope(int32_t *samples, int32_t count, int32_t stride, int32_t bits, int32_t gain,
                     int32_t target, bool extend)
{
    int reached = 0;
    const std::vector<int> gains = GainsOfRun(count, gain, target, reached);
    for (int32_t i = 0; i < count; ++i) {
        int32_t &sample = samples[int64_t{i} * stride];
        sample = extend ? Extended(sample, bits) : Low32(int64_t{sample} * (int64_t{1} << (31 - bits)));
        sample = Low32(FloorDivide(int64_t{sample} * HdcdGainFactor(gains[static_cast<size_t>(i)]), 8388608));
    }
    return reached;
}

int32_t HdcdAnalyze(int32_t *samples, int32_t count, int32_t stride, int32_t gain, int32_t target,
                    bool extend, uint32_t mode, uint32_t cdtActive, int32_t mismatch)
{
    int reached = 0;
    const std::vector<int> gains = GainsOfRun(count, gain, target, reached);
    for (int32_t i = 0; i < count; ++i) {
        int32_t &sample = samples[int64_t{i} * stride];
        const bool second = sample & 2;
        const int32_t plain = Low32(int64_t{sample} * 32768);
        if (mode == 2)
            sample = Low32(FloorDivide(int64_t{plain} * (second && extend ? 19456 : 1024), 1024));
        else if ((mode == 4 && mismatch > 0) || (mode == 3 && cdtActive != 0))
            sample = Low32(int64_t{sample} * 0x98000);
        else
            sample = plain;
        if (mode == 1)
            sample = Low32(int64_t{sample} * (gains[static_cast<size_t>(i)] * 18432 / 1920 + 1024) / 1024);
    }
    return reached;
}

void HdcdProcessChannel(HdcdChannelState *state, int32_t *samples, int32_t count, int32_t stride)
{
    int32_t gain = state->running_gain;
    if (state->analyze_mode)
        Prepare(*state, samples, count, stride);
    const auto stage = [&](int32_t from, int32_t run, bool extend, int target) {
        int32_t *at = samples + int64_t{from} * stride;
        gain = state->analyze_mode ? HdcdAnalyze(at, run, stride, gain, target, extend, state->analyze_mode,
                                                 state->sustain, -1)
                                   : HdcdEnvelope(at, run, stride, state->bits, gain, target, extend);
    };
    if (count >= 1) {
        bool extend = Extends(*state);
        int target = state->control % 16 * 128;
        int32_t at = 0;
        int32_t run = HdcdFindCodes(state, 1, samples, count, stride) - 1;
        stage(at, run, extend, target);
        at += run;
        extend = Extends(*state);
        target = state->control % 16 * 128;
        while (count - at > 1) {
            run = HdcdFindCodes(state, 1, samples + int64_t{at + 1} * stride, count - at - 1, stride);
            stage(at, run, extend, target);
            at += run;
            extend = Extends(*state);
            target = state->control % 16 * 128;
        }
        stage(at, 1, extend, target);
    }
    state->running_gain = gain;
    state->sample_count += count;
}

void HdcdProcessLinked(HdcdDecoder *decoder, int32_t *samples, int32_t count)
{
    HdcdChannelState *c = decoder->channel;
    int32_t gain[2] = {c[0].running_gain, c[1].running_gain};
    if (decoder->analyze_mode && count > 0)
        for (int i = 0; i < 2; ++i)
            Prepare(c[i], samples + i, count, 2);
    bool extend[2];
    int mismatch = 0;
    const auto control = [&] {
        extend[0] = Extends(c[0]);
        extend[1] = Extends(c[1]);
        mismatch = c[0].control % 16 != c[1].control % 16;
        if (!mismatch)
            decoder->val_target_gain = c[0].control % 16 * 128;
    };
    const auto stage = [&](int32_t from, int32_t run) {
        if (mismatch)
            decoder->count_tg_mismatch += run;
        for (int i = 0; i < 2; ++i) {
            int32_t *at = samples + int64_t{from} * 2 + i;
            gain[i] = decoder->analyze_mode
                          ? HdcdAnalyze(at, run, 2, gain[i], decoder->val_target_gain, extend[i],
                                        decoder->analyze_mode, c[i].sustain, mismatch)
                          : HdcdEnvelope(at, run, 2, c[i].bits, gain[i], decoder->val_target_gain, extend[i]);
        }
    };
    control();
    if (count >= 1) {
        int32_t at = 0;
        int32_t lead = 0;
        do {
            const int32_t found = HdcdFindCodes(c, 2, samples + int64_t{at + lead} * 2, count - at - lead, 0);
            const int32_t run = found + lead - 1;
            stage(at, run);
            at += run;
            control();
            lead = 1;
        } while (count - at > 1);
        stage(at, 1);
    }
    for (int i = 0; i < 2; ++i) {
        c[i].running_gain = gain[i];
        c[i].sample_count += count;
    }
}

void HdcdUpdateDetection(HdcdDecoder *decoder)
{
    HdcdDetection &d = decoder->detection;
    d.total_packets = d.errors = 0;
    d.active_count = 0;
    d.cdt_expirations = -1;
    for (const HdcdChannelState &c : decoder->channel) {
        if (c.count_transient_filter)
            d.uses_transient_filter = 1;
        d.total_packets += c.code_counterA + c.code_counterB;
        d.packet_type |= (c.code_counterA ? 1u : 0u) + (c.code_counterB ? 2u : 0u);
        if (c.count_peak_extend && d.peak_extend != 1)
            d.peak_extend = c.count_peak_extend == c.code_counterA + c.code_counterB ? 2 : 1;
        const float gain = static_cast<float>(c.max_gain) * -0.5f;
        if (c.max_gain && gain < d.max_gain_adjustment)
            d.max_gain_adjustment = gain;
        if (!c.max_gain && d.max_gain_adjustment > 0)
            d.max_gain_adjustment = 0;
        d.errors += c.code_counterA_almost + c.code_counterB_checkfails + c.code_counterC_unmatched;
        d.active_count += c.sustain != 0;
        if (c.count_sustain_expired >= 0)
            d.cdt_expirations = (d.cdt_expirations == -1 ? 0 : d.cdt_expirations) + c.count_sustain_expired;
    }
    if (d.active_count == 2)
        d.detected = d.max_gain_adjustment == 0 && d.peak_extend == 0 ? 1 : 2;
}

void HdcdProcess(HdcdDecoder *decoder, int32_t *samples, int32_t frames)
{
    if (decoder->linked) {
        HdcdProcessLinked(decoder, samples, frames);
    } else {
        HdcdProcessChannel(&decoder->channel[0], samples, frames, 2);
        HdcdProcessChannel(&decoder->channel[1], samples + (frames > 0 ? 1 : 0), frames, 2); // null if empty
    }
    HdcdUpdateDetection(decoder);
}

// Adds a field's name to `names` if it differs.
#define COMPARE(field)                                                                                       \
    if (!(a.field == b.field))                                                                               \
    names.push_back(#field)

std::vector<const char *> HdcdDifferences(const HdcdChannelState &a, const HdcdChannelState &b)
{
    std::vector<const char *> names;
    COMPARE(record_kind);
    COMPARE(decoder_options);
    COMPARE(window);
    COMPARE(readahead);
    COMPARE(arg);
    COMPARE(control);
    COMPARE(sustain);
    COMPARE(sustain_reset);
    COMPARE(running_gain);
    COMPARE(bits);
    COMPARE(sample_rate);
    COMPARE(cdt_ms);
    COMPARE(code_counterA);
    COMPARE(code_counterA_almost);
    COMPARE(code_counterB);
    COMPARE(code_counterB_checkfails);
    COMPARE(code_counterC);
    COMPARE(code_counterC_unmatched);
    COMPARE(count_peak_extend);
    COMPARE(count_transient_filter);
    for (int i = 0; i < 16; ++i)
        COMPARE(gain_counts[i]);
    COMPARE(max_gain);
    COMPARE(count_sustain_expired);
    COMPARE(sample_count);
    COMPARE(analyze_mode);
    COMPARE(tone_index);
    return names;
}

std::vector<const char *> HdcdDifferences(const HdcdDecoder &a, const HdcdDecoder &b)
{
    std::vector<const char *> names;
    for (int i = 0; i < 2; ++i)
        for (const char *name : HdcdDifferences(a.channel[i], b.channel[i]))
            names.push_back(name);
    COMPARE(record_kind);
    COMPARE(analyze_mode);
    COMPARE(val_target_gain);
    COMPARE(count_tg_mismatch);
    COMPARE(detection.detection_kind);
    COMPARE(detection.detected);
    COMPARE(detection.packet_type);
    COMPARE(detection.total_packets);
    COMPARE(detection.errors);
    COMPARE(detection.peak_extend);
    COMPARE(detection.uses_transient_filter);
    COMPARE(detection.max_gain_adjustment);
    COMPARE(detection.cdt_expirations);
    COMPARE(detection.active_count);
    COMPARE(linked);
    COMPARE(configured_rate);
    COMPARE(configured_bits);
    return names;
}

} // namespace tonekit::reference
