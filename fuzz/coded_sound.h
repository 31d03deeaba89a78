// coded_sound.h: the bytes of coded sound in files of several kinds, by a slow walk of its own, for targets
// that change what is around them.
#pragma once

#include "host/tags/tag_kind.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tonekit::fuzz {

// Reads numbers of a file; what is beyond its end makes all that follows void.
class SoundBytes {
public:
    explicit SoundBytes(std::string_view file) : file_(file) {}

    // Nothing where the places of the sound aren't known.
    std::optional<std::string> Find(host::TagKind kind)
    {
        std::optional<std::string> found = kind == host::TagKind::Mp4       ? Mp4()
                                           : kind == host::TagKind::WavPack ? WavPack()
                                           : kind == host::TagKind::Ape     ? Ape()
                                           : kind == host::TagKind::Flac    ? Flac()
                                                                            : std::nullopt;
        return broken_ ? std::nullopt : found;
    }
    // Whether the places that were looked at may be in what a change of tags replaces.
    bool IsOutside() const { return outside_; }

private:
    struct Box {
        uint64_t start;
        uint64_t content;
        uint64_t end;
        std::string_view name;
    };

    uint64_t Number(uint64_t place, int size, bool little)
    {
        uint64_t number = 0;
        if (place > file_.size() || file_.size() - place < static_cast<uint64_t>(size)) {
            broken_ = true;
            return 0;
        }
        for (int i = 0; i < size; ++i) {
            const auto byte =
                static_cast<uint8_t>(file_[place + static_cast<size_t>(little ? size - 1 - i : i)]);
            number = number << 8 | byte;
        }
        return number;
    }
    uint64_t Big(uint64_t place, int size = 4) { return Number(place, size, false); }
    uint64_t Little(uint64_t place, int size = 4) { return Number(place, size, true); }

    std::vector<Box> BoxesIn(uint64_t place, uint64_t end)
    {
        std::vector<Box> boxes;
        while (!broken_ && place < end) {
            uint64_t size = Big(place);
            uint64_t header = 8;
            if (size == 1) {
                size = Big(place + 8, 8);
                header = 16;
            } else if (size == 0) {
                size = end - place;
            }
            if (broken_ || size < header || size > end - place) {
                broken_ = true;
                break;
            }
            boxes.push_back({place, place + header, place + size, file_.substr(place + 4, 4)});
            place += size;
        }
        return boxes;
    }

    // The only box of this name; void where there is none or there are several.
    Box Only(const Box &outer, std::string_view name)
    {
        std::optional<Box> found;
        for (const Box &box : BoxesIn(outer.content, outer.end)) {
            broken_ = broken_ || (found && box.name == name);
            if (box.name == name)
                found = box;
        }
        broken_ = broken_ || !found;
        return found.value_or(outer);
    }

    std::optional<std::string> Mp4()
    {
        std::string sound;
        top_ = BoxesIn(0, file_.size());
        for (const Box &movie : top_) {
            broken_ = broken_ || movie.name == "moof"; // has places of another form
            if (movie.name != "moov")
                continue;
            for (const Box &track : BoxesIn(movie.content, movie.end)) {
                if (track.name != "trak")
                    continue;
                const Box media = Only(track, "mdia");
                if (Big(Only(media, "hdlr").content + 8) == 0x736F756E) // soun
                    AddTrack(Only(Only(media, "minf"), "stbl"), sound);
            }
        }
        return sound;
    }

    void AddTrack(const Box &tables, std::string &sound)
    {
        const Box sizes = Only(tables, "stsz");
        const Box runs = Only(tables, "stsc");
        bool wide = false;
        for (const Box &box : BoxesIn(tables.content, tables.end))
            wide = wide || box.name == "co64";
        const Box places = Only(tables, wide ? "co64" : "stco");
        const uint64_t common = Big(sizes.content + 4);
        const uint64_t samples = Big(sizes.content + 8);
        const uint64_t count = Big(runs.content + 4);
        uint64_t sample = 0;
        uint64_t run = 0;
        for (uint64_t chunk = 1; chunk <= Big(places.content + 4) && !broken_; ++chunk) {
            while (run + 1 < count && !broken_ && Big(runs.content + 8 + (run + 1) * 12) <= chunk)
                ++run;
            uint64_t size = 0;
            for (uint64_t left = Big(runs.content + 12 + run * 12); left > 0 && sample < samples && !broken_;
                 --left)
                size += common ? (++sample, common) : Big(sizes.content + 12 + sample++ * 4);
            AddBytes(Big(places.content + 8 + (chunk - 1) * (wide ? 8 : 4), wide ? 8 : 4), size, sound);
        }
    }

    void AddBytes(uint64_t place, uint64_t size, std::string &sound)
    {
        bool inside = false;
        for (const Box &box : top_)
            inside = inside || (box.name == "mdat" && place >= box.content && place <= box.end &&
                                size <= box.end - place);
        outside_ = outside_ || !inside;
        broken_ = broken_ || outside_ || sound.size() > file_.size();
        if (!broken_)
            sound += file_.substr(place, size);
    }

    // Blocks, each with its size.
    std::optional<std::string> WavPack()
    {
        uint64_t end = 0;
        while (file_.substr(end, 4) == "wvpk") {
            const uint64_t next = end + 8 + Little(end + 4);
            if (broken_ || next > file_.size())
                return std::nullopt;
            end = next;
        }
        return std::string(file_.substr(0, end));
    }

    // All that follows the blocks of the header, the last of which says that it is.
    std::optional<std::string> Flac()
    {
        constexpr uint64_t kOlderTag = 128; // can be changed
        const bool older = file_.size() >= kOlderTag && file_.substr(file_.size() - kOlderTag, 3) == "TAG";
        if (file_.substr(0, 4) != "fLaC" || older)
            return std::nullopt;
        uint64_t end = 4;
        for (bool last = false; !last && !broken_;) {
            last = Big(end, 1) >= 0x80;
            end += 4 + Big(end + 1, 3);
        }
        if (end > file_.size())
            return std::nullopt;
        return std::string(file_.substr(end));
    }

    // A header with the size of each part.
    std::optional<std::string> Ape()
    {
        constexpr uint64_t kFirstVersion = 3980;
        if (file_.substr(0, 4) != "MAC " || Little(4, 2) < kFirstVersion)
            return std::nullopt;
        const uint64_t end = Little(8) + Little(12) + Little(16) + Little(20) + Little(24, 8) + Little(32);
        if (end > file_.size())
            return std::nullopt;
        return std::string(file_.substr(0, end));
    }

    std::string_view file_;
    std::vector<Box> top_;
    bool broken_ = false;
    bool outside_ = false;
};

} // namespace tonekit::fuzz
