// stream.cpp: feeds arrays to the host's converter, without the GIL.
#include "python/src/stream.h"

#include "python/src/array_source.h"

#include <algorithm>
#include <string>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

constexpr uint32_t kGatherFrames = 16384;   // of arrays that aren't interleaved; stays in the cache
constexpr uint32_t kWriteFrames = 1u << 30; // that the library takes at once
constexpr uint64_t kShortBytes = 65536;     // of arrays whose copy takes no longer than to release the GIL
constexpr uint32_t kHdcdFrames = 16384;     // a block of tonekit-convert, so that both decode alike

// Keeps a second thread out instead of letting it wait: it would feed its frames in some order or other.
class Occupation {
public:
    explicit Occupation(std::atomic<bool> &busy) : busy_(busy)
    {
        if (busy_.exchange(true)) {
            PyErr_SetString(PyExc_RuntimeError, "this stream is in use by another thread");
            throw nb::python_error();
        }
    }
    Occupation(const Occupation &) = delete;
    Occupation &operator=(const Occupation &) = delete;
    ~Occupation() { busy_ = false; }

private:
    std::atomic<bool> &busy_;
};

host::Plan PlanOf(const StreamFormat &format, const host::Options &options)
{
    host::Plan plan;
    plan.source = {format.input.sample, format.channels, format.rate};
    plan.target = {format.output.sample, options.channels.value_or(format.channels),
                   options.rate.value_or(format.rate)};
    plan.decodeHdcd = format.decodeHdcd;
    plan.copySamples = plan.source == plan.target && !plan.decodeHdcd && !host::IsFloat(plan.source.sample);
    if (plan.target.channels == 3 && !plan.copySamples)
        throw nb::value_error("channels must be given for samples of 3 channels, which can only be copied as "
                              "they are: 1, 2, 4, 5, 6, 7 or 8");
    plan.dither = host::WantsDither(options, plan);
    return plan;
}

} // namespace

Stream::Stream(const StreamFormat &format, const host::Options &options)
    : format_(format), plan_(PlanOf(format, options))
{
    if (!plan_.copySamples)
        converter_.emplace(options, plan_);
    if (plan_.decodeHdcd)
        hdcd_.emplace();
}

nb::object Stream::Run(nb::handle array, bool last, bool flat)
{
    const Occupation occupation(busy_);
    if (ended_) {
        PyErr_SetString(PyExc_RuntimeError, "this stream has ended: make another one");
        throw nb::python_error();
    }
    std::optional<SampleArray> samples;
    if (!array.is_none()) {
        samples.emplace(array.ptr(), format_.input.SampleBytes());
        if (samples->channels() != plan_.source.channels)
            throw nb::value_error(("x must have " + std::to_string(plan_.source.channels) +
                                   " channels, not " + std::to_string(samples->channels()))
                                      .c_str());
    }
    if (samples && !last && OnlyGathers(*samples)) {
        const auto frames = static_cast<uint32_t>(samples->frames());
        converter_->Write(samples->Frames(0, frames), frames, {});
        inputFrames_ += frames;
        return nb::none();
    }
    ResultArray result = NewResult();
    try {
        const GilRelease released;
        SignalCheck signals;
        if (samples && last)
            result.Reserve(ExpectedFrames(samples->frames()) + 1);
        if (samples)
            WriteArray(*samples, result, signals);
        if (last)
            Finish(result, signals);
    } catch (...) {
        ended_ = true; // results are lost, so nothing that follows would be right
        throw;
    }
    if (result.frames() == 0 && !last)
        return nb::none();
    return nb::cast(result.Take(flat));
}

void Stream::Close()
{
    const Occupation occupation(busy_);
    ended_ = true;
    converter_.reset();
    hdcd_.reset();
}

// Blocks of some milliseconds, of which a hundred make one of the converter's, come by here. Dither has its
// turns to wait for, which nobody does with the GIL.
bool Stream::OnlyGathers(const SampleArray &samples) const
{
    return converter_ && !hdcd_ && !plan_.dither && !format_.input.wide24 && samples.interleaved() &&
           samples.frames() * plan_.source.FrameBytes() <= kShortBytes &&
           converter_->OnlyGathers(samples.frames());
}

void Stream::WriteArray(SampleArray &samples, ResultArray &result, SignalCheck &signals)
{
    const bool whole = samples.interleaved() && !format_.input.wide24;
    const uint64_t most = whole ? kWriteFrames : kGatherFrames;
    for (uint64_t done = 0; done < samples.frames();) {
        const auto part = static_cast<uint32_t>(std::min(most, samples.frames() - done));
        const void *frames = samples.Frames(done, part);
        if (format_.input.wide24) {
            const size_t count = size_t{part} * plan_.source.channels;
            packed_.resize(count * 3);
            PackSamples(packed_.data(), frames, count);
            frames = packed_.data();
        }
        Write(frames, part, result, signals);
        done += part;
    }
}

void Stream::Write(const void *samples, uint32_t frames, ResultArray &result, SignalCheck &signals)
{
    const uint64_t before = result.frames();
    const host::FrameSink sink = [&](const void *converted, uint32_t count) {
        result.Add(converted, count);
        signals();
    };
    if (hdcd_)
        WriteDecoded(samples, frames, sink);
    else if (converter_)
        converter_->Write(samples, frames, sink);
    else
        sink(samples, frames);
    inputFrames_ += frames;
    outputFrames_ += result.frames() - before;
}

void Stream::WriteDecoded(const void *samples, uint32_t frames, const host::FrameSink &sink)
{
    const auto *next = static_cast<const int16_t *>(samples);
    for (uint32_t left = frames; left > 0;) {
        const auto room = static_cast<uint32_t>(kHdcdFrames - hdcdBlock_.size() / 2);
        const uint32_t part = std::min(left, room);
        hdcdBlock_.insert(hdcdBlock_.end(), next, next + size_t{part} * 2);
        next += size_t{part} * 2;
        left -= part;
        if (part == room)
            DecodeBlock(sink);
    }
}

void Stream::DecodeBlock(const host::FrameSink &sink)
{
    const auto frames = static_cast<uint32_t>(hdcdBlock_.size() / 2);
    converter_->Write(hdcd_->Decode(hdcdBlock_.data(), frames), frames, sink);
    hdcdBlock_.clear();
}

void Stream::Finish(ResultArray &result, SignalCheck &signals)
{
    ended_ = true;
    const uint64_t before = result.frames();
    const host::FrameSink sink = [&](const void *converted, uint32_t count) {
        result.Add(converted, count);
        signals();
    };
    if (!hdcdBlock_.empty())
        DecodeBlock(sink);
    if (converter_)
        converter_->Finish(sink);
    outputFrames_ += result.frames() - before;
    CheckLength();
}

uint64_t Stream::ExpectedFrames(uint64_t frames) const
{
    return static_cast<uint64_t>(static_cast<double>(frames) * plan_.target.rate / plan_.source.rate + 0.5);
}

// A resampler that can't be made for two rates returns no frames and no error.
void Stream::CheckLength() const
{
    if (outputFrames_ == 0 && ExpectedFrames(inputFrames_) > 1)
        throw nb::value_error(("out_rate: there is no conversion from " + std::to_string(plan_.source.rate) +
                               " to " + std::to_string(plan_.target.rate) + " Hz")
                                  .c_str());
}

} // namespace tonekit::python
