// measurements.cpp: measures the loudness of arrays, and looks for HDCD in them.
#include "python/src/measurements.h"

#include "host/processing/bodies.h"
#include "host/processing/hdcd_stream.h"
#include "host/processing/loudness_meter.h"
#include "python/src/array_source.h"
#include "python/src/signals.h"

#include <atomic>
#include <memory>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <new>
#include <string>
#include <tonekit/hdcd.h>
#include <vector>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

constexpr uint32_t kBlockFrames = 16384;

// One measurement through any number of arrays, formats and changes of channels and rate.
class Meter {
public:
    Meter(uint32_t channels, uint32_t rate, bool truePeak)
        : channels_(channels), truePeak_(truePeak),
          state_(truePeak ? ReplayGain_Init_TruePeak(channels, rate) : ReplayGain_Init(channels, rate))
    {}

    void Change(uint32_t channels, uint32_t rate)
    {
        const Turn turn(busy_);
        ReplayGain_Change(state_.get(), channels, rate);
        channels_ = channels;
    }

    void Write(nb::handle array, const ArrayFormat &format)
    {
        const Turn turn(busy_);
        ArraySource source(array, format, 0);
        if (source.format().channels != channels_)
            throw nb::value_error(("x must have " + std::to_string(channels_) + " channels, not " +
                                   std::to_string(source.format().channels))
                                      .c_str());
        const GilRelease released;
        SignalCheck signals;
        const size_t frameBytes = source.format().FrameBytes();
        std::vector<uint8_t> block(kBlockFrames * frameBytes);
        std::vector<double> values(size_t{kBlockFrames} * channels_);
        while (const uint32_t frames = source.Read(block.data(), kBlockFrames)) {
            host::SamplesToDouble(format.sample, block.data(), values.data(), size_t{frames} * channels_);
            ReplayGain_Process(state_.get(), values.data(), frames);
            signals();
        }
    }

    double gain()
    {
        const Turn turn(busy_);
        return ReplayGain_GetLoudness(state_.get());
    }
    double peak()
    {
        const Turn turn(busy_);
        return ReplayGain_GetPeak(state_.get());
    }
    uint64_t frames()
    {
        const Turn turn(busy_);
        return ReplayGain_GetSamples(state_.get());
    }
    uint32_t channels() const { return channels_; }
    bool truePeak() const { return truePeak_; }

private:
    class Turn {
    public:
        explicit Turn(std::atomic<bool> &busy) : busy_(busy)
        {
            if (busy_.exchange(true)) {
                PyErr_SetString(PyExc_RuntimeError, "this meter is in use by another thread");
                throw nb::python_error();
            }
        }
        ~Turn() { busy_ = false; }

    private:
        std::atomic<bool> &busy_;
    };
    struct Release {
        void operator()(ReplayGainState *state) const { ReplayGain_Deinit(state); }
    };

    uint32_t channels_;
    bool truePeak_;
    std::unique_ptr<ReplayGainState, Release> state_;
    std::atomic<bool> busy_{false};
};

// 0 to 2, as hdcd_detected returns it.
uint32_t DetectHdcd(nb::handle array)
{
    ArraySource source(array, {host::SampleFormat::Int16, false}, 0);
    const GilRelease released;
    const host::HdcdDecoderPointer decoder(hdcd_new());
    if (!decoder)
        throw std::bad_alloc();
    SignalCheck signals;
    std::vector<int16_t> block(size_t{kBlockFrames} * 2);
    uint32_t found = 0;
    while (const uint32_t frames = source.Read(block.data(), kBlockFrames)) {
        found = host::BodiesInUse().hdcd_scan16(decoder.get(), block.data(), static_cast<int32_t>(frames));
        if (found == 2)
            break;
        signals();
    }
    return found;
}

} // namespace

void BindMeasurements(nb::module_ &module)
{
    nb::class_<Meter>(module, "Meter", "One measurement of loudness and peak.")
        .def(nb::init<uint32_t, uint32_t, bool>(), nb::arg("channels"), nb::arg("rate"), nb::arg("true_peak"))
        .def("change", &Meter::Change, nb::arg("channels"), nb::arg("rate"),
             "Goes on with other channels or another rate.")
        .def("write", &Meter::Write, nb::arg("array"), nb::arg("format"), "Measures the frames of an array.")
        .def_prop_ro("gain", &Meter::gain, "ReplayGain in dB; NaN if nothing was loud enough.")
        .def_prop_ro("peak", &Meter::peak, "Largest peak, linear; NaN without a measurement.")
        .def_prop_ro("frames", &Meter::frames, "Frames measured so far.")
        .def_prop_ro("channels", &Meter::channels, "Samples in a frame.")
        .def_prop_ro("true_peak", &Meter::truePeak, "Whether peaks between samples count.");
    module.def("detect_hdcd", DetectHdcd, nb::arg("array"),
               "0: no HDCD, 1: HDCD that changes nothing, 2: HDCD that changes the sound.");
}

} // namespace tonekit::python
