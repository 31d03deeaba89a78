// album_level.cpp: measures many files at a time, and shares what they are together.
#include "host/album_level.h"

#include "host/processing/level.h"
#include "host/report/progress.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/platform.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <shared_mutex>
#include <thread>

namespace tonekit::host {

namespace {

class AlbumPass {
public:
    AlbumPass(const Options &options, const Extras &extras, const std::vector<Job> &jobs, ProgressView &view)
        : options_(options), extras_(extras), jobs_(jobs), members_(MembersOf(jobs)),
          levels_(members_.size()), errors_(members_.size()), noMemory_(members_.size()),
          progress_(view, FilesOf(jobs, members_))
    {}

    void Run()
    {
        const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
        const size_t count = std::min<size_t>(options_.jobs.value_or(cores), members_.size());
        std::vector<std::jthread> helpers;
        try {
            for (size_t i = 1; i < count; ++i)
                helpers.emplace_back([this] { Work(); });
        } catch (const std::exception &) {
            // The system starts no more: those that there are do all the work.
        }
        Work();
    }

    // By the albums' names.
    std::map<std::string, std::shared_ptr<const MeasuredLevel>> Albums() const
    {
        std::map<std::string, std::vector<std::shared_ptr<const MeasuredLevel>>> files;
        for (size_t i = 0; i < members_.size(); ++i) {
            if (levels_[i])
                files[jobs_[members_[i]].album].push_back(levels_[i]);
        }
        std::map<std::string, std::shared_ptr<const MeasuredLevel>> albums;
        for (const auto &[name, levels] : files)
            albums[name] = std::make_shared<MeasuredLevel>(MeasuredLevel::OfAlbum(levels));
        return albums;
    }

    // What can't be measured isn't converted by the level of the others either.
    void AddErrors(std::vector<Job> &jobs) const
    {
        for (size_t i = 0; i < members_.size(); ++i) {
            Job &job = jobs[members_[i]];
            if (job.skipped.empty())
                job.error = noMemory_[i] ? Utf8Name(job.input) + ": not enough memory" : errors_[i];
        }
    }

private:
    // All files of the albums of which any file is to be done.
    static std::vector<size_t> MembersOf(const std::vector<Job> &jobs)
    {
        std::set<std::string> inWork;
        for (const Job &job : jobs) {
            if (job.skipped.empty() && job.error.empty())
                inWork.insert(job.album);
        }
        std::vector<size_t> members;
        for (size_t i = 0; i < jobs.size(); ++i) {
            if (!jobs[i].album.empty() && jobs[i].error.empty() && inWork.contains(jobs[i].album))
                members.push_back(i);
        }
        return members;
    }

    static std::vector<ProgressFile> FilesOf(const std::vector<Job> &jobs, const std::vector<size_t> &members)
    {
        std::vector<ProgressFile> files;
        for (const size_t member : members) {
            std::error_code error;
            const uintmax_t size = std::filesystem::file_size(jobs[member].input, error);
            files.push_back({Utf8Name(jobs[member].output.filename()), error ? 0 : size});
        }
        return files;
    }

    void Work()
    {
        for (size_t i = next_++; i < members_.size() && !InterruptNoted(); i = next_++)
            MeasureOne(i);
    }

    // Not even the end of memory leaves it as an exception, which would end the program from another thread.
    // The words for it take memory too; AddErrors finds them when that of the others is there again.
    void MeasureOne(size_t index)
    {
        try {
            TryToMeasure(index);
        } catch (const std::bad_alloc &) {
            noMemory_[index] = true;
        }
    }

    void TryToMeasure(size_t index)
    {
        try {
            progress_.Report(index, 0, 0);
            MeasureBesideOthers(index);
        } catch (const Interrupted &) {
            // The caller finds the same note.
        } catch (const std::bad_alloc &) {
            noMemory_[index] = true;
        } catch (const std::exception &error) {
            errors_[index] = error.what();
        }
        progress_.Finish(index, {});
    }

    void MeasureBesideOthers(size_t index)
    {
        try {
            const std::shared_lock together(memory_);
            return Measure(index);
        } catch (const std::bad_alloc &) {
            // Memory that isn't enough for all at once may be enough for one after another.
        }
        const std::unique_lock alone(memory_);
        Measure(index);
    }

    void Measure(size_t index)
    {
        const auto report = [this, index](double done, double audioSeconds) {
            progress_.Report(index, done, audioSeconds);
        };
        levels_[index] =
            std::make_shared<MeasuredLevel>(MeasureFile(options_, extras_, jobs_[members_[index]], report));
    }

    const Options &options_;
    const Extras &extras_;
    const std::vector<Job> &jobs_;
    const std::vector<size_t> members_;
    std::vector<std::shared_ptr<const MeasuredLevel>> levels_;
    std::vector<std::string> errors_; // empty: measured, if there was memory for it
    std::vector<char> noMemory_;      // not bool, of which several share a byte
    std::shared_mutex memory_;        // held by a file that needs all of it, shared by the others
    Progress progress_;
    std::atomic<size_t> next_{0};
};

} // namespace

std::vector<Job> WithAlbumLevels(const Options &options, const Extras &extras, const std::vector<Job> &jobs,
                                 ProgressView &view)
{
    AlbumPass pass(options, extras, jobs, view);
    pass.Run();
    if (InterruptNoted())
        throw Interrupted();
    const auto albums = pass.Albums();
    std::vector<Job> ready = jobs;
    pass.AddErrors(ready);
    for (Job &job : ready) {
        if (const auto album = albums.find(job.album); album != albums.end())
            job.albumLevel = album->second;
    }
    return ready;
}

} // namespace tonekit::host
