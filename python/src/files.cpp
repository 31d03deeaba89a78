// files.cpp: converts, describes, reads and writes audio files with the host's own code.
#include "python/src/files.h"

#include "host/audio/audio_reader.h"
#include "host/file_conversion.h"
#include "host/file_info.h"
#include "host/jobs.h"
#include "host/plan.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/tags/extras.h"
#include "python/src/array_source.h"
#include "python/src/host_calls.h"
#include "python/src/option_list.h"
#include "python/src/stream.h"

#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>
#include <utility>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

constexpr uint32_t kReadFrames = 16384;

std::string Report(const host::ConversionReport &report)
{
    return host::ReportJson({report}, report.seconds);
}

std::string ConvertFile(const std::string &source, const std::string &target, const OptionList &list,
                        nb::handle progress)
{
    host::Options options = ReadOptions(list);
    options.inputs = {source};
    options.output = target;
    ProgressCall call(progress);
    return WithoutGil([&] {
        const std::vector<host::Job> jobs = host::MakeJobs(options);
        if (jobs.size() != 1 || !jobs[0].error.empty())
            throw host::Failure(jobs.empty() ? source + ": not an audio file" : jobs[0].error);
        return Report(host::ConvertFile(options, host::LoadExtras(options), jobs[0], std::ref(call)));
    });
}

std::string Info(const std::string &path, const OptionList &list, nb::handle progress)
{
    const host::Options options = ReadOptions(list);
    ProgressCall call(progress);
    return WithoutGil(
        [&] { return host::InfoJson({host::LookAt(options, host::PathFromUtf8(path), std::ref(call))}); });
}

std::string WriteArray(const std::string &target, nb::handle array, const ArrayFormat &format, uint32_t rate,
                       const OptionList &list, nb::handle progress)
{
    host::Options options = ReadOptions(list);
    options.output = target;
    ArraySource source(array, format, rate);
    ProgressCall call(progress);
    return WithoutGil([&] {
        const host::Job job = host::JobFor(options, {});
        return Report(host::ConvertSamples(options, host::LoadExtras(options), source, job, std::ref(call)));
    });
}

// A file that is being read into an array.
class Reader {
public:
    explicit Reader(const std::string &path) : path_(path)
    {
        WithoutGil([&] { reader_.emplace(host::PathFromUtf8(path_)); });
    }

    const host::AudioFormat &format() const { return reader_->format(); }
    bool lossy() const { return reader_->lossy(); }

    std::pair<NumpyArray, uint32_t> Read(const ArrayFormat &output, const OptionList &list)
    {
        const host::Options options = ReadOptions(list);
        Stream stream({{reader_->format().sample, false},
                       reader_->format().channels,
                       reader_->format().rate,
                       output,
                       false},
                      options);
        ResultArray result = stream.NewResult();
        WithoutGil([&] {
            SignalCheck signals;
            result.Reserve(stream.ExpectedFrames(reader_->frames()) + (reader_->frames() > 0));
            std::vector<uint8_t> block(size_t{kReadFrames} * reader_->format().FrameBytes());
            while (const uint32_t frames = reader_->Read(block.data(), kReadFrames)) {
                stream.Write(block.data(), frames, result, signals);
                signals();
            }
            stream.Finish(result, signals);
        });
        return {result.Take(false), options.rate.value_or(reader_->format().rate)};
    }

private:
    std::string path_;
    std::optional<host::AudioReader> reader_;
};

} // namespace

void BindFiles(nb::module_ &module)
{
    module.def("convert_file", ConvertFile, nb::arg("source"), nb::arg("target"), nb::arg("options"),
               nb::arg("progress").none(), "Converts a file and returns the report as JSON.");
    module.def("info", Info, nb::arg("path"), nb::arg("options"), nb::arg("progress").none(),
               "Looks at a file and returns its description as JSON.");
    module.def("write", WriteArray, nb::arg("target"), nb::arg("array"), nb::arg("format"), nb::arg("rate"),
               nb::arg("options"), nb::arg("progress").none(),
               "Writes an array into a file and returns the report as JSON.");
    nb::class_<Reader>(module, "Reader", "An open audio file.")
        .def(nb::init<const std::string &>(), nb::arg("path"))
        .def_prop_ro(
            "rate", [](const Reader &reader) { return reader.format().rate; }, "Frames a second.")
        .def_prop_ro(
            "channels", [](const Reader &reader) { return reader.format().channels; }, "Samples in a frame.")
        .def_prop_ro(
            "bits", [](const Reader &reader) { return host::BitsOf(reader.format().sample); },
            "Bits of a sample.")
        .def_prop_ro(
            "is_float", [](const Reader &reader) { return host::IsFloat(reader.format().sample); },
            "Whether samples are floats.")
        .def("read", &Reader::Read, nb::arg("output"), nb::arg("options"),
             nb::sig("def read(self, output: ArrayFormat, options: Sequence[tuple[str, str]]) -> "
                     "tuple[numpy.typing.NDArray[typing.Any], int]"),
             "Reads and converts all samples; returns them and their rate.");
}

} // namespace tonekit::python
