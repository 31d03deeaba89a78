// file_converter.cpp: rows of results, and the thread that places them.
#include "python/src/file_converter.h"

#include "host/jobs.h"
#include "host/processing/sample_digest.h"
#include "host/system/paths.h"
#include "python/src/host_calls.h"

#include <algorithm>
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

// What an exception says of an output; empty without one.
std::string TextOf(const std::exception_ptr &failure, const std::string &output)
{
    try {
        if (failure)
            std::rethrow_exception(failure);
        return {};
    } catch (const std::bad_alloc &) {
        return output + ": not enough memory";
    } catch (const std::exception &error) {
        return error.what();
    }
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

void FileConverter::Keep()
{
    RequireResult();
    kept_.push_back(std::move(converted_));
}

void FileConverter::Place()
{
    WithoutGil([&] {
        if (!placer_.runs())
            return Commit(std::exchange(kept_, {}));
        {
            std::unique_lock lock(placer_.mutex);
            placer_.changed.wait(lock, [&] { return isPlaced_; });
            placing_ = std::exchange(kept_, {});
            isPlaced_ = placing_.empty();
        }
        placer_.changed.notify_all();
    });
}

std::vector<std::pair<double, std::string>> FileConverter::Placed()
{
    return WithoutGil([&] {
        std::unique_lock lock(placer_.mutex);
        placer_.changed.wait(lock, [&] { return isPlaced_; });
        std::vector<std::pair<double, std::string>> placed;
        for (const auto &result : placed_)
            placed.emplace_back(seconds_, TextOf(result->failure, result->options.output));
        placed_.clear();
        return placed;
    });
}

// The other thread. What was handed over is put in place before it ends.
void FileConverter::PlaceResults()
{
    for (;;) {
        Results results;
        {
            std::unique_lock lock(placer_.mutex);
            placer_.changed.wait(lock, [&] { return !placing_.empty() || placer_.stopped; });
            if (placing_.empty())
                return;
            results = std::exchange(placing_, {});
        }
        Commit(std::move(results));
    }
}

// All are on the disk before the first takes its place: what changes in folders between would be stored, too.
void FileConverter::Commit(Results results)
{
    const auto start = std::chrono::steady_clock::now();
    if (results.size() > 1) {
        for (const auto &result : results)
            result->file->BeginToStore();
    }
    for (const auto &result : results)
        Try(*result, [](host::PendingFile &file) { file.Store(); });
    for (const auto &result : results) {
        if (!result->failure)
            Try(*result, [](host::PendingFile &file) { file.Commit(); });
        result->file.reset();
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    {
        const std::lock_guard lock(placer_.mutex);
        seconds_ = seconds.count() / static_cast<double>(std::max<size_t>(results.size(), 1));
        placed_ = std::move(results);
        isPlaced_ = true;
    }
    placer_.changed.notify_all();
}

void FileConverter::Try(Result &result, void (*step)(host::PendingFile &)) noexcept
{
    try {
        step(*result.file);
    } catch (...) {
        result.failure = std::current_exception();
    }
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
        .def("keep", &FileConverter::Keep,
             "Keeps the result of the last conversion, to be placed with others.")
        .def("place", &FileConverter::Place,
             "Begins to put all results that are kept in their places, while conversion goes on.")
        .def("placed", &FileConverter::Placed, nb::sig("def placed(self) -> list[tuple[float, str]]"),
             "Waits until they are there. Returns for each, in their order, the seconds that it took, and "
             "why it "
             "is not in its place, or an empty text.");
}

} // namespace tonekit::python
