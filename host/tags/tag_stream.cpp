// tag_stream.cpp: TagLib's stream operations, inserting and removing among them, over the platform's files.
#include "host/tags/tag_stream.h"

#include "host/system/failure.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace tonekit::host {

namespace {

constexpr size_t kMoveBytes = size_t{1} << 20;
constexpr size_t kAheadBytes = 4096;

} // namespace

TagStream::TagStream(const std::filesystem::path &path, Access access) : name_(path), access_(access)
{
    Note(access == Access::Read ? file_.OpenToRead(path) : file_.OpenToChange(path));
}

TagStream::TagStream(std::span<const unsigned char> beginning) : access_(Access::Read), memory_(beginning) {}

void TagStream::Note(const std::error_code &error)
{
    if (!error_)
        error_ = error;
}

bool TagStream::IsTooLong()
{
    constexpr uint64_t kMostForTags = uint64_t{256} << 20;
    uint64_t size = 0;
    Note(bytes().Size(size));
    return size > static_cast<uint64_t>(std::numeric_limits<long>::max()) - kMostForTags;
}

size_t TagStream::FetchAt(uint64_t position, char *buffer, size_t size)
{
    size_t got = 0;
    Note(bytes().SeekTo(position));
    if (!error_)
        Note(bytes().Read(buffer, size, got));
    return got;
}

// Files can have millions of headers of a few bytes, one after another.
size_t TagStream::ReadAt(uint64_t position, char *buffer, size_t size)
{
    if (size >= kAheadBytes)
        return FetchAt(position, buffer, size);
    if (position < aheadAt_ || position + size > aheadAt_ + ahead_.size()) {
        ahead_.resize(kAheadBytes);
        ahead_.resize(FetchAt(position, ahead_.data(), kAheadBytes));
        aheadAt_ = position;
    }
    const size_t got = std::min(size, ahead_.size() - static_cast<size_t>(position - aheadAt_));
    std::copy_n(ahead_.begin() + static_cast<ptrdiff_t>(position - aheadAt_), got, buffer);
    return got;
}

void TagStream::WriteAt(uint64_t position, const char *data, size_t size)
{
    ahead_.clear();
    Note(bytes().SeekTo(position));
    // After a first error nothing more is written: what follows would be in the wrong place.
    if (!error_)
        Note(bytes().Write(data, size));
}

TagLib::ByteVector TagStream::readBlock(unsigned long length)
{
    if (InterruptNoted())
        throw Interrupted();
    // Broken tags ask for more than there is.
    const auto size = static_cast<uint64_t>(this->length());
    const uint64_t left = size > position_ ? size - position_ : 0;
    TagLib::ByteVector data(static_cast<unsigned int>(std::min<uint64_t>({length, left, 0x7FFFFFFF})), 0);
    const size_t got = ReadAt(position_, data.data(), data.size());
    position_ += got;
    data.resize(static_cast<unsigned int>(got));
    return data;
}

void TagStream::writeBlock(const TagLib::ByteVector &data)
{
    WriteAt(position_, data.data(), data.size());
    position_ += data.size();
}

void TagStream::CutAt(uint64_t size)
{
    ahead_.clear();
    Note(file_.Truncate(size));
}

// Moves all from `start` to the end up by so many bytes, the last part first.
void TagStream::MoveUp(uint64_t start, uint64_t by)
{
    std::vector<char> part(kMoveBytes);
    for (uint64_t end = static_cast<uint64_t>(length()); end > start && !error_;) {
        const uint64_t size = std::min<uint64_t>(kMoveBytes, end - start);
        end -= size;
        WriteAt(end + by, part.data(), ReadAt(end, part.data(), static_cast<size_t>(size)));
    }
}

// Moves all from `start` to the end down by so many bytes, the first part first, and cuts the rest off.
void TagStream::MoveDown(uint64_t start, uint64_t by)
{
    std::vector<char> part(kMoveBytes);
    const auto end = static_cast<uint64_t>(length());
    while (start < end && !error_) {
        const size_t size =
            ReadAt(start, part.data(), static_cast<size_t>(std::min<uint64_t>(kMoveBytes, end - start)));
        if (size == 0)
            break;
        WriteAt(start - by, part.data(), size);
        start += size;
    }
    if (!error_)
        CutAt(end - by);
}

void TagStream::insert(const TagLib::ByteVector &data, unsigned long start, unsigned long replace)
{
    if (data.size() > replace)
        MoveUp(uint64_t{start} + replace, data.size() - replace);
    WriteAt(start, data.data(), data.size());
    if (data.size() < replace)
        removeBlock(start + data.size(), replace - data.size());
    position_ = uint64_t{start} + data.size();
}

void TagStream::removeBlock(unsigned long start, unsigned long length)
{
    const auto end = static_cast<uint64_t>(this->length());
    const uint64_t removed = start < end ? std::min<uint64_t>(length, end - start) : 0;
    if (removed > 0)
        MoveDown(start + removed, removed);
}

void TagStream::seek(long offset, Position position)
{
    const int64_t base = position == Beginning ? 0 : position == Current ? tell() : length();
    position_ = static_cast<uint64_t>(std::max<int64_t>(base + offset, 0));
}

long TagStream::length()
{
    uint64_t size = 0;
    if (isOpen())
        Note(bytes().Size(size));
    return static_cast<long>(size);
}

void TagStream::truncate(long length)
{
    CutAt(static_cast<uint64_t>(std::max(length, 0L)));
}

} // namespace tonekit::host
