// tag_stream.h: lets TagLib read and write through the platform's files, and keeps the system's error.
#pragma once

#include "host/system/memory_bytes.h"
#include "host/system/platform.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <tiostream.h>
#include <vector>

namespace tonekit::host {

// TagLib's own stream doesn't report writes that fail, which on a full disk would leave half a tag
// unnoticed.
class TagStream : public TagLib::IOStream {
public:
    enum class Access { Read, Change };

    TagStream(const std::filesystem::path &path, Access access);
    // The first bytes of a stream, to be read; they must exist as long as this.
    explicit TagStream(std::span<const unsigned char> beginning);

    // The first error that the system reported; no error if there was none.
    const std::error_code &error() const { return error_; }
    // TagLib's positions are of the type long: whether they can't reach the end of the file and some new
    // tags.
    bool IsTooLong();
    // Closes the file, which may bring an error to light.
    void Close() { Note(file_.Close()); }

    TagLib::FileName name() const override { return name_.c_str(); }
    // Throws Interrupted after an interrupt: TagLib looks at as many parts as a file has.
    TagLib::ByteVector readBlock(unsigned long length) override;
    void writeBlock(const TagLib::ByteVector &data) override;
    void insert(const TagLib::ByteVector &data, unsigned long start, unsigned long replace) override;
    void removeBlock(unsigned long start, unsigned long length) override;
    bool readOnly() const override { return access_ == Access::Read; }
    bool isOpen() const override { return memory_ || file_.IsOpen(); }
    void seek(long offset, Position position) override;
    long tell() const override { return static_cast<long>(position_); }
    long length() override;
    void truncate(long length) override;

private:
    ByteStream &bytes() { return memory_ ? static_cast<ByteStream &>(*memory_) : file_; }
    void Note(const std::error_code &error);
    size_t FetchAt(uint64_t position, char *buffer, size_t size);
    size_t ReadAt(uint64_t position, char *buffer, size_t size);
    void WriteAt(uint64_t position, const char *data, size_t size);
    void CutAt(uint64_t size);
    void MoveUp(uint64_t start, uint64_t by);
    void MoveDown(uint64_t start, uint64_t by);

    std::filesystem::path name_;
    Access access_;
    File file_;
    std::optional<MemoryBytes> memory_;
    uint64_t position_ = 0;
    std::vector<char> ahead_; // what was read last, for what is read next
    uint64_t aheadAt_ = 0;
    std::error_code error_;
};

} // namespace tonekit::host
