// archives.cpp: which names are audio, what outputs are called, and whether options can go well.
#include "python/src/archives.h"

#include "host/folder_walk.h"
#include "host/jobs.h"
#include "host/plan.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/tags/extras.h"
#include "python/src/option_list.h"

#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

void CheckOptions(const OptionList &list)
{
    const host::Options options = ReadOptions(list);
    try {
        if (options.type)
            host::CheckTarget(options, host::ContainerOf(*options.type));
        host::LoadExtras(options);
    } catch (const host::UsageError &error) {
        throw nb::value_error(ForPython(error.what()).c_str());
    } catch (const host::Failure &failure) {
        throw host::Failure(ForPython(failure.what()));
    }
}

} // namespace

void BindArchives(nb::module_ &module)
{
    module.def(
        "has_audio_extension",
        [](const std::string &name) { return host::HasAudioExtension(host::PathFromUtf8(name)); },
        nb::arg("name"), "Whether the name's extension is that of an audio file.");
    module.def(
        "starts_as_audio",
        [](const std::string &path) { return host::StartsAsAudio(host::PathFromUtf8(path)); },
        nb::arg("path"), "Whether a file without an extension begins as audio does.");
    module.def(
        "output_name",
        [](const std::string &name, const OptionList &list) {
            return host::Utf8Name(host::OutputName(ReadOptions(list), host::PathFromUtf8(name)));
        },
        nb::arg("name"), nb::arg("options"), "The name of a result in a folder of results.");
    module.def("check_options", CheckOptions, nb::arg("options"),
               "Raises ValueError or FileError if no file can be converted with these options.");
}

} // namespace tonekit::python
