// batch.cpp: from the names on the command line to finished files.
#include "host/batch.h"

#include "host/failure.h"
#include "host/paths.h"
#include "host/platform.h"
#include "host/progress.h"
#include "host/report_parts.h"
#include "host/terminal_text.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <new>
#include <thread>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

uint64_t SizeOf(const fs::path &path)
{
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    return error ? 0 : size;
}

// The files in work, shared by the threads.
class Batch {
public:
    Batch(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console)
        : options_(options), extras_(extras), jobs_(jobs), console_(console), reports_(jobs.size()),
          finished_(jobs.size()), progress_(console, Weights(jobs))
    {}

    void Run()
    {
        const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
        const size_t count = std::min<size_t>(options_.jobs.value_or(cores), jobs_.size());
        {
            std::vector<std::jthread> helpers;
            try {
                for (size_t i = 1; i < count; i++)
                    helpers.emplace_back([this] { Work(); });
            } catch (const std::exception &) {
                // The system starts no more: those that there are do all the work.
            }
            Work();
        }
        // After an interrupt there are finished files after unfinished ones.
        for (size_t i = told_; i < jobs_.size(); i++) {
            if (finished_[i])
                Tell(i);
        }
    }

    const std::vector<ConversionReport> &reports() const { return reports_; }

private:
    static std::vector<uint64_t> Weights(const std::vector<Job> &jobs)
    {
        std::vector<uint64_t> weights;
        for (const Job &job : jobs)
            weights.push_back(job.skipped.empty() && job.error.empty() ? SizeOf(job.input) : 0);
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
        const Job &job = jobs_[index];
        const std::string label = Utf8Name(job.output.filename());
        try {
            if (!job.error.empty())
                throw Failure(job.error);
            report = ConvertFile(options_, extras_, job, [&](double done, double audioSeconds) {
                progress_.Report(index, done, audioSeconds, label);
            });
        } catch (const Interrupted &) {
            // All threads see the same note; the caller tells it once.
            return;
        } catch (const std::bad_alloc &) {
            Fail(index, Utf8Name(job.input) + ": not enough memory");
        } catch (const std::exception &error) {
            Fail(index, error.what());
        }
        progress_.Report(index, 1, report.error.empty() ? report.input.Seconds() : 0, label);
        Finish(index);
    }

    void Fail(size_t index, const std::string &error)
    {
        reports_[index] = {};
        reports_[index].error = error;
        reports_[index].input.path = Utf8Name(jobs_[index].input);
        reports_[index].output.path = Utf8Name(jobs_[index].output);
    }

    // Reports come in the order of the inputs, however the threads share the work.
    void Finish(size_t index)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        finished_[index] = true;
        while (told_ < jobs_.size() && finished_[told_])
            Tell(told_++);
    }

    void Tell(size_t index)
    {
        const ConversionReport &report = reports_[index];
        for (const std::string &warning : report.warnings)
            console_.Complain("warning: " + warning);
        if (!report.error.empty())
            console_.Complain(report.error);
        if (options_.json || !report.error.empty())
            return;
        if (!options_.quiet)
            console_.Say(ReportText(report));
        if (!options_.quiet && report.loudness)
            console_.Say("  ReplayGain " + LoudnessText(*report.loudness));
        if (report.digest)
            console_.Say(std::string(NameOf(report.digest->kind)) + " " + report.digest->hex + "  " +
                         TerminalText(report.output.path));
    }

    const Options &options_;
    const Extras &extras_;
    const std::vector<Job> &jobs_;
    Console &console_;
    std::vector<ConversionReport> reports_;
    std::mutex mutex_; // of what follows
    std::vector<bool> finished_;
    size_t told_ = 0; // all before it are
    Progress progress_;
    std::atomic<size_t> next_{0};
};

} // namespace

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
