// file_converter.cpp: rows of results, and the thread that places them.
#include "python/src/file_converter.h"

#include "host/jobs.h"
#include "host/processing/sample_digest.h"
#include "host/system/paths.h"
#include "python/src/host_calls.h"

#include <chrono>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

nb::object TextOrNone(const std::string &text)
{
    return text.empty() ? nb::none() : nb::object(nb::cast(text));
}

template <class Value>
nb::object ValueOrNone(bool known, const Value &value)
{
    return known ? nb::cast(value) : nb::none();
}

void AddStream(nb::dict &row, const char *side, const host::StreamReport &stream)
{
    const auto set = [&](const char *name, const nb::object &value) {
        row[nb::cast(std::string(side) + name)] = value;
    };
    set("type", nb::cast(stream.type));
    set("encoding", TextOrNone(stream.encoding));
    set("rate", nb::cast(stream.format.rate));
    set("channels", nb::cast(stream.format.channels));
    set("format", ValueOrNone(!stream.lossy, host::NameOf(stream.format.sample)));
    set("frames", ValueOrNone(stream.frames != 0, stream.frames));
}

nb::dict Row(const host::ConversionReport &report)
{
    nb::dict row;
    row["state"] = "done";
    row["dithered"] = report.dithered;
    row["warnings"] = report.warnings;
    AddStream(row, "in_", report.input);
    AddStream(row, "out_", report.output);
    row["audio_seconds"] = ValueOrNone(report.input.frames != 0, report.input.Seconds());
    row["work_seconds"] = report.seconds;
    row["speed"] = report.Speed();
    if (report.loudness) {
        row["gain"] = ValueOrNone(report.loudness->gain.has_value(), report.loudness->gain.value_or(0));
        row["peak"] = ValueOrNone(report.loudness->peak.has_value(), report.loudness->peak.value_or(0));
    }
    row["digest"] = ValueOrNone(report.digest.has_value(), report.digest.value_or(host::Digest()).hex);
    return row;
}

} // namespace

FileConverter::FileConverter(const OptionList &list)
    : options_(ReadOptions(list)), extras_(WithoutGil([&] { return host::LoadExtras(options_); }))
{
    placer_.Start([this] { PlaceResults(); });
}

FileConverter::~FileConverter()
{
    const GilRelease released;
    placer_.Stop();
}

nb::dict FileConverter::Convert(const std::string &source, const std::string &target)
{
    ProgressCall call{nb::none()};
    converted_ = WithoutGil([&] {
        converted_.reset();
        auto result = std::make_unique<Result>();
        result->options = options_;
        result->options.inputs = {source};
        result->options.output = target;
        std::vector<host::Job> jobs = host::MakeJobs(result->options);
        if (jobs.size() != 1 || !jobs[0].error.empty())
            throw host::Failure(jobs.empty() ? source + ": not an audio file" : jobs[0].error);
        result->job = std::move(jobs[0]);
        result->file =
            host::BeginFile(result->options, extras_, result->job, std::ref(call), host::Threads::One);
        result->file->Complete(std::nullopt);
        return result;
    });
    return Row(converted_->file->report());
}

std::string FileConverter::Completed() const
{
    RequireResult();
    return host::Utf8Name(converted_->file->completed());
}

void FileConverter::RequireResult() const
{
    if (!converted_)
        throw nb::value_error("no result is complete");
}

void FileConverter::Place()
{
    RequireResult();
    WithoutGil([&] {
        if (!placer_.runs())
            return Commit(std::move(converted_));
        {
            std::unique_lock lock(placer_.mutex);
            placer_.changed.wait(lock, [&] { return placed_; });
            placing_ = std::move(converted_);
            placed_ = false;
        }
        placer_.changed.notify_all();
    });
}

double FileConverter::Placed()
{
    return WithoutGil([&] {
        std::unique_lock lock(placer_.mutex);
        placer_.changed.wait(lock, [&] { return placed_; });
        if (!error_.empty())
            throw host::Failure(std::exchange(error_, {}));
        return seconds_;
    });
}

// The other thread. What was handed over is put in place before it ends.
void FileConverter::PlaceResults()
{
    for (;;) {
        std::unique_ptr<Result> result;
        {
            std::unique_lock lock(placer_.mutex);
            placer_.changed.wait(lock, [&] { return placing_ || placer_.stopped; });
            if (!placing_)
                return;
            result = std::move(placing_);
        }
        Commit(std::move(result));
    }
}

void FileConverter::Commit(std::unique_ptr<Result> result)
{
    const auto start = std::chrono::steady_clock::now();
    std::string error;
    try {
        result->file->Commit();
    } catch (const std::bad_alloc &) {
        error = result->options.output + ": not enough memory";
    } catch (const std::exception &failure) {
        error = failure.what();
    }
    result.reset();
    {
        const std::lock_guard lock(placer_.mutex);
        seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        error_ = std::move(error);
        placed_ = true;
    }
    placer_.changed.notify_all();
}

void BindFileConverter(nb::module_ &module)
{
    nb::class_<FileConverter>(module, "FileConverter", "Converts one file after another with equal options.")
        .def(nb::init<const OptionList &>(), nb::arg("options"))
        .def("convert", &FileConverter::Convert, nb::arg("source"), nb::arg("target"),
             nb::sig("def convert(self, source: str, target: str) -> dict[str, typing.Any]"),
             "Converts a file, which is not in its place yet, and returns the columns of its row.")
        .def_prop_ro("completed", &FileConverter::Completed,
                     "The path of the result of the last conversion, which is not in its place yet.")
        .def("place", &FileConverter::Place,
             "Begins to put the result of the last conversion in its place, while the next goes on.")
        .def("placed", &FileConverter::Placed,
             "Waits until the result is in its place and returns the seconds that this took. Raises "
             "FileError.");
}

} // namespace tonekit::python
