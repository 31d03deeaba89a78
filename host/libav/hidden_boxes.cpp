// hidden_boxes.cpp: follows the boxes of an MP4 file to its lists of tags.
#include "host/libav/hidden_boxes.h"

#include <algorithm>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr uint64_t kHeader = 8;
constexpr int kMostLevels = 8; // the tags of a track are at the sixth
constexpr int kMostItems = 2048;
constexpr int kMostOthers = 10000;

// What files begin with.
constexpr std::string_view kFirst[] = {"ftyp", "styp", "moov", "mdat", "free", "skip", "wide", "pnot"};
constexpr std::string_view kLists[] = {"moov", "trak", "udta", "meta", "ilst"};
constexpr std::string_view kListsOfItems[] = {"udta", "ilst"};

template <size_t Count>
bool IsOneOf(const std::string_view (&names)[Count], std::string_view name)
{
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

class Walk {
public:
    explicit Walk(HeaderBytes &bytes) : bytes_(bytes) {}

    std::vector<HiddenBox> Run()
    {
        if (IsOneOf(kFirst, NameAt(0)))
            List(0, bytes_.size(), false, 0);
        return std::move(hidden_);
    }

private:
    void List(uint64_t place, uint64_t end, bool ofItems, int level)
    {
        while (place < end && end - place >= kHeader) {
            int &left = ofItems ? itemsLeft_ : othersLeft_;
            if (left == 0) {
                if (ofItems)
                    Hide(place, end - place);
                return;
            }
            --left;
            const std::string_view name = NameAt(place);
            uint64_t header = kHeader;
            uint64_t size = bytes_.Big(place, 4);
            if (size == 1) {
                size = bytes_.Big(place + kHeader, 8);
                header = 2 * kHeader;
            } else if (size == 0) {
                size = end - place;
            }
            if (!bytes_.ok() || size < header)
                return;
            size = std::min(size, end - place);
            if (ofItems && name == "covr")
                Hide(place, size);
            else if (level < kMostLevels && IsOneOf(kLists, name))
                List(place + header + VersionOf(place, header), place + size, IsOneOf(kListsOfItems, name),
                     level + 1);
            place += size;
        }
    }

    // Valid until the next call.
    std::string_view NameAt(uint64_t place)
    {
        return bytes_.Fetch(place + 4, name_, sizeof(name_)) ? std::string_view(name_, sizeof(name_))
                                                             : std::string_view();
    }

    // How many bytes are between the header of a list and its boxes: the version of meta, which some files
    // leave out.
    uint64_t VersionOf(uint64_t place, uint64_t header)
    {
        return bytes_.Has(place + 4, "meta") && !bytes_.Has(place + header + 4, "hdlr") ? 4 : 0;
    }

    void Hide(uint64_t place, uint64_t size)
    {
        if (size > UINT32_MAX)
            return;
        HiddenBox box{place, {0, 0, 0, 0, 'f', 'r', 'e', 'e'}};
        for (size_t i = 0; i < 4; ++i)
            box.header[i] = static_cast<unsigned char>(size >> (24 - 8 * i));
        hidden_.push_back(box);
    }

    HeaderBytes &bytes_;
    char name_[4] = {};
    int itemsLeft_ = kMostItems;
    int othersLeft_ = kMostOthers;
    std::vector<HiddenBox> hidden_;
};

} // namespace

std::vector<HiddenBox> BoxesToHide(HeaderBytes &bytes)
{
    return Walk(bytes).Run();
}

} // namespace tonekit::host
