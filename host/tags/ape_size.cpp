// ape_size.cpp: goes through the items of an APE tag without TagLib.
#include "host/tags/ape_size.h"

#include "host/system/memory_limit.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr std::string_view kMark = "APETAGEX";
constexpr uint64_t kFooter = 32; // and a header, if there is one

TagLib::ByteVector BytesAt(TagStream &stream, uint64_t place, uint64_t size)
{
    stream.seek(static_cast<long>(place), TagLib::IOStream::Beginning);
    return stream.readBlock(static_cast<unsigned long>(size));
}

bool IsMark(const TagLib::ByteVector &bytes)
{
    return bytes.startsWith(TagLib::ByteVector(kMark.data(), static_cast<unsigned int>(kMark.size())));
}

// Where TagLib looks for the end of an APE tag.
uint64_t EndBeforeOlderTag(TagStream &stream)
{
    constexpr uint64_t kOlderTag = 128;
    constexpr uint64_t kMarkBefore = 3; // the letters TAG are part of the mark
    const auto length = static_cast<uint64_t>(stream.length());
    if (length < kOlderTag || BytesAt(stream, length - kOlderTag, 3) != TagLib::ByteVector("TAG"))
        return length;
    const bool isMark = length >= kOlderTag + kMarkBefore &&
                        IsMark(BytesAt(stream, length - kOlderTag - kMarkBefore, kMark.size()));
    return isMark ? length : length - kOlderTag;
}

bool AreZeros(TagLib::ByteVector::ConstIterator from, TagLib::ByteVector::ConstIterator end)
{
    return std::all_of(from, end, [](char byte) { return byte == 0; });
}

// Whether bytes are items, one after another, and then zeros: a size of 4 bytes, 4 bytes of flags, a name, a
// zero and the value.
bool AreItems(const TagLib::ByteVector &bytes)
{
    constexpr uint64_t kSizeAndFlags = 8;
    for (uint64_t place = 0; place < bytes.size();) {
        const auto rest = bytes.begin() + static_cast<ptrdiff_t>(place);
        if (AreZeros(rest, bytes.end()))
            return true;
        if (place + kSizeAndFlags >= bytes.size())
            return false;
        const auto name = rest + static_cast<ptrdiff_t>(kSizeAndFlags);
        const auto zero = std::find(name, bytes.end(), '\0');
        if (zero == name || zero == bytes.end()) // without a name zeros would be looked at again and again
            return false;
        place = static_cast<uint64_t>(zero - bytes.begin()) + 1 +
                bytes.toUInt(static_cast<unsigned int>(place), false);
        if (place > bytes.size())
            return false;
    }
    return true;
}

bool IsOdd(TagStream &stream)
{
    constexpr uint32_t kHasHeader = uint32_t{1} << 31;
    const uint64_t end = EndBeforeOlderTag(stream);
    if (end < kFooter)
        return false;
    const TagLib::ByteVector footer = BytesAt(stream, end - kFooter, kFooter);
    if (footer.size() < kFooter || !IsMark(footer))
        return false;
    const uint64_t size = footer.toUInt(12u, false);
    const uint64_t header = (footer.toUInt(20u, false) & kHasHeader) != 0 ? kFooter : 0;
    if (size < kFooter || size + header > end || size > MemoryLimit() * 3 / 8)
        return true;
    const uint64_t start = end - size;
    if (header != 0 && !IsMark(BytesAt(stream, start - header, kMark.size())))
        return true;
    const TagLib::ByteVector items = BytesAt(stream, start, size - kFooter);
    if (header == 0 && !items.isEmpty() && AreZeros(items.begin(), items.end()))
        return true; // the last frame of MPEG audio can end in them
    return !AreItems(items);
}

} // namespace

bool HasOddApeSize(TagStream &stream)
{
    const bool odd = IsOdd(stream);
    stream.seek(0, TagLib::IOStream::Beginning);
    return odd;
}

} // namespace tonekit::host
