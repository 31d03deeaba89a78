// files.cpp: converts, describes, reads and writes audio files with the host's own code.
#include "python/src/files.h"

#include "host/file_conversion.h"
#include "host/file_info.h"
#include "host/jobs.h"
#include "host/open_input.h"
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
#include <new>
#include <system_error>
#include <utility>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

constexpr uint32_t kReadFrames = 16384;

std::string Report(const host::ConversionReport &report)
{
    return host::ReportJson({report}, report.seconds);
}

// Names of files are bytes to the system, and need not be text.
std::string NameFrom(const nb::bytes &name)
{
    return std::string(name.c_str(), name.size());
}

std::string ConvertFile(const nb::bytes &source, const nb::bytes &target, const OptionList &list,
                        nb::handle progress)
{
    host::Options options = ReadOptions(list);
    options.inputs = {NameFrom(source)};
    options.output = NameFrom(target);
    ProgressCall call(progress);
    return WithoutGil([&] {
        const std::vector<host::Job> jobs = host::MakeJobs(options);
        if (jobs.size() != 1 || !jobs[0].error.empty())
            throw host::Failure(jobs.empty() ? options.inputs[0] + ": not an audio file" : jobs[0].error);
        return Report(host::ConvertFile(options, host::LoadExtras(options), jobs[0], std::ref(call)));
    });
}

std::string Info(const nb::bytes &name, const OptionList &list, nb::handle progress)
{
    const host::Options options = ReadOptions(list);
    const std::filesystem::path path = host::PathFromUtf8(NameFrom(name));
    ProgressCall call(progress);
    return WithoutGil([&] { return host::InfoJson({host::LookAt(options, path, std::ref(call))}); });
}

std::string WriteArray(const nb::bytes &target, nb::handle array, const ArrayFormat &format, uint32_t rate,
                       const OptionList &list, nb::handle progress)
{
    host::Options options = ReadOptions(list);
    options.output = NameFrom(target);
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
    Reader(const nb::bytes &name, const OptionList &list)
        : path_(host::PathFromUtf8(NameFrom(name))), options_(ReadOptions(list))
    {
        WithoutGil([&] {
            host::Job job{path_, {}};
            if (options_.start || options_.end)
                job.part = host::FilePart{options_.start.value_or(0), options_.end};
            source_ = host::OpenInput(options_, job);
        });
    }

    const host::AudioFormat &format() const { return source_->format(); }

    std::pair<NumpyArray, uint32_t> Read(const ArrayFormat &output, nb::handle progress)
    {
        const host::AudioFormat &format = source_->format();
        Stream stream({{format.sample, false}, format.channels, format.rate, output, false}, options_);
        ResultArray result = stream.NewResult();
        ProgressCall call(progress);
        WithoutGil([&] {
            SignalCheck signals;
            Reserve(result, stream);
            std::vector<uint8_t> block(size_t{kReadFrames} * format.FrameBytes());
            const auto all = static_cast<double>(source_->frames());
            while (const uint32_t frames = source_->Read(block.data(), kReadFrames)) {
                stream.Write(block.data(), frames, result, signals);
                const auto done = static_cast<double>(stream.inputFrames());
                call(all > 0 ? done / all : 0, done / format.rate);
            }
            stream.Finish(result, signals);
        });
        return {result.Take(false), options_.rate.value_or(format.rate)};
    }

private:
    // A damaged header can promise more than there is memory for. Where the file has fewer bytes than frames,
    // what is read shows how many there are.
    void Reserve(ResultArray &result, const Stream &stream) const
    {
        const uint64_t frames = source_->frames();
        try {
            result.Reserve(stream.ExpectedFrames(frames) + (frames > 0));
        } catch (const std::bad_alloc &) {
            std::error_code error;
            if (std::filesystem::file_size(path_, error) >= frames || error)
                throw;
        }
    }

    std::filesystem::path path_;
    host::Options options_;
    std::unique_ptr<host::SampleSource> source_;
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
        .def(nb::init<const nb::bytes &, const OptionList &>(), nb::arg("path"), nb::arg("options"))
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
        .def("read", &Reader::Read, nb::arg("output"), nb::arg("progress").none(),
             nb::sig("def read(self, output: ArrayFormat, progress: object | None) -> "
                     "tuple[numpy.typing.NDArray[typing.Any], int]"),
             "Reads and converts all samples; returns them and their rate.");
}

} // namespace tonekit::python
