// batch.cpp: from the names on the command line to finished files.
#include "host/batch.h"

#include "host/failure.h"
#include "host/paths.h"
#include "host/plan.h"
#include "host/platform.h"
#include "host/progress.h"
#include "host/report_parts.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <new>
#include <set>
#include <thread>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

std::string ExtensionOf(const fs::path &path)
{
    const std::string extension = Utf8Name(path.extension());
    return extension.empty() ? extension : extension.substr(1);
}

const Container &WantedContainer(const Options &options, const fs::path &output)
{
    if (options.type)
        return ContainerOf(*options.type);
    const std::string extension = ExtensionOf(output);
    if (const Container *container = ContainerByExtension(extension))
        return *container;
    if (extension.empty())
        throw UsageError(Utf8Name(output) +
                         ": without an extension the file type is unknown: add one, or --type");
    throw UsageError(Utf8Name(output) + ": no file type goes by ." + extension +
                     ": choose another, or add --type");
}

bool MeansFolder(const Options &options)
{
    const char last = options.output.back();
    std::error_code error;
    return options.inputs.size() > 1 || last == '/' || last == fs::path::preferred_separator ||
           fs::is_directory(PathFromUtf8(options.output), error);
}

fs::path PlaceInFolder(const Options &options, const fs::path &folder, const fs::path &input)
{
    fs::path name = input.filename();
    if (options.type)
        name.replace_extension(ContainerOf(*options.type).extensions[0]);
    return folder / name;
}

void MakeFolder(const fs::path &folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder))
        throw Failure(Utf8Name(folder) + ": the folder can't be made: " +
                      (error ? error.message() : "there is a file of that name"));
}

uint64_t SizeOf(const fs::path &path)
{
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    return error ? 0 : size;
}

std::vector<Job> JobsInPlace(const Options &options)
{
    std::vector<Job> jobs;
    std::set<fs::path> seen;
    for (const std::string &input : options.inputs) {
        const fs::path path = PathFromUtf8(input);
        if (!seen.insert(ComparableName(path.lexically_normal())).second)
            throw UsageError(input + " is named twice");
        jobs.push_back({path, path, nullptr});
    }
    return jobs;
}

// The files in work, shared by the threads.
class Batch {
public:
    Batch(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console)
        : options_(options), extras_(extras), jobs_(jobs), console_(console), reports_(jobs.size()),
          progress_(console, Weights(jobs))
    {}

    void Run()
    {
        const size_t count = std::min<size_t>(options_.jobs, jobs_.size());
        std::vector<std::jthread> helpers;
        for (size_t i = 1; i < count; i++)
            helpers.emplace_back([this] { Work(); });
        Work();
    }

    const std::vector<ConversionReport> &reports() const { return reports_; }

private:
    static std::vector<uint64_t> Weights(const std::vector<Job> &jobs)
    {
        std::vector<uint64_t> weights;
        for (const Job &job : jobs)
            weights.push_back(SizeOf(job.input));
        return weights;
    }

    void Work()
    {
        for (size_t i = next_++; i < jobs_.size() && !InterruptNoted(); i = next_++)
            ConvertOne(i);
    }

    void ConvertOne(size_t index)
    {
        ConversionReport &report = reports_[index];
        const std::string label = Utf8Name(jobs_[index].output.filename());
        try {
            report = ConvertFile(options_, extras_, jobs_[index], [&](double done, double audioSeconds) {
                progress_.Report(index, done, audioSeconds, label);
            });
            progress_.Report(index, 1, report.input.Seconds(), label);
            Tell(report);
        } catch (const Interrupted &) {
            // All threads see the same note; the caller tells it once.
        } catch (const std::bad_alloc &) {
            Fail(index, Utf8Name(jobs_[index].input) + ": not enough memory");
        } catch (const std::exception &error) {
            Fail(index, error.what());
        }
    }

    void Fail(size_t index, const std::string &error)
    {
        reports_[index].error = error;
        reports_[index].input.path = Utf8Name(jobs_[index].input);
        reports_[index].output.path = Utf8Name(jobs_[index].output);
        progress_.Report(index, 1, 0, "");
        console_.Complain(error);
    }

    void Tell(const ConversionReport &report)
    {
        for (const std::string &warning : report.warnings)
            console_.Complain("warning: " + warning);
        if (options_.json)
            return;
        if (!options_.quiet)
            console_.Say(ReportText(report));
        if (!options_.quiet && report.loudness)
            console_.Say("  ReplayGain " + LoudnessText(*report.loudness));
        if (report.digest)
            console_.Say(std::string(NameOf(report.digest->kind)) + " " + report.digest->hex + "  " +
                         report.output.path);
    }

    const Options &options_;
    const Extras &extras_;
    const std::vector<Job> &jobs_;
    Console &console_;
    std::vector<ConversionReport> reports_;
    Progress progress_;
    std::atomic<size_t> next_{0};
};

} // namespace

std::vector<Job> MakeJobs(const Options &options)
{
    if (options.inPlace)
        return JobsInPlace(options);
    const fs::path output = PathFromUtf8(options.output);
    std::vector<Job> jobs;
    if (!MeansFolder(options)) {
        jobs.push_back({PathFromUtf8(options.inputs[0]), output, &WantedContainer(options, output)});
        CheckTarget(options, *jobs[0].container);
        return jobs;
    }
    std::map<fs::path, std::string> takenBy;
    for (const std::string &input : options.inputs) {
        const fs::path place = PlaceInFolder(options, output, PathFromUtf8(input));
        const auto [taken, isNew] = takenBy.emplace(ComparableName(place), input);
        if (!isNew)
            throw UsageError(taken->second + " and " + input + " would both become " + Utf8Name(place));
        jobs.push_back({PathFromUtf8(input), place, &WantedContainer(options, place)});
        CheckTarget(options, *jobs.back().container);
    }
    MakeFolder(output);
    return jobs;
}

int RunJobs(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console)
{
    const auto start = std::chrono::steady_clock::now();
    Batch batch(options, extras, jobs, console);
    batch.Run();
    if (InterruptNoted())
        throw Interrupted();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const auto &reports = batch.reports();
    if (options.json)
        console.Say(ReportJson(reports, seconds));
    const bool allDone = std::all_of(reports.begin(), reports.end(),
                                     [](const ConversionReport &r) { return r.error.empty(); });
    return allDone ? 0 : 1;
}

} // namespace tonekit::host
