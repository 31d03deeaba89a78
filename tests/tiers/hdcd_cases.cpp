// hdcd_cases.cpp: HDCD streams full of packets, through every dispatched function of the family.
#include "hdcd/entries.h"
#include "tests/hdcd/random_stream.h"
#include "tests/tiers/tiers.h"

#include <algorithm>
#include <cstring>
#include <tonekit/hdcd.h>
#include <vector>

namespace tonekit::tiers {

// A decoder's state without its pointers, which differ from run to run.
static void AddDecoder(Record &record, const HdcdDecoder *decoder)
{
    HdcdDecoder copy;
    std::memcpy(static_cast<void *>(&copy), decoder, sizeof copy);
    for (HdcdChannelState &channel : copy.channel)
        channel.log = nullptr;
    copy.log_sink = {};
    record.Add(&copy, sizeof copy);
}

// Fills a buffer, which may be at any address, with samples.
template <class Sample>
static void Place(const std::vector<Sample> &samples, GuardedBuffer &buffer)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(samples.data());
    std::copy(bytes, bytes + buffer.size(), buffer.data());
}

static void ExerciseFindCodes(const Bodies &bodies, Random &random, Record &record)
{
    const auto findCodes = bodies.Get<decltype(hdcd_find_codes)>("hdcd_find_codes");
    for (int round = 0; round < 20; ++round) {
        RandomStream stream(random);
        HdcdDecoder *decoder = hdcd_new();
        stream.DisturbDecoder(decoder);
        for (const auto &block : stream.Blocks()) {
            GuardedBuffer samples(block.samples.size() * 4, random.Below(64));
            Place(block.samples, samples);
            const auto frames = static_cast<int32_t>(block.samples.size() / 2);
            const auto channels = static_cast<int32_t>(1 + random.Below(2));
            record.AddValue(findCodes(decoder->channel, channels, samples.As<int32_t>(), frames, 2));
            record.Guards(samples);
            AddDecoder(record, decoder);
        }
        hdcd_free(decoder);
    }
}
TONEKIT_TIER_CASE(ExerciseFindCodes, "hdcd_find_codes");

static void ExerciseGain(const Bodies &bodies, Random &random, Record &record)
{
    const auto envelope = bodies.Get<decltype(hdcd_envelope)>("hdcd_envelope");
    const auto linked = bodies.Get<decltype(EnvelopeLinked)>("EnvelopeLinked");
    for (const uint32_t frames :
         {0u, 1u, 2u, 3u, 7u, 8u, 15u, 16u, 17u, 31u, 32u, 33u, 63u, 64u, 65u, 700u, 3000u})
        for (int round = 0; round < 20; ++round) {
            GuardedBuffer samples(size_t{frames} * 8, random.Below(64));
            random.Fill(samples.data(), samples.size());
            for (uint32_t i = 0; round % 2 != 0 && i < 2 * frames; ++i)
                samples.data()[4 * i + 3] = samples.data()[4 * i + 2] =
                    samples.data()[4 * i + 1] & 0x80 ? 0xFF : 0;
            LinkedGain gain{};
            for (int i = 0; i < 2; ++i) {
                gain.bits[i] = round % 5 == 0 ? 16 + 4 * i : 16;
                gain.extend[i] = static_cast<int32_t>(random.Below(2));
                gain.gain[i] = static_cast<int32_t>(random.Below(2) * random.Below(1921));
            }
            gain.target = static_cast<int32_t>(128 * random.Below(16));
            if (round % 3 != 0)
                linked(samples.As<int32_t>(), static_cast<int32_t>(frames), &gain);
            else
                record.AddValue(envelope(samples.As<int32_t>(), static_cast<int32_t>(frames), 2, gain.bits[0],
                                         gain.gain[0], gain.target, gain.extend[0]));
            record.AddValue(gain);
            record.Guards(samples);
        }
}
TONEKIT_TIER_CASE(ExerciseGain, "hdcd_envelope", "EnvelopeLinked");

static void ExerciseProcess(const Bodies &bodies, Random &random, Record &record)
{
    const auto channel = bodies.Get<decltype(hdcd_process_channel)>("hdcd_process_channel");
    const auto linked = bodies.Get<decltype(hdcd_process_linked)>("hdcd_process_linked");
    const auto follow = bodies.Get<decltype(FollowLinked)>("FollowLinked");
    for (int round = 0; round < 30; ++round) {
        RandomStream stream(random);
        HdcdDecoder *decoder = hdcd_new();
        stream.DisturbDecoder(decoder);
        for (const auto &block : stream.Blocks()) {
            GuardedBuffer samples(block.samples.size() * 4, random.Below(64));
            Place(block.samples, samples);
            const auto frames = static_cast<int32_t>(block.samples.size() / 2);
            if (round % 3 == 1)
                record.AddValue(follow(decoder, samples.As<int32_t>(), frames));
            else if (round % 3 == 2)
                record.AddValue(linked(decoder, samples.As<int32_t>(), frames));
            else
                record.AddValue(channel(&decoder->channel[0], samples.As<int32_t>(), frames, 2));
            record.Guards(samples);
            AddDecoder(record, decoder);
        }
        hdcd_free(decoder);
    }
}
TONEKIT_TIER_CASE(ExerciseProcess, "hdcd_process_channel", "hdcd_process_linked", "FollowLinked");

static void ExerciseInterface(const Bodies &bodies, Random &random, Record &record)
{
    const auto scan = bodies.Get<decltype(hdcd_scan)>("hdcd_scan");
    const auto scan16 = bodies.Get<decltype(hdcd_scan16)>("hdcd_scan16");
    for (int round = 0; round < 20; ++round) {
        RandomStream stream(random);
        HdcdDecoder *decoder = hdcd_new();
        for (const auto &block : stream.Blocks()) {
            const auto frames = static_cast<int32_t>(block.samples.size() / 2);
            if (round % 2 == 0) {
                GuardedBuffer samples(block.samples.size() * 4, random.Below(64));
                Place(block.samples, samples);
                record.AddValue(scan(decoder, samples.As<int32_t>(), frames));
                record.Guards(samples);
            } else {
                GuardedBuffer samples(block.samples.size() * 2, random.Below(64));
                Place(std::vector<int16_t>(block.samples.begin(), block.samples.end()), samples);
                record.AddValue(scan16(decoder, samples.As<int16_t>(), frames));
                record.Guards(samples);
            }
            AddDecoder(record, decoder);
        }
        hdcd_free(decoder);
    }
}
TONEKIT_TIER_CASE(ExerciseInterface, "hdcd_scan", "hdcd_scan16");

// Audio without codes.
static std::vector<int32_t> &BenchFrames()
{
    static std::vector<int32_t> frames = [] {
        Random random(1);
        std::vector<int32_t> samples(2 * 8192);
        for (int32_t &sample : samples)
            sample = static_cast<int16_t>(random.Next());
        return samples;
    }();
    return frames;
}

static void BenchFindCodes(const Bodies &bodies)
{
    const auto findCodes = bodies.Get<decltype(hdcd_find_codes)>("hdcd_find_codes");
    static HdcdDecoder *decoder = hdcd_new();
    findCodes(decoder->channel, 2, BenchFrames().data(), 8192, 0);
}
TONEKIT_TIER_BENCH(BenchFindCodes, "hdcd_find_codes");

static void BenchEnvelopeHeld(const Bodies &bodies)
{
    const auto linked = bodies.Get<decltype(EnvelopeLinked)>("EnvelopeLinked");
    LinkedGain gain = {{16, 16}, {0, 0}, {512, 512}, 512};
    linked(BenchFrames().data(), 8192, &gain);
}
TONEKIT_TIER_BENCH(BenchEnvelopeHeld, "EnvelopeLinked");

static void BenchScan(const Bodies &bodies)
{
    const auto scan = bodies.Get<decltype(hdcd_scan)>("hdcd_scan");
    static HdcdDecoder *decoder = hdcd_new();
    scan(decoder, BenchFrames().data(), 8192);
}
TONEKIT_TIER_BENCH(BenchScan, "hdcd_scan", "FollowLinked");

} // namespace tonekit::tiers
