// mp4_boxes.cpp: follows the boxes of an MP4 file as TagLib does, without a call for each.
#include "host/tags/mp4_boxes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace tonekit::host {

namespace {

constexpr unsigned int kHeader = 8;
constexpr unsigned int kLargeHeader = 16; // with a size of 8 bytes
// The tables of samples are at the fifth level.
constexpr size_t kMostLevels = 32;

// What TagLib takes for lists of boxes, wherever they are.
constexpr std::array kLists = {"moov", "udta", "mdia", "meta", "ilst", "stbl",
                               "minf", "moof", "traf", "trak", "stsd"};

struct Box {
    uint64_t start = 0;
    uint64_t size = 0; // of what the file has of it; 0: there is none, or its size makes no sense
    uint64_t end = 0;  // as it says itself
    bool open = false; // whether it says that it goes up to the end of the file
    TagLib::ByteVector name;
};

class Walk {
public:
    explicit Walk(TagStream &stream) : stream_(stream), end_(static_cast<uint64_t>(stream.length())) {}

    Mp4Boxes Run()
    {
        std::vector<uint64_t> ends;
        uint64_t outermost = 0; // where the list begins that is in no other
        Mp4Boxes found = Mp4Boxes::Sound;
        for (uint64_t place = 0; place < end_;) {
            while (!ends.empty() && place >= ends.back())
                ends.pop_back();
            const Box box = BoxAt(place);
            if (box.size == 0)
                break; // TagLib looks no further
            if (!HoldsItsPlaces(box))
                found = Mp4Boxes::TooManyPlaces;
            else if (found == Mp4Boxes::Sound && !Fits(box, ends.empty() ? end_ : ends.back()))
                found = Mp4Boxes::TooLong;
            else if (found == Mp4Boxes::Sound && !ends.empty() &&
                     HasPlaceWithin(box, outermost, ends.front()))
                found = Mp4Boxes::AmongTags;
            place = box.start + box.size;
            if (!IsList(box.name))
                continue;
            if (ends.empty())
                outermost = box.start;
            ends.push_back(place);
            if (ends.size() > kMostLevels)
                return Mp4Boxes::TooDeep;
            place = box.start + HeaderOf(box);
        }
        return found;
    }

private:
    TagLib::ByteVector BytesAt(uint64_t place, unsigned int size)
    {
        stream_.seek(static_cast<long>(place), TagLib::IOStream::Beginning);
        return stream_.readBlock(size);
    }

    Box BoxAt(uint64_t place)
    {
        const TagLib::ByteVector bytes = BytesAt(place, kLargeHeader);
        if (bytes.size() < kHeader)
            return {};
        uint64_t size = bytes.toUInt(0u);
        large_ = size == 1;
        if (size == 0)
            size = end_ - place;
        else if (large_)
            size = bytes.size() == kLargeHeader ? static_cast<uint64_t>(bytes.toLongLong(8u)) : 0;
        if (size < kHeader || size > static_cast<uint64_t>(INT64_MAX))
            return {};
        return {place, std::min(size, end_ - place), place + size, bytes.toUInt(0u) == 0, bytes.mid(4, 4)};
    }

    // Whether a box ends in the one around it. Zeros at the end of a list are no box, though TagLib takes
    // them for one up to the end of the file.
    static bool Fits(const Box &box, uint64_t end)
    {
        const bool noBox = box.start + kHeader > end || box.name == TagLib::ByteVector(4, '\0');
        return box.end <= end || (box.open && noBox);
    }

    static bool IsList(const TagLib::ByteVector &name)
    {
        return std::find(kLists.begin(), kLists.end(), name) != kLists.end();
    }

    // The length of what comes before the boxes of a list.
    unsigned int HeaderOf(const Box &box)
    {
        const unsigned int header = large_ ? kLargeHeader : kHeader;
        if (box.name == "stsd")
            return header + 8;
        if (box.name != "meta")
            return header;
        // The version of this box is missing in some files.
        constexpr std::array first = {"hdlr", "ilst", "mhdr", "ctry", "lang"};
        const TagLib::ByteVector name = BytesAt(box.start + header, 8).mid(4, 4);
        return std::find(first.begin(), first.end(), name) != first.end() ? header : header + 4;
    }

    // TagLib reads these as if their headers were never large.
    bool HoldsItsPlaces(const Box &box)
    {
        const uint64_t placeSize = box.name == "stco" ? 4 : box.name == "co64" ? 8 : 0;
        if (placeSize != 0)
            return !large_ && box.size >= 16 &&
                   uint64_t{BytesAt(box.start + 12, 4).toUInt()} * placeSize <= box.size - 16;
        if (box.name != "tfhd")
            return true;
        // The lowest bit says that a place comes after the number of the track.
        return !large_ && box.size >= 12 && ((BytesAt(box.start + 11, 1)[0] & 1) == 0 || box.size >= 24);
    }

    // Whether a table of places, which holds them all, has one in this stretch.
    bool HasPlaceWithin(const Box &box, uint64_t start, uint64_t end)
    {
        const unsigned int placeSize = box.name == "stco" ? 4 : box.name == "co64" ? 8 : 0;
        constexpr unsigned int kBlock = 64 << 10;
        if (placeSize == 0)
            return false;
        uint64_t left = uint64_t{BytesAt(box.start + 12, 4).toUInt()} * placeSize;
        for (uint64_t at = box.start + 16; left > 0;) {
            const TagLib::ByteVector places =
                BytesAt(at, static_cast<unsigned int>(std::min<uint64_t>(left, kBlock)));
            if (places.isEmpty())
                return false;
            for (unsigned int i = 0; i + placeSize <= places.size(); i += placeSize) {
                const uint64_t place =
                    placeSize == 4 ? places.toUInt(i) : static_cast<uint64_t>(places.toLongLong(i));
                if (place >= start && place < end)
                    return true;
            }
            at += places.size();
            left -= std::min<uint64_t>(left, places.size());
        }
        return false;
    }

    TagStream &stream_;
    uint64_t end_;
    bool large_ = false; // whether the last box has a large header
};

} // namespace

Mp4Boxes LookAtMp4Boxes(TagStream &stream)
{
    const Mp4Boxes found = Walk(stream).Run();
    stream.seek(0, TagLib::IOStream::Beginning);
    return found;
}

} // namespace tonekit::host
