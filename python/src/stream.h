// stream.h: one stream of samples through the converter, from arrays to arrays.
#pragma once

#include "host/plan.h"
#include "host/processing/hdcd_stream.h"
#include "host/processing/stream_converter.h"
#include "python/src/option_list.h"
#include "python/src/result_array.h"
#include "python/src/sample_array.h"
#include "python/src/signals.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

namespace tonekit::python {

// What a stream makes of what.
struct StreamFormat {
    ArrayFormat input;
    uint32_t channels = 0;
    uint32_t rate = 0;
    ArrayFormat output;
    bool decodeHdcd = false;
};

class Stream {
public:
    // Rate and channels of the output are options. Throws nb::value_error where no such conversion exists.
    Stream(const StreamFormat &format, const host::Options &options);

    // Converts the frames of an array and, if `last` says so, ends the stream. `flat` makes the result an
    // array of one dimension; None is an array of no frames while the stream goes on. Releases the
    // GIL meanwhile, unless a short array only waits for more. Throws nb::python_error with RuntimeError if
    // another thread is in here, or the stream has ended. An exception of the work ends the stream.
    nanobind::object Run(nanobind::handle array, bool last, bool flat);

    // Ends the stream without its last frames. Throws as Run does if another thread is in here.
    void Close();

    uint32_t inputChannels() const { return plan_.source.channels; }
    uint32_t outputChannels() const { return plan_.target.channels; }
    uint64_t inputFrames() const { return inputFrames_; }
    uint64_t outputFrames() const { return outputFrames_; }
    bool dithers() const { return plan_.dither; }
    bool ended() const { return ended_; }

    // The same for interleaved frames in the source's own format, without Python.
    void Write(const void *samples, uint32_t frames, ResultArray &result, SignalCheck &signals);
    void Finish(ResultArray &result, SignalCheck &signals);
    // Frames that so many become, by the rates.
    uint64_t ExpectedFrames(uint64_t frames) const;
    ResultArray NewResult() const { return ResultArray(format_.output, plan_.target.channels); }

private:
    bool OnlyGathers(const SampleArray &samples) const;
    void WriteArray(SampleArray &samples, ResultArray &result, SignalCheck &signals);
    void WriteDecoded(const void *samples, uint32_t frames, const host::FrameSink &sink);
    void DecodeBlock(const host::FrameSink &sink);
    void CheckLength() const;

    StreamFormat format_;
    host::Plan plan_;
    std::optional<host::StreamConverter> converter_; // none where samples are copied
    std::optional<host::HdcdStream> hdcd_;
    std::vector<int16_t> hdcdBlock_; // gathered until it is full: borders of blocks affect HDCD
    std::vector<uint8_t> packed_;    // 24-bit samples out of int32
    uint64_t inputFrames_ = 0;
    uint64_t outputFrames_ = 0;
    std::atomic<bool> busy_{false};
    bool ended_ = false;
};

} // namespace tonekit::python
