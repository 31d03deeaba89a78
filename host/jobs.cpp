// jobs.cpp: finds inputs, places outputs, and refuses what can't go well.
#include "host/jobs.h"

#include "host/folder_walk.h"
#include "host/name_template.h"
#include "host/open_source.h"
#include "host/plan.h"
#include "host/system/caseless_folder.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/platform.h"
#include "host/system/safe_output.h"
#include "host/tags/file_tracks.h"
#include "host/tags/tag_reader.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <set>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

using TextTags = std::vector<std::pair<std::string, std::string>>;

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
    throw UsageError(Utf8Name(output) + ": no file type has the extension ." + extension +
                     ": choose another, or add --type");
}

bool IsFolder(const fs::path &path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

bool MeansFolder(const Options &options)
{
    if (options.output == kStandardStream) {
        if (IsFolder(PathFromUtf8(options.inputs[0])))
            throw UsageError("- (standard output) takes one file, and " + options.inputs[0] + " is a folder");
        return false;
    }
    const char last = options.output.back();
    const fs::path output = PathFromUtf8(options.output);
    if (last == '/' || last == fs::path::preferred_separator || IsFolder(output))
        return true;
    const bool several = options.inputs.size() > 1 || options.nameTemplate || options.split ||
                         IsFolder(PathFromUtf8(options.inputs[0]));
    // One file was meant, or the folder was forgotten.
    if (several && ContainerByExtension(ExtensionOf(output)))
        throw UsageError(options.output + " is the name of a file, and several are made: name a folder (" +
                         options.output + "/ if that is one)" +
                         (options.nameTemplate || options.split ? "" : ", or --join them"));
    return several;
}

// The part of each input that --start and --end ask for.
std::optional<FilePart> PartOf(const Options &options)
{
    if (!options.start && !options.end)
        return std::nullopt;
    return FilePart{options.start.value_or(0), options.end};
}

// Before anything is written. A single input is missed in its own conversion.
void CheckInputsAreThere(const Options &options)
{
    if (options.inputs.size() == 1)
        return;
    for (const std::string &input : options.inputs) {
        std::error_code error;
        if (fs::status(PathFromUtf8(input), error).type() == fs::file_type::not_found)
            throw Failure(input + ": no such file");
    }
}

// What the command line names, with the files of folders in their places.
std::vector<FoundFile> FindInputs(const Options &options, const fs::path &output)
{
    std::vector<FoundFile> found;
    for (const std::string &input : options.inputs) {
        const fs::path path = PathFromUtf8(input);
        if (!IsFolder(path)) {
            found.push_back({path, path.filename(), true, ""});
            continue;
        }
        const std::vector<FoundFile> inside = WalkFolder(path, output);
        const bool any = std::any_of(inside.begin(), inside.end(), [&](const FoundFile &file) {
            return file.audio || !file.error.empty() || options.copyOthers;
        });
        if (!any)
            throw Failure(input + ": the folder holds no audio files");
        found.insert(found.end(), inside.begin(), inside.end());
    }
    return found;
}

std::string Capitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

// The text tags that the output of this input will have.
std::map<std::string, std::string> TagsOf(const Options &options, const fs::path &input)
{
    std::map<std::string, std::string> tags;
    if (options.tags) {
        const TagBlockPointer block = NewTagBlock();
        std::vector<std::string> ignored;
        TagChoice choice;
        choice.chapters = false;
        choice.frontCover = false;
        ReadTags(input, OpenSource(options, input)->tagKind(), choice, block.get(), ignored);
        ForEachText(block.get(), [&](const std::string &key, const std::string &value) {
            std::string text;
            for (const char c : value)
                text += c == kValueSeparator ? std::string(", ") : std::string(1, c);
            tags[Capitals(key)] = text;
        });
    }
    for (const auto &[key, value] : options.set)
        tags[Capitals(key)] = value;
    return tags;
}

// Where inputs go in a folder.
class Placement {
public:
    Placement(const Options &options, fs::path folder) : options_(options), folder_(std::move(folder))
    {
        if (options.nameTemplate || options.split)
            template_.emplace(options.nameTemplate.value_or("{track:02} {title}"));
    }

    // The texts of a track go before those of its file.
    fs::path Of(const FoundFile &file, const TextTags &track = {}) const
    {
        if (!file.audio)
            return folder_ / file.relative;
        fs::path name = file.relative;
        if (options_.type)
            name.replace_extension(ContainerOf(*options_.type).extensions[0]);
        if (template_) {
            auto tags = TagsOf(options_, file.path);
            for (const auto &[key, value] : track)
                tags[key] = value;
            for (const auto &[key, value] : options_.set)
                tags[Capitals(key)] = value;
            const auto lookup = [&](const std::string &key) {
                const auto place = tags.find(key);
                return place != tags.end() ? std::optional(place->second) : std::nullopt;
            };
            const fs::path extension = name.extension();
            const fs::path made = template_->NameOf(lookup, Utf8Name(file.path.stem()));
            name = options_.nameTemplate ? made : name.parent_path() / made;
            name += extension;
        }
        return folder_ / name;
    }

private:
    const Options &options_;
    fs::path folder_;
    std::optional<NameTemplate> template_;
};

// One name for a file, however it is reached. Throws Failure where the system doesn't say.
fs::path Identity(const fs::path &path)
{
    std::error_code error;
    // A link may lead to a file that isn't there yet.
    const fs::path target = fs::exists(path, error) ? path : WithoutLinks(path);
    const fs::path known = fs::weakly_canonical(target, error);
    if (error)
        throw Failure(Utf8Name(path) + ": " + error.message());
    return ComparableName(known);
}

// The name of a job's file, or nothing and an error of the job.
std::optional<fs::path> IdentityFor(Job &job, const fs::path &path)
{
    try {
        return Identity(path);
    } catch (const Failure &failure) {
        job.error = failure.what();
        return std::nullopt;
    }
}

[[noreturn]] void RefuseTwoOfOneName(const Job &first, const Job &second)
{
    if (!second.track.empty() && first.input == second.input)
        throw UsageError("two tracks of " + Utf8Name(second.input) + " would become " +
                         Utf8Name(second.output));
    throw UsageError(Utf8Name(first.input) + " and " + Utf8Name(second.input) + " would both become " +
                     Utf8Name(second.output));
}

// No two outputs may be one, and none may be the input of another.
void CheckOutputs(std::vector<Job> &jobs)
{
    std::multimap<std::string, const Job *> inputs; // of names in capitals
    for (Job &job : jobs) {
        if (!job.error.empty())
            continue;
        if (const auto identity = IdentityFor(job, job.input))
            inputs.emplace(Capitals(Utf8Name(*identity)), &job);
    }
    std::map<fs::path, const Job *> takenBy;
    std::map<std::string, const Job *> takenInAnyCase;
    CaselessFolders caseless;
    for (Job &job : jobs) {
        if (!job.error.empty())
            continue;
        const auto identity = IdentityFor(job, job.output);
        if (!identity)
            continue;
        const auto [taken, isNew] = takenBy.emplace(*identity, &job);
        if (!isNew)
            RefuseTwoOfOneName(*taken->second, job);
        const std::string capitals = Capitals(Utf8Name(*identity));
        const auto [alike, isFirst] = takenInAnyCase.emplace(capitals, &job);
        if (!isFirst && caseless.Has(job.output.parent_path()))
            RefuseTwoOfOneName(*alike->second, job);
        const auto [first, end] = inputs.equal_range(capitals);
        for (auto input = first; input != end; ++input) {
            if (input->second != &job && AreSameFile(input->second->input, job.output))
                throw UsageError(Utf8Name(job.input) + " would be written over " +
                                 Utf8Name(input->second->input) + ", which is an input too");
        }
    }
}

// Whether an output that was written at this time is older than nothing that is in it.
bool IsUpToDate(const Options &options, const Job &job, fs::file_time_type written)
{
    std::vector<fs::path> inputs = InputsOf(job);
    for (const auto &name : {options.cover, options.chapters, options.cue}) {
        if (name && !job.plainCopy)
            inputs.push_back(PathFromUtf8(*name));
    }
    return std::all_of(inputs.begin(), inputs.end(), [&](const fs::path &input) {
        std::error_code error;
        return written >= fs::last_write_time(input, error) && !error;
    });
}

// Throws Failure where the system doesn't say whether the output is there.
std::string ReasonToSkip(const Options &options, const Job &job)
{
    std::error_code error;
    if (!options.noClobber && !options.update)
        return "";
    if (fs::status(job.output, error).type() == fs::file_type::not_found)
        return "";
    const auto written = fs::last_write_time(job.output, error);
    if (error)
        throw Failure(Utf8Name(job.output) + ": " + error.message());
    if (options.noClobber)
        return "exists";
    return IsUpToDate(options, job, written) ? "up to date" : "";
}

std::vector<Job> JobsInPlace(const Options &options)
{
    std::vector<Job> jobs;
    std::set<fs::path> seen;
    for (const FoundFile &file : FindInputs(options, "")) {
        if (!file.audio && file.error.empty())
            continue;
        Job job{file.path, file.path};
        const auto identity = IdentityFor(job, file.path);
        if (identity && !seen.insert(*identity).second)
            throw UsageError(Utf8Name(file.path) + " is named twice");
        if (!file.error.empty())
            job.error = file.error;
        jobs.push_back(job);
    }
    return jobs;
}

// The type of a job's output. What a folder holds may have none, which is no fault of the command line.
void SetContainer(const Options &options, const FoundFile &file, Job &job)
{
    try {
        job.container = &WantedContainer(options, job.output);
    } catch (const UsageError &error) {
        const std::string name = Utf8Name(file.path);
        if (std::find(options.inputs.begin(), options.inputs.end(), name) != options.inputs.end())
            throw;
        job.error = error.what();
        return;
    }
    CheckTarget(options, *job.container);
}

// A job for each track of a file.
void AddTracks(const Options &options, const Placement &placement, const FoundFile &file,
               std::vector<Job> &jobs)
{
    std::vector<FileTrack> tracks;
    Job whole{file.path, {}};
    whole.inFolder = true;
    try {
        tracks = TracksOfFile(options, file.path, TagsOf(options, file.path));
    } catch (const Failure &failure) {
        whole.error = failure.what();
        jobs.push_back(whole);
    }
    for (const FileTrack &track : tracks) {
        Job job = whole;
        job.part = track.part;
        job.track = track.tags;
        job.output = placement.Of(file, track.tags);
        SetContainer(options, file, job);
        jobs.push_back(job);
    }
}

std::vector<Job> JobsInFolder(const Options &options)
{
    const fs::path folder = PathFromUtf8(options.output);
    const Placement placement(options, folder);
    std::vector<Job> jobs;
    for (const FoundFile &file : FindInputs(options, folder)) {
        if (!file.audio && file.error.empty() && !options.copyOthers)
            continue;
        if (options.split && file.audio && file.error.empty()) {
            AddTracks(options, placement, file, jobs);
            continue;
        }
        Job job{file.path, {}};
        job.error = file.error;
        job.inFolder = true;
        job.plainCopy = !file.audio;
        job.part = file.audio ? PartOf(options) : std::nullopt;
        try {
            if (job.error.empty())
                job.output = placement.Of(file);
        } catch (const Failure &failure) {
            job.error = failure.what();
        }
        if (job.error.empty() && file.audio)
            SetContainer(options, file, job);
        jobs.push_back(job);
    }
    return jobs;
}

// One file of all inputs, those of folders too.
Job JobOfJoin(const Options &options)
{
    const fs::path output = PathFromUtf8(options.output);
    const char last = options.output.back();
    if (last == '/' || last == fs::path::preferred_separator || IsFolder(output))
        throw UsageError("--join makes one file, and " + options.output + " is a folder: name the file");
    Job job{{}, output, &WantedContainer(options, output)};
    CheckTarget(options, *job.container);
    for (const FoundFile &file : FindInputs(options, "")) {
        if (!file.error.empty())
            throw Failure(file.error);
        if (file.audio)
            job.joined.push_back(file.path);
    }
    if (job.joined.size() < 2)
        throw UsageError("--join needs at least two INPUTs and an OUTPUT");
    job.input = job.joined.front();
    return job;
}

// The picture may replace none of the files that the command line names.
void CheckSpectrogram(const Options &options, const std::vector<Job> &jobs)
{
    const fs::path picture = PathFromUtf8(*options.spectrogram);
    if (jobs.size() != 1)
        throw UsageError("--spectrogram makes one picture: name one INPUT");
    std::vector<fs::path> others = InputsOf(jobs[0]);
    for (const auto &name : {options.cover, options.chapters, options.cue}) {
        if (name)
            others.push_back(PathFromUtf8(*name));
    }
    if (!jobs[0].output.empty())
        others.push_back(jobs[0].output);
    for (const fs::path &other : others) {
        if (!IsStandardStream(other) && (AreSameFile(other, picture) || Identity(other) == Identity(picture)))
            throw Failure(Utf8Name(picture) + ": the spectrogram and " + Utf8Name(other) +
                          " are the same file");
    }
}

// An album has a name and an artist, or lies in one folder.
std::string AlbumOf(const Options &options, const fs::path &input)
{
    auto tags = TagsOf(options, input);
    const std::string folder = Utf8Name(Identity(input).parent_path());
    const std::string &name = tags["ALBUM"];
    const std::string &artist = tags["ALBUMARTIST"];
    if (name.empty())
        return "folder\n" + folder;
    return "album\n" + name + "\n" + (artist.empty() ? folder : artist);
}

// An album of which one file is to be done is done whole, since its gain is that of all.
void GroupByAlbum(const Options &options, std::vector<Job> &jobs)
{
    std::set<std::string> inWork;
    for (Job &job : jobs) {
        if (job.plainCopy || !job.error.empty())
            continue;
        try {
            job.album = AlbumOf(options, job.input);
        } catch (const Failure &failure) {
            job.error = failure.what();
        }
        if (job.skipped.empty() && job.error.empty())
            inWork.insert(job.album);
    }
    for (Job &job : jobs) {
        if (inWork.contains(job.album) && !options.noClobber)
            job.skipped.clear();
    }
}

} // namespace

fs::path OutputName(const Options &options, const fs::path &name)
{
    fs::path result = name;
    if (options.type)
        result.replace_extension(ContainerOf(*options.type).extensions[0]);
    return result;
}

std::vector<std::filesystem::path> FilesToLookAt(const Options &options)
{
    std::vector<fs::path> files;
    for (const FoundFile &file : FindInputs(options, "")) {
        if (file.audio || !file.error.empty())
            files.push_back(file.path);
    }
    return files;
}

Job JobFor(const Options &options, const fs::path &input)
{
    const fs::path output = PathFromUtf8(options.output);
    // Without a type, what is written on standard output is of the input's.
    const bool open = IsStandardStream(output) && !options.type;
    Job job{input, output, open ? nullptr : &WantedContainer(options, output)};
    job.part = PartOf(options);
    if (IsStandardStream(output) && StandardOutputIsTerminal())
        throw UsageError("standard output is a terminal, which shows no audio: pipe it on, or name a file");
    if (!open)
        CheckTarget(options, *job.container);
    return job;
}

std::vector<Job> MakeJobs(const Options &options)
{
    CheckInputsAreThere(options);
    if (options.cue && !options.split && IsFolder(PathFromUtf8(options.inputs[0])))
        throw UsageError("--cue is about one file, and " + options.inputs[0] + " is a folder");
    std::vector<Job> jobs;
    if (options.inPlace) {
        jobs = JobsInPlace(options);
        if (options.albumGain)
            GroupByAlbum(options, jobs);
        return jobs;
    }
    if (options.output.empty()) {
        Job job{PathFromUtf8(options.inputs[0]), {}};
        job.part = PartOf(options);
        jobs.push_back(job);
        CheckSpectrogram(options, jobs);
        return jobs;
    }
    if (options.join) {
        jobs.push_back(JobOfJoin(options));
    } else if (MeansFolder(options)) {
        if (options.inputs[0] == kStandardStream)
            throw UsageError("- (standard input) has no name for a file in " + options.output +
                             ": name the file");
        jobs = JobsInFolder(options);
        CheckOutputs(jobs);
    } else {
        jobs.push_back(JobFor(options, PathFromUtf8(options.inputs[0])));
    }
    if (options.spectrogram)
        CheckSpectrogram(options, jobs);
    for (Job &job : jobs) {
        try {
            if (job.error.empty())
                job.skipped = ReasonToSkip(options, job);
        } catch (const Failure &failure) {
            job.error = failure.what();
        }
    }
    if (options.albumGain || options.normalizeAlbum)
        GroupByAlbum(options, jobs);
    return jobs;
}

} // namespace tonekit::host
