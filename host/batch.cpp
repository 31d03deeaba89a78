// batch.cpp: from the names on the command line to finished files.
#include "host/batch.h"

#include "host/album_level.h"
#include "host/processing/album_loudness.h"
#include "host/report/progress.h"
#include "host/report/progress_json.h"
#include "host/report/progress_passes.h"
#include "host/report/report_parts.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/platform.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <thread>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

uint64_t SizeOf(const Job &job)
{
    uint64_t sum = 0;
    for (const fs::path &input : InputsOf(job)) {
        std::error_code error;
        const uintmax_t size = fs::file_size(input, error);
        sum += error ? 0 : size;
    }
    return sum;
}

// The files in work, shared by the threads.
class Batch {
    struct Album {
        std::vector<size_t> members;
        std::atomic<size_t> left{0}; // members that aren't measured yet
    };

public:
    Batch(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console,
          ProgressView &view)
        : options_(options), extras_(extras), jobs_(jobs), console_(console), reports_(jobs.size()),
          pending_(jobs.size()), interrupted_(jobs.size()), noMemory_(jobs.size()), untold_(jobs.size()),
          workers_(std::min<size_t>(options.jobs.value_or(cores_), jobs.size())), finished_(jobs.size()),
          progress_(view, ProgressFiles(jobs))
    {
        for (size_t i = 0; i < jobs.size(); ++i) {
            if (options.albumGain && !jobs[i].album.empty() && jobs[i].error.empty()) {
                albums_[jobs[i].album].members.push_back(i);
                ++albums_[jobs[i].album].left;
            }
        }
    }

    void Run()
    {
        {
            std::vector<std::jthread> helpers;
            try {
                for (size_t i = 1; i < workers_; ++i)
                    helpers.emplace_back([this] { Work(); });
            } catch (const std::exception &) {
                // The system starts no more: those that there are do all the work.
            }
            Work();
        }
        // The memory of the others is there now.
        for (size_t i = 0; i < jobs_.size(); ++i) {
            if (untold_[i])
                Tell(i);
        }
        // After an interrupt there are finished files after unfinished ones.
        for (size_t i = reported_; i < jobs_.size(); ++i) {
            if (finished_[i])
                Report(i);
        }
    }

    const std::vector<ConversionReport> &reports() const { return reports_; }

private:
    static std::vector<ProgressFile> ProgressFiles(const std::vector<Job> &jobs)
    {
        std::vector<ProgressFile> files;
        for (const Job &job : jobs)
            files.push_back({Utf8Name((job.output.empty() ? job.input : job.output).filename()),
                             job.skipped.empty() && job.error.empty() ? SizeOf(job) : 0});
        return files;
    }

    void Work()
    {
        for (size_t i = next_++; i < jobs_.size() && !InterruptNoted(); i = next_++)
            ConvertOne(i);
    }

    // A file has threads of its own where there are two cores for each file that will be in work then.
    Threads ThreadsOfAFile()
    {
        const size_t ended = ended_; // before those that begin meanwhile
        const size_t begun = std::min<size_t>(next_, jobs_.size());
        const size_t inWork = begun - ended;
        const size_t together = std::min(workers_, inWork + (jobs_.size() - begun));
        return 2 * together <= cores_ ? Threads::Several : Threads::One;
    }

    void ConvertOne(size_t index)
    {
        const Job &job = jobs_[index];
        Guarded(index, [&] {
            if (!job.error.empty())
                throw Failure(job.error);
            progress_.Report(index, 0, 0);
            const auto begin = [&](Threads threads) {
                const ProgressSink report = [this, index](double done, double audioSeconds) {
                    progress_.Report(index, done, audioSeconds);
                };
                pending_[index] = BeginFile(options_, extras_, job, report, threads);
            };
            try {
                const std::shared_lock together(memory_);
                return begin(ThreadsOfAFile());
            } catch (const std::bad_alloc &) {
                // Memory that isn't enough for all at once may be enough for one after another.
            }
            const std::unique_lock alone(memory_);
            begin(Threads::One);
        });
        ++ended_;
        const auto album = albums_.find(job.album);
        if (album == albums_.end())
            FinishOne(index, std::nullopt);
        else if (--album->second.left == 0)
            FinishAlbum(album->second);
    }

    // Runs a step of one file's work, which may fail. Not even the end of memory leaves it as an exception,
    // which would end the program in the midst of the other files.
    template <class Step>
    void Guarded(size_t index, const Step &step)
    {
        try {
            step();
        } catch (const Interrupted &) {
            // All threads see the same note; the caller reports it once.
            interrupted_[index] = true;
        } catch (const std::bad_alloc &) {
            FailForMemory(index);
        } catch (const std::exception &error) {
            try {
                Fail(index, error.what());
            } catch (const std::bad_alloc &) {
                FailForMemory(index);
            }
        }
    }

    void FinishOne(size_t index, const std::optional<Loudness> &album)
    {
        if (pending_[index])
            Guarded(index, [&] { reports_[index] = pending_[index]->Finish(album); });
        pending_[index].reset();
        if (interrupted_[index])
            return;
        try {
            Tell(index);
        } catch (const std::bad_alloc &) {
            untold_[index] = true;
        }
    }

    // The last file of an album ends the work of all.
    void FinishAlbum(const Album &album)
    {
        std::optional<Loudness> loudness;
        try {
            loudness = LoudnessOf(album);
        } catch (const std::bad_alloc &) {
            for (const size_t index : album.members)
                FailForMemory(index);
        }
        for (const size_t index : album.members)
            FinishOne(index, loudness);
    }

    std::optional<Loudness> LoudnessOf(const Album &album) const
    {
        std::vector<const AlbumPart *> parts;
        Loudness loudness;
        loudness.truePeak = options_.truePeak;
        bool measurable = true;
        for (const size_t index : album.members) {
            if (!pending_[index] || !pending_[index]->report().albumPart)
                continue;
            const ConversionReport &report = pending_[index]->report();
            parts.push_back(report.albumPart.get());
            measurable = measurable && report.loudness->peak;
            loudness.peak = std::max(loudness.peak.value_or(0), report.loudness->peak.value_or(0));
        }
        if (measurable)
            loudness.gain = AlbumPart::GainOf(parts);
        else
            loudness.peak.reset();
        return parts.empty() ? std::nullopt : std::optional(loudness);
    }

    // The words for it take memory too; Tell finds them.
    void FailForMemory(size_t index)
    {
        pending_[index].reset();
        reports_[index] = {};
        noMemory_[index] = true;
    }

    void Fail(size_t index, const std::string &error)
    {
        pending_[index].reset();
        reports_[index] = {};
        reports_[index].error = error;
        reports_[index].input.path = Utf8Name(jobs_[index].input);
        reports_[index].output.path = Utf8Name(jobs_[index].output);
    }

    // Can be done again where memory ran out in the midst of it.
    void Tell(size_t index)
    {
        if (noMemory_[index])
            Fail(index, Utf8Name(jobs_[index].input) + ": not enough memory");
        progress_.Finish(index, reports_[index]);
        Finish(index);
    }

    // Reports come in the order of the inputs, however the threads share the work.
    void Finish(size_t index)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        finished_[index] = true;
        for (; reported_ < jobs_.size() && finished_[reported_]; ++reported_)
            Report(reported_);
    }

    void Report(size_t index)
    {
        const ConversionReport &report = reports_[index];
        for (const std::string &warning : report.warnings)
            console_.Complain("warning: " + warning);
        if (!report.error.empty())
            console_.Complain(report.error);
        if (report.error.empty() && (options_.json || !StandardOutputIsTerminal()))
            console_.Remark(FinishedText(report));
        if (options_.json || !report.error.empty())
            return;
        if (!options_.quiet)
            console_.Say(ReportText(report));
        if (!options_.quiet && report.loudness)
            console_.Say("  ReplayGain " + LoudnessText(*report.loudness));
        if (!options_.quiet && report.albumLoudness)
            console_.Say("  ReplayGain of the album " + LoudnessText(*report.albumLoudness));
        if (report.digest)
            console_.Say(std::string(NameOf(report.digest->kind)) + " " + report.digest->hex + "  " +
                         TerminalText(report.output.path));
    }

    const Options &options_;
    const Extras &extras_;
    const std::vector<Job> &jobs_;
    Console &console_;
    const size_t cores_ = std::max(1u, std::thread::hardware_concurrency());
    std::vector<ConversionReport> reports_;
    std::vector<std::unique_ptr<PendingFile>> pending_;
    std::vector<char> interrupted_; // not bool, of which several share a byte
    std::vector<char> noMemory_;    // those that failed for want of it
    std::vector<char> untold_;      // finished, but memory ran out before that was said
    const size_t workers_;          // files at a time, at most
    std::map<std::string, Album> albums_;
    std::shared_mutex memory_; // held by a file that needs all of it, shared by the others
    std::mutex mutex_;         // of what follows
    std::vector<bool> finished_;
    size_t reported_ = 0; // all before it are
    Progress progress_;
    std::atomic<size_t> next_{0};
    std::atomic<size_t> ended_{0}; // of those before next_, but for their tags
};

} // namespace

int RunJobs(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console)
{
    const auto start = std::chrono::steady_clock::now();
    ProgressJson lines;
    ProgressView &shown =
        options.progress == ProgressChoice::JsonLines ? static_cast<ProgressView &>(lines) : console;
    ProgressPasses passes(shown);
    const bool twice = options.normalizeAlbum && !options.dryRun;
    const std::vector<Job> ready = twice ? WithAlbumLevels(options, extras, jobs, passes) : jobs;
    passes.BeginSecond();
    Batch batch(options, extras, ready, console, twice ? passes : shown);
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
