// joined_source.cpp: reads file after file.
#include "host/joined_source.h"

#include "host/open_source.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/platform.h"

namespace tonekit::host {

namespace {

// What all files have in common, or else that they differ.
void Agree(std::string &common, const std::string &other, const char *several)
{
    if (common != other)
        common = several;
}

} // namespace

JoinedSource::JoinedSource(const Options &options, const std::vector<std::filesystem::path> &paths)
    : options_(options)
{
    bool lengthsAreKnown = true;
    for (const std::filesystem::path &path : paths) {
        if (InterruptNoted())
            throw Interrupted();
        const std::unique_ptr<SampleSource> file = OpenSource(options, path);
        Add(*file, path);
        lengthsAreKnown = lengthsAreKnown && file->frames() > 0;
        frames_ += file->frames();
    }
    if (!lengthsAreKnown)
        frames_ = 0;
    name_ = Utf8Name(paths.front());
    if (paths.size() > 1)
        name_ += " and " + std::to_string(paths.size() - 1) + " more";
}

void JoinedSource::Add(const SampleSource &file, const std::filesystem::path &path)
{
    if (files_.empty()) {
        format_ = file.format();
        loudspeakers_ = file.loudspeakers();
        type_ = file.type();
        encoding_ = file.encoding();
    } else if (file.format() != format_) {
        throw Failure(file.name() + ": is " + NameOf(file.format()) + ", and can't be joined to " +
                      Utf8Name(files_.front().path) + ", which is " + NameOf(format_));
    } else if (file.loudspeakers() != loudspeakers_) {
        throw Failure(file.name() + ": has its channels for other loudspeakers than " +
                      Utf8Name(files_.front().path) + ", and can't be joined to it");
    }
    Agree(type_, file.type(), "several types");
    Agree(encoding_, file.encoding(), "");
    lossy_ = lossy_ && file.lossy();
    files_.push_back({path, file.tagKind(), 0});
    const std::vector<std::string> warnings = file.warnings();
    warnings_.insert(warnings_.end(), warnings.begin(), warnings.end());
}

void JoinedSource::Open(size_t index)
{
    index_ = index;
    files_[index].start = position_;
    current_ = OpenSource(options_, files_[index].path);
    if (current_->format() != format_)
        throw Failure(current_->name() + ": was changed while it was read");
    told_ = current_->warnings().size();
}

// Some things are seen at the end of a file only.
void JoinedSource::TakeLaterWarnings()
{
    if (index_ < heard_)
        return;
    const std::vector<std::string> warnings = current_->warnings();
    warnings_.insert(warnings_.end(), warnings.begin() + static_cast<ptrdiff_t>(told_), warnings.end());
    heard_ = index_ + 1;
}

uint32_t JoinedSource::Read(void *buffer, uint32_t frames)
{
    if (!current_)
        Open(0);
    uint32_t got = current_->Read(buffer, frames);
    while (got == 0) {
        TakeLaterWarnings();
        if (index_ + 1 == files_.size())
            break;
        Open(index_ + 1);
        got = current_->Read(buffer, frames);
    }
    position_ += got;
    return got;
}

void JoinedSource::Rewind()
{
    current_.reset();
    position_ = 0;
}

} // namespace tonekit::host
