// next_file.cpp: from the end that a header promises, over tags, to the next header.
#include "host/libav/next_file.h"

#include "host/audio/id3_size.h"
#include "host/libav/completeness_coded.h"

#include <algorithm>
#include <vector>

namespace tonekit::host {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kAsf = "\x30\x26\xB2\x75\x8E\x66\xCF\x11"sv;

bool Has(std::span<const unsigned char> bytes, size_t place, std::string_view word)
{
    return std::equal(word.begin(), word.end(), bytes.begin() + static_cast<ptrdiff_t>(place),
                      [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
}

// The bytes of a tag that begins here; 0 if there is none.
uint64_t TagBytes(std::span<const unsigned char> bytes)
{
    if (Has(bytes, 0, "APETAGEX")) { // its size doesn't count a header
        constexpr uint64_t kHeader = 32;
        constexpr uint64_t kIsHeader = 0x20000000;
        return kHeader + (LittleIn(bytes, 20, 4) & kIsHeader ? LittleIn(bytes, 12, 4) : 0);
    }
    if (const uint64_t size = Id3Bytes(bytes))
        return size;
    return Has(bytes, 0, "TAG") ? 128 : 0;
}

// A header, the sizes of all frames, and these. A frame has 256 / 245 of a second.
uint64_t EndOfTta(HeaderBytes &bytes, uint64_t start)
{
    constexpr uint64_t kMostFrames = 10'000'000;
    const uint64_t rate = bytes.Little(start + 10, 4);
    const uint64_t samples = bytes.Little(start + 14, 4);
    const uint64_t inFrame = std::max<uint64_t>(rate * 256 / 245, 1);
    const uint64_t frames = std::min((samples + inFrame - 1) / inFrame, kMostFrames);
    const uint64_t table = start + 22;
    std::vector<unsigned char> sizes(static_cast<size_t>(4 * frames));
    if (table + sizes.size() > bytes.size() || !bytes.Fetch(table, sizes.data(), sizes.size()))
        return 0;
    uint64_t end = table + sizes.size() + 4;
    for (size_t i = 0; i < sizes.size(); i += 4)
        end += LittleIn(sizes, i, 4);
    return end;
}

// The sizes of the header's parts, of the sound in two numbers, and of what came after it in a WAV file.
uint64_t EndOfApe(HeaderBytes &bytes, uint64_t start)
{
    constexpr uint64_t kWithSizes = 3980;
    if (bytes.Little(start + 4, 2) < kWithSizes)
        return 0;
    uint64_t end = start;
    for (const uint64_t place : {8u, 12u, 16u, 20u, 24u, 32u})
        end += bytes.Little(start + place, 4);
    return end + (bytes.Little(start + 28, 4) << 32);
}

struct Type {
    std::string_view name;
    uint64_t (*endOf)(HeaderBytes &bytes, uint64_t start); // 0: it isn't known
};

constexpr Type kTypes[] = {{"TTA1"sv, EndOfTta},
                           {"MAC "sv, EndOfApe},
                           {kAsf, EndOfCodedType},
                           {"DSD "sv, EndOfCodedType},
                           {"FRM8"sv, EndOfCodedType}};

} // namespace

NextFile::NextFile(HeaderBytes &bytes)
{
    Header first = {};
    bytes.Fetch(0, first.data(), first.size());
    const uint64_t start = Id3Bytes(first);
    done_ = !bytes.Fetch(start, first.data(), first.size());
    if (done_)
        return;
    boxes_ = Has(first, 4, "ftyp");
    if (boxes_) {
        name_ = "ftyp";
        nameAt_ = 4;
        next_ = start + BigIn(first, 0, 4);
    }
    for (const Type &type : kTypes) {
        if (!Has(first, 0, type.name))
            continue;
        name_ = type.name;
        next_ = type.endOf(bytes, start);
    }
    done_ = name_.empty() || next_ <= start || next_ > static_cast<uint64_t>(INT64_MAX);
}

// How far it is from what is no header of a file to the next place for one; 0: nothing is known of it.
uint64_t NextFile::StepOver() const
{
    if (!boxes_)
        return TagBytes(header_);
    const uint64_t size = BigIn(header_, 0, 4);
    const uint64_t step = size == 1 ? BigIn(header_, 8, 8) : size;
    return step >= 8 && step <= static_cast<uint64_t>(INT64_MAX) - next_ ? step : 0;
}

void NextFile::Look()
{
    found_ = Has(header_, nameAt_, name_);
    const uint64_t step = found_ ? 0 : StepOver();
    done_ = step == 0;
    next_ += step;
    have_ -= static_cast<size_t>(std::min<uint64_t>(step, have_));
    std::copy(header_.end() - static_cast<ptrdiff_t>(have_), header_.end(), header_.begin());
}

void NextFile::Take(std::span<const unsigned char> bytes)
{
    for (const uint64_t end = taken_ + bytes.size(); !done_ && taken_ < end;) {
        const uint64_t wanted = next_ + have_;
        const uint64_t passed = std::min(end, std::max(wanted, taken_)) - taken_;
        taken_ += passed;
        bytes = bytes.subspan(static_cast<size_t>(passed));
        const size_t part = std::min(kHeader - have_, bytes.size());
        std::copy_n(bytes.begin(), part, header_.begin() + static_cast<ptrdiff_t>(have_));
        taken_ += part;
        bytes = bytes.subspan(part);
        have_ += part;
        if (have_ == kHeader)
            Look();
    }
    taken_ += bytes.size();
}

void NextFile::TakeFile(HeaderBytes &bytes)
{
    constexpr int kMostHeaders = 10000; // a broken file could have boxes of no size for ever
    for (int i = 0; i < kMostHeaders && !done_ && bytes.Fetch(next_, header_.data(), kHeader); ++i) {
        have_ = kHeader;
        Look();
    }
    taken_ = bytes.size();
}

} // namespace tonekit::host
