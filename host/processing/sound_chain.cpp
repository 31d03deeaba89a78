// sound_chain.cpp: the order in which samples are decoded, made louder, converted and rounded.
#include "host/processing/sound_chain.h"

#include "host/processing/sample_guard.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <cmath>

namespace tonekit::host {

namespace {

// From the source, or from decoded HDCD, to floats of the same rate and channels.
Plan PlanFromHdcd(const Plan &plan)
{
    Plan step = plan;
    step.target = {SampleFormat::Float64, plan.source.channels, plan.source.rate};
    step.dither = false;
    return step;
}

// Whether the form of the output is made in a step of its own.
bool RoundsLast(const Plan &plan)
{
    return plan.changesLevel && plan.target.sample != SampleFormat::Float64;
}

Plan MainPlan(const Plan &plan)
{
    Plan step = plan;
    if (plan.changesLevel) {
        step.source.sample = SampleFormat::Float64;
        step.decodeHdcd = false;
    }
    if (RoundsLast(plan)) {
        step.target.sample = SampleFormat::Float64;
        step.dither = false;
    }
    return step;
}

Plan RoundingPlan(const Plan &plan)
{
    Plan step = plan;
    step.source = {SampleFormat::Float64, plan.target.channels, plan.target.rate};
    step.decodeHdcd = false;
    return step;
}

} // namespace

SoundChain::SoundChain(const Options &options, const Plan &plan) : plan_(plan)
{
    if (plan.decodeHdcd)
        hdcd_.emplace();
    if (plan.decodeHdcd && plan.changesLevel)
        fromHdcd_.emplace(options, PlanFromHdcd(plan));
    const Plan main = MainPlan(plan);
    if (!plan.copySamples && !(plan.changesLevel && main.source == main.target)) {
        converter_.emplace(options, main);
        watch_.emplace(*converter_, main.source);
    }
    if (RoundsLast(plan) && !IsFloat(plan.target.sample))
        rounder_.emplace(options, RoundingPlan(plan));
}

void SoundChain::LeadIn(SampleSource &source)
{
    if (!hdcd_)
        return;
    constexpr uint32_t kReadFrames = 16384;
    std::vector<uint8_t> block(size_t{kReadFrames} * plan_.source.FrameBytes());
    while (const uint32_t frames = source.ReadBefore(block.data(), kReadFrames)) {
        hdcd_->Decode(reinterpret_cast<const int16_t *>(block.data()), frames);
        if (InterruptNoted())
            throw Interrupted();
    }
}

void SoundChain::Write(const void *samples, uint32_t frames, const FrameSink &sink)
{
    if (hdcd_)
        samples = hdcd_->Decode(static_cast<const int16_t *>(samples), frames);
    if (!plan_.changesLevel) {
        Convert(samples, frames, sink);
    } else if (fromHdcd_) {
        fromHdcd_->Write(samples, frames, [&](const void *decoded, uint32_t count) {
            Raise(static_cast<const double *>(decoded), count, sink);
        });
    } else {
        raised_.resize(size_t{frames} * plan_.source.channels);
        SamplesToDouble(plan_.source.sample, samples, raised_.data(), raised_.size());
        Raise(raised_.data(), frames, sink);
    }
}

void SoundChain::Raise(const double *samples, uint32_t frames, const FrameSink &sink)
{
    const size_t count = size_t{frames} * plan_.source.channels;
    if (samples != raised_.data())
        raised_.assign(samples, samples + count);
    for (size_t i = 0; i < count; ++i)
        raised_[i] *= plan_.gain;
    Convert(raised_.data(), frames, sink);
}

FrameSink SoundChain::LastStep(const FrameSink &sink)
{
    if (!RoundsLast(plan_))
        return sink;
    return [this, &sink](const void *samples, uint32_t frames) {
        const auto *values = static_cast<const double *>(samples);
        if (rounder_)
            Round(values, frames, sink);
        else
            Narrow(values, frames, sink);
    };
}

void SoundChain::Convert(const void *samples, uint32_t frames, const FrameSink &sink)
{
    const FrameSink last = LastStep(sink);
    if (!converter_)
        return last(samples, frames);
    converter_->Write(samples, frames, last);
    watch_->Look(samples, frames);
    if (!plan_.changesLevel && plan_.target.sample != SampleFormat::Float64)
        CountClipped(samples, frames);
}

void SoundChain::CountClipped(const void *samples, uint32_t frames)
{
    const size_t count = size_t{frames} * plan_.source.channels;
    if (plan_.source.channels == plan_.target.channels) {
        clipped_ += LouderThanFullScale(plan_.source.sample, samples, count);
    } else if (!converter_->CanLimit() &&
               (IsFloat(plan_.source.sample) || converter_->MixCanExceedFullScale())) {
        unmixed_.resize(count);
        SamplesToDouble(plan_.source.sample, samples, unmixed_.data(), count);
        clipped_ += converter_->LouderInMix(unmixed_.data(), frames);
    }
}

void SoundChain::Round(const double *samples, uint32_t frames, const FrameSink &sink)
{
    const size_t count = size_t{frames} * plan_.target.channels;
    // Half a step above the largest positive number is where rounding would reach one that there isn't.
    const double half = std::ldexp(1.0, -static_cast<int>(BitsOf(plan_.target.sample)));
    for (size_t i = 0; i < count; ++i)
        tooLoud_ += samples[i] >= 1 - half || samples[i] < -1 - half ? 1u : 0u;
    rounder_->Write(samples, frames, sink);
}

// The converter would clip: 32 bit floats hold what is beyond full scale.
void SoundChain::Narrow(const double *samples, uint32_t frames, const FrameSink &sink)
{
    const size_t count = size_t{frames} * plan_.target.channels;
    const bool coded = plan_.container && plan_.container->lossy;
    narrowed_.resize(count);
    for (size_t i = 0; i < count; ++i) {
        tooLoud_ += coded && std::fabs(samples[i]) > 1 ? 1u : 0u;
        narrowed_[i] = static_cast<float>(samples[i]);
    }
    sink(narrowed_.data(), frames);
}

void SoundChain::Finish(const FrameSink &sink)
{
    if (fromHdcd_)
        fromHdcd_->Finish([&](const void *decoded, uint32_t count) {
            Raise(static_cast<const double *>(decoded), count, sink);
        });
    if (converter_)
        converter_->Finish(LastStep(sink));
    if (rounder_)
        rounder_->Finish(sink);
}

} // namespace tonekit::host
