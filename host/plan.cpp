// plan.cpp: formats, dither and file type of an output.
#include "host/plan.h"

#include "host/processing/level.h"
#include "host/system/failure.h"

#include <string>

namespace tonekit::host {

namespace {

// Rates between which the converter's buffers stay within reason.
constexpr uint32_t kLowestRate = 1000;
constexpr uint32_t kHighestRate = 1'536'000;

SampleFormat WantedFormat(const Options &options, const Source &source, bool decodeHdcd)
{
    if (options.format)
        return *options.format;
    // Decoded HDCD has up to 20 bits.
    if (decodeHdcd)
        return SampleFormat::Int24;
    // A coder returns floats, but their precision is no more than that of the music that was coded.
    if (source.lossy)
        return SampleFormat::Int16;
    return source.format.sample;
}

const Container &RoomyContainer(const Container &wanted, const Plan &plan)
{
    const uint64_t bytes = plan.expectedFrames * plan.target.FrameBytes();
    if (wanted.byteLimit == 0 || bytes <= wanted.byteLimit)
        return wanted;
    // A .wav that needs longer sizes is an RF64 file; players know it by its first letters, not by its name.
    if (wanted.kind == ContainerKind::Wav)
        return ContainerOf(ContainerKind::Rf64);
    throw Failure(std::string("more than 4 GiB of samples don't fit into ") + wanted.name +
                  ": choose w64, rf64, caf or flac");
}

} // namespace

bool WantsDither(const Options &options, const Plan &plan)
{
    // The converter never dithers 32 bits, and with no step to hide there is nothing to dither in a float.
    if (plan.copySamples || IsFloat(plan.target.sample) || plan.target.sample == SampleFormat::Int32)
        return false;
    if (options.dither != DitherChoice::Auto)
        return options.dither == DitherChoice::On;
    // What was a whole number isn't one any longer.
    if (plan.changesLevel)
        return true;
    return plan.decodeHdcd ? plan.target.sample < SampleFormat::Int24
                           : BitsOf(plan.target.sample) < BitsOf(plan.source.sample);
}

void CheckTarget(const Options &options, const Container &wanted)
{
    AudioFormat asked{wanted.formats.front(), 1, ClosestRate(wanted, 44100)};
    asked.rate = options.rate.value_or(asked.rate);
    asked.channels = options.channels.value_or(asked.channels);
    asked.sample = options.format.value_or(asked.sample);
    if (const std::string objection = Objection(wanted, asked); !objection.empty())
        throw UsageError(std::string(wanted.name) + " " + objection);
    if (const std::string objection = Objection(wanted, options.encoder); !objection.empty())
        throw UsageError(std::string(wanted.name) + " " + objection);
}

Plan PlanToKeep(const AudioFormat &format, Loudspeakers loudspeakers)
{
    Plan plan;
    plan.loudspeakers = loudspeakers;
    plan.source = plan.target = format;
    plan.copyFile = plan.copySamples = true;
    return plan;
}

Plan MakePlan(const Options &options, const Source &source, const Container &wanted, bool decodeHdcd)
{
    Plan plan;
    plan.source = source.format;
    plan.decodeHdcd = decodeHdcd;
    plan.target.rate = options.rate.value_or(ClosestRate(wanted, source.format.rate));
    plan.target.channels = options.channels.value_or(source.format.channels);
    plan.target.sample = WantedFormat(options, source, decodeHdcd);
    if (!options.format)
        plan.target.sample = ClosestFormat(wanted, plan.target.sample);

    if (const std::string objection = Objection(wanted, plan.target); !objection.empty())
        throw Failure(std::string(wanted.name) + " " + objection);
    if (plan.target.channels == plan.source.channels)
        plan.loudspeakers = source.loudspeakers;
    else if (!CanBeMixed(source.loudspeakers))
        throw Failure("its channels are for " + NamesOf(source.loudspeakers) +
                      ", and there is no mix of these: leave --channels out");
    plan.encoder = options.encoder;
    if (const std::string objection = BitRateObjection(wanted, plan.target, plan.encoder); !objection.empty())
        throw Failure(std::string(wanted.name) + " " + objection);

    const bool measured = NeedsMeasurement(options, plan);
    plan.changesLevel = options.gain != 0 || measured;
    // A file that is lowered evenly, or set to a loudness, needs no limiter.
    plan.limiter = options.limiter && !measured;
    plan.copySamples = plan.source == plan.target && !decodeHdcd && !plan.changesLevel;
    const bool rateChanges = plan.source.rate != plan.target.rate;
    if (rateChanges && (plan.source.rate < kLowestRate || plan.source.rate > kHighestRate))
        throw Failure("a rate of " + std::to_string(plan.source.rate) + " Hz can't be changed");
    if (plan.target.channels == 3 && !plan.copySamples)
        throw Failure("3 channels can only be copied as they are: add --channels 2 or another count");

    plan.expectedFrames = source.frames;
    if (rateChanges) {
        const double ratio = static_cast<double>(plan.target.rate) / plan.source.rate;
        plan.expectedFrames = static_cast<uint64_t>(static_cast<double>(source.frames) * ratio + 0.5);
    }
    plan.container = &RoomyContainer(wanted, plan);
    plan.copyFile = plan.copySamples && plan.container == source.container && !plan.encoder.Any();
    plan.dither = WantsDither(options, plan);
    return plan;
}

} // namespace tonekit::host
