// sample_source.h: where the samples of a conversion come from: a file, or a caller's memory.
#pragma once

#include "host/audio/container.h"
#include "host/audio/loudspeakers.h"
#include "host/audio/md5.h"
#include "host/audio/sample_format.h"
#include "host/tags/tag_kind.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

class PipeInput;

// One of the files that a source is joined of.
struct SourceFile {
    std::filesystem::path path;
    TagKind tagKind = TagKind::None;
    uint64_t start = 0; // the frame of the source at which it begins
};

// Interleaved samples of one format, channels in the converter's order. Failures are thrown as Failure.
class SampleSource {
public:
    SampleSource() = default;
    SampleSource(const SampleSource &) = delete;
    SampleSource &operator=(const SampleSource &) = delete;
    virtual ~SampleSource() = default;

    // What messages and reports call it.
    virtual std::string name() const = 0;
    virtual const AudioFormat &format() const = 0;
    // What its channels are for, where the converter takes them for others; mostly 0.
    virtual Loudspeakers loudspeakers() const { return 0; }
    // The number of frames that it promises; 0 if it doesn't say.
    virtual uint64_t frames() const = 0;
    // The type of file and the way in which it keeps its samples: "WAV" and "Signed 16 bit PCM"
    virtual const std::string &type() const = 0;
    virtual const std::string &encoding() const = 0;
    // The container that would hold the very same coded audio; null if none of those written does.
    virtual const Container *container() const = 0;
    // The form of its tags.
    virtual TagKind tagKind() const = 0;
    // What its user should know of it, a line for each with its name in front; mostly none. Of a pipe
    // complete at its end only.
    virtual std::vector<std::string> warnings() const { return {}; }
    // The checksum that the file notes of all its samples as they are read; mostly none. After that it is for
    // the caller to compare it; else the source does that itself.
    virtual std::optional<Md5::Digest> GiveSum() { return std::nullopt; }
    // The files that it is joined of, each with the place that it had when it was last read; mostly none.
    virtual std::vector<SourceFile> files() const { return {}; }
    // The samples come from a coder that keeps no exact sample values.
    virtual bool lossy() const = 0;

    // Goes to a frame where that is exact and quick; false: only reading on leads there.
    virtual bool TrySeek(uint64_t) { return false; }
    // Reads frames that are there before the first one, from their start on, for decoders whose state comes
    // from them. Returns how many; 0 where they end, or where reading has begun.
    virtual uint32_t ReadBefore(void *, uint32_t) { return 0; }
    // Fills the buffer with up to `frames` frames in format(). Returns how many; 0 at the end.
    virtual uint32_t Read(void *buffer, uint32_t frames) = 0;
    // Goes back to the first frame.
    virtual void Rewind() = 0;
    virtual bool CanRewind() const { return true; }
    // The stream that it reads from, if that can only be read on; null if there is none.
    virtual PipeInput *pipe() { return nullptr; }
};

} // namespace tonekit::host
