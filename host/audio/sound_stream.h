// sound_stream.h: lets libsndfile read and write through the platform's files, and keeps the system's error.
#pragma once

#include "host/system/library_memory.h"
#include "host/system/platform.h"

#include <cstdint>
#include <filesystem>
#include <new>
#include <sndfile.h>
#include <string>
#include <system_error>

namespace tonekit::host {

// An open file and the libsndfile handle on it.
class SoundStream {
public:
    SoundStream() = default;
    SoundStream(const SoundStream &) = delete;
    SoundStream &operator=(const SoundStream &) = delete;
    ~SoundStream();

    File &file() { return file_; }
    // Lets libsndfile use something else than the file; null: the file again.
    void Use(ByteStream *other, bool endIsKnown = true);
    ByteStream &bytes() { return other_ ? *other_ : static_cast<ByteStream &>(file_); }
    bool endIsKnown() const { return endIsKnown_; }
    // Reports an empty file to libsndfile. Where that finds no other type, it looks for a second
    // part of a file with any length, "._" in the current folder, before it takes the bytes for MPEG audio,
    // which needs no length.
    void HideLength() { hidesLength_ = true; }
    bool hidesLength() const { return hidesLength_; }
    // Lets libsndfile's file begin at this place of the open one.
    void SkipTo(uint64_t start) { start_ = start; }
    uint64_t start() const { return start_; }
    // Lets libsndfile's file end at this place of the open one, if that doesn't end before.
    void EndAt(uint64_t end) { end_ = end; }
    uint64_t end() const { return end_; }
    // Starts libsndfile on the open file; on failure handle() is null.
    void Start(int mode, SF_INFO &info);
    // Lets libsndfile write what it still holds; the file stays open.
    void Stop();
    // The same, and closes the file.
    void Finish();

    // Calls libsndfile with the handle. Neither it nor the coders below check all of their allocations: where
    // one fails this throws std::bad_alloc, and the handle is null from then on.
    template <class Work>
    auto Call(Work work)
    {
        const CheckedLibraryMemory checked;
        try {
            return work(handle_);
        } catch (const std::bad_alloc &) {
            handle_ = nullptr;
            throw;
        }
    }
    SNDFILE *handle() const { return handle_; }
    // The first error that the system reported; no error if there was none.
    const std::error_code &error() const { return error_; }
    void Note(const std::error_code &error);

private:
    File file_;
    ByteStream *other_ = nullptr;
    bool endIsKnown_ = true;
    bool hidesLength_ = false;
    uint64_t start_ = 0;
    uint64_t end_ = UINT64_MAX;
    SNDFILE *handle_ = nullptr;
    std::error_code error_;
};

// What libsndfile says about the handle's last failure, in the form of the program's messages.
std::string SoundFileError(SNDFILE *handle);

} // namespace tonekit::host
