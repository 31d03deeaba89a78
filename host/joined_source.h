// joined_source.h: several files' samples as one source.
#pragma once

#include "host/audio/sample_source.h"
#include "host/command_line/options.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tonekit::host {

// The frames of the first file, at once after them those of the next one, and so on. One file is open at a
// time.
class JoinedSource final : public SampleSource {
public:
    // Opens each of the files, of which there is at least one. Throws Failure if one can't be read, or if its
    // rate, channels, loudspeakers or sample format aren't those of the first.
    JoinedSource(const Options &options, const std::vector<std::filesystem::path> &paths);

    // "a.wav and 2 more"
    std::string name() const override { return name_; }
    const AudioFormat &format() const override { return format_; }
    Loudspeakers loudspeakers() const override { return loudspeakers_; }
    uint64_t frames() const override { return frames_; }
    const std::string &type() const override { return type_; }
    const std::string &encoding() const override { return encoding_; }
    // Coded audio of several files isn't that of one.
    const Container *container() const override { return nullptr; }
    // That of the first.
    TagKind tagKind() const override { return files_.front().tagKind; }
    // All of them are.
    bool lossy() const override { return lossy_; }
    // Those of all files.
    std::vector<std::string> warnings() const override { return warnings_; }
    std::vector<SourceFile> files() const override { return files_; }

    uint32_t Read(void *buffer, uint32_t frames) override;
    void Rewind() override;

private:
    void Add(const SampleSource &file, const std::filesystem::path &path);
    void Open(size_t index);
    void TakeLaterWarnings();

    const Options &options_;
    std::string name_;
    AudioFormat format_;
    Loudspeakers loudspeakers_ = 0;
    uint64_t frames_ = 0; // 0: one of the files doesn't say
    std::string type_;
    std::string encoding_;
    bool lossy_ = true;
    std::vector<SourceFile> files_;
    std::vector<std::string> warnings_;
    size_t index_ = 0; // of the file that is read
    size_t told_ = 0;  // of its warnings
    size_t heard_ = 0; // files that were read to their end
    std::unique_ptr<SampleSource> current_;
    uint64_t position_ = 0; // in the whole
};

} // namespace tonekit::host
