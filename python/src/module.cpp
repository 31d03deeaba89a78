// module.cpp: the extension module tonekit._core, which the package's Python code calls.
#include "host/command_line/option_table.h"
#include "host/processing/bodies.h"
#include "host/processing/shared_settings.h"
#include "host/system/failure.h"
#include "python/src/archives.h"
#include "python/src/file_converter.h"
#include "python/src/files.h"
#include "python/src/image.h"
#include "python/src/measurements.h"
#include "python/src/stream.h"

#include <cstdlib>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>
#include <tonekit/frame.h>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

host::SampleFormat SampleOf(uint32_t bits, bool isFloat)
{
    using host::SampleFormat;
    for (const SampleFormat sample : {SampleFormat::Int8, SampleFormat::Int16, SampleFormat::Int24,
                                      SampleFormat::Int32, SampleFormat::Float32, SampleFormat::Float64}) {
        if (host::BitsOf(sample) == bits && host::IsFloat(sample) == isFloat)
            return sample;
    }
    throw nb::value_error("there is no such sample format");
}

// The heap returns its end to the system beyond a limit, which grows with the largest block that was ever
// mapped and freed. Without one, the memory of each short conversion would be fetched page by page anew.
void LetHeapKeepStreams()
{
    constexpr size_t kBlock = size_t{8} << 20; // never touched
    void *volatile block = std::malloc(kBlock);
    std::free(block);
}

// A child has the locks of its parent's other threads, but not the threads that would open them.
void PrepareForForks()
{
    const nb::module_ os = nb::module_::import_("os");
    if (nb::hasattr(os, "register_at_fork"))
        os.attr("register_at_fork")(nb::arg("before") = nb::cpp_function(host::PauseSettings),
                                    nb::arg("after_in_parent") = nb::cpp_function(host::ResumeSettings),
                                    nb::arg("after_in_child") = nb::cpp_function(host::ResumeSettings));
}

void MakeStream(Stream *self, const ArrayFormat &input, uint32_t channels, uint32_t rate,
                const ArrayFormat &output, const OptionList &options, bool hdcd)
{
    const host::Options read = ReadOptions(options);
    // The filter is designed here.
    const GilRelease released;
    new (self) Stream(StreamFormat{input, channels, rate, output, hdcd}, read);
}

std::string UseBodiesOf(const std::string &name)
{
    const host::Options options = ReadOptions({{"bodies", name}});
    host::UseBodies(*options.bodies);
    return *options.bodies ? std::string(1, *options.bodies) : "";
}

// Name, what the value is called or nothing for a switch, and help.
std::vector<std::tuple<std::string, std::optional<std::string>, std::string>> OptionTable()
{
    std::vector<std::tuple<std::string, std::optional<std::string>, std::string>> table;
    for (const host::OptionRow &row : host::OptionRows()) {
        if (row.name)
            table.emplace_back(
                row.name, row.argument ? std::optional<std::string>(row.argument) : std::nullopt, row.help);
    }
    return table;
}

void BindStream(nb::module_ &module)
{
    nb::class_<ArrayFormat>(module, "ArrayFormat", "How the samples of arrays are stored.")
        .def(
            "__init__",
            [](ArrayFormat *self, uint32_t bits, bool isFloat, bool wide24) {
                new (self) ArrayFormat{SampleOf(bits, isFloat), wide24};
            },
            nb::arg("bits"), nb::arg("is_float"), nb::arg("wide24"));
    nb::class_<Stream>(module, "Stream", "One stream of samples through the converter.")
        .def("__init__", MakeStream, nb::arg("input"), nb::arg("channels"), nb::arg("rate"),
             nb::arg("output"), nb::arg("options"), nb::arg("hdcd"))
        .def("run", &Stream::Run, nb::arg("array").none(), nb::arg("last"), nb::arg("flat"),
             nb::sig("def run(self, array: object | None, last: bool, flat: bool) -> "
                     "numpy.typing.NDArray[typing.Any] | None"),
             "Converts the frames of an array and ends the stream if `last` says so.")
        .def("close", &Stream::Close, "Ends the stream and frees its memory.")
        .def_prop_ro("input_channels", &Stream::inputChannels, "Samples in a frame of input.")
        .def_prop_ro("output_channels", &Stream::outputChannels, "Samples in a frame of output.")
        .def_prop_ro("input_frames", &Stream::inputFrames, "Frames taken so far.")
        .def_prop_ro("output_frames", &Stream::outputFrames, "Frames returned so far.")
        .def_prop_ro("dithers", &Stream::dithers, "Whether the output is dithered.")
        .def_prop_ro("ended", &Stream::ended, "Whether the stream has ended.");
}

} // namespace

} // namespace tonekit::python

NB_MODULE(_core, module)
{
    using namespace tonekit::python;
    namespace nb = nanobind;
    module.doc() = "The compiled part of tonekit; use the package's own functions.";
    LetHeapKeepStreams();
    PrepareForForks();
    // What daemon threads have in use when the interpreter ends is no leak.
    nb::set_leak_warnings(false);
    nb::exception<tonekit::host::Failure>(module, "FileError", PyExc_OSError);
    BindStream(module);
    BindFiles(module);
    BindMeasurements(module);
    BindImage(module);
    BindArchives(module);
    BindFileConverter(module);
    module.def(
        "check_option",
        [](const std::string &name, const std::string &value) {
            ReadOptions({{name, value}});
        },
        nb::arg("name"), nb::arg("value"), "Raises ValueError if the option doesn't take the value.");
    module.def("use_bodies", UseBodiesOf, nb::arg("name"),
               "Chooses the bodies of the library's functions; returns their letter, or an empty text.");
    module.def("option_table", OptionTable, "The options of file conversions: name, value and help of each.");
}
