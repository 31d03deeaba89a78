// picture_facts.cpp: sizes and depths in the headers of pictures.
#include "host/pictures/picture_facts.h"

#include <cstring>

namespace tonekit::host {

namespace {

// Numbers at places of the file; 0 beyond its end.
class HeaderView {
public:
    explicit HeaderView(const std::vector<uint8_t> &file) : file_(file) {}

    bool Has(size_t place, const char *text) const
    {
        const size_t length = std::strlen(text);
        return place + length <= file_.size() && std::memcmp(&file_[place], text, length) == 0;
    }

    uint32_t Byte(size_t place) const { return place < file_.size() ? file_[place] : 0; }
    uint32_t Big16(size_t place) const { return Byte(place) << 8 | Byte(place + 1); }
    uint32_t Big32(size_t place) const { return Big16(place) << 16 | Big16(place + 2); }
    uint32_t Little16(size_t place) const { return Byte(place) | Byte(place + 1) << 8; }
    uint32_t Little24(size_t place) const { return Little16(place) | Byte(place + 2) << 16; }
    uint32_t Little32(size_t place) const { return Little16(place) | Little16(place + 2) << 16; }
    size_t size() const { return file_.size(); }

private:
    const std::vector<uint8_t> &file_;
};

// The frame header of a JPEG is one of its segments; tables and notes come before it.
PictureFacts JpegFacts(const HeaderView &view)
{
    PictureFacts facts{PictureKind::Jpeg, 0, 0, 0, 0};
    size_t place = 2;
    while (place + 4 <= view.size() && view.Byte(place) == 0xFF) {
        const uint32_t marker = view.Byte(place + 1);
        if (marker == 0xFF) { // a byte that fills up
            ++place;
            continue;
        }
        const bool isTable = marker == 0xC4 || marker == 0xC8 || marker == 0xCC;
        if (marker >= 0xC0 && marker <= 0xCF && !isTable) {
            facts.height = view.Big16(place + 5);
            facts.width = view.Big16(place + 7);
            facts.depth = view.Byte(place + 4) * view.Byte(place + 9);
            return facts;
        }
        if (marker == 0xDA || marker == 0xD9)
            break;
        place += 2 + view.Big16(place + 2);
    }
    return facts;
}

PictureFacts PngFacts(const HeaderView &view)
{
    PictureFacts facts{PictureKind::Png, 0, 0, 0, 0};
    if (!view.Has(12, "IHDR"))
        return facts;
    facts.width = view.Big32(16);
    facts.height = view.Big32(20);
    const uint32_t bits = view.Byte(24);
    switch (view.Byte(25)) {
    case 2:
        facts.depth = 3 * bits;
        break;
    case 3: {
        facts.depth = bits;
        facts.colors = 1u << (bits & 15);
        break;
    }
    case 4:
        facts.depth = 2 * bits;
        break;
    case 6:
        facts.depth = 4 * bits;
        break;
    default:
        facts.depth = bits;
    }
    return facts;
}

PictureFacts GifFacts(const HeaderView &view)
{
    const uint32_t flags = view.Byte(10);
    const uint32_t bits = (flags & 7) + 1;
    return {PictureKind::Gif, view.Little16(6), view.Little16(8), bits, flags & 0x80 ? 1u << bits : 0};
}

PictureFacts BmpFacts(const HeaderView &view)
{
    constexpr uint32_t kOldHeader = 12;
    if (view.Little32(14) == kOldHeader)
        return {PictureKind::Bmp, view.Little16(18), view.Little16(20), view.Little16(24), 0};
    // A negative height means lines from the top down.
    const uint32_t height = view.Little32(22);
    return {PictureKind::Bmp, view.Little32(18), height >> 31 ? 0u - height : height, view.Little16(28), 0};
}

PictureFacts WebPFacts(const HeaderView &view)
{
    PictureFacts facts{PictureKind::WebP, 0, 0, 24, 0};
    if (view.Has(12, "VP8X")) {
        facts.width = view.Little24(24) + 1;
        facts.height = view.Little24(27) + 1;
        facts.depth = view.Byte(20) & 0x10 ? 32 : 24;
    } else if (view.Has(12, "VP8L")) {
        const uint32_t bits = view.Little32(21);
        facts.width = (bits & 0x3FFF) + 1;
        facts.height = (bits >> 14 & 0x3FFF) + 1;
        facts.depth = bits >> 28 & 1 ? 32 : 24;
    } else if (view.Has(12, "VP8 ")) {
        facts.width = view.Little16(26) & 0x3FFF;
        facts.height = view.Little16(28) & 0x3FFF;
    }
    return facts;
}

} // namespace

PictureFacts FactsOf(const std::vector<uint8_t> &file)
{
    const HeaderView view(file);
    if (view.Has(0, "\xFF\xD8\xFF"))
        return JpegFacts(view);
    if (view.Has(0, "\x89PNG\r\n\x1A\n"))
        return PngFacts(view);
    if (view.Has(0, "GIF8"))
        return GifFacts(view);
    if (view.Has(0, "BM"))
        return BmpFacts(view);
    if (view.Has(0, "RIFF") && view.Has(8, "WEBP"))
        return WebPFacts(view);
    return {};
}

const char *MimeTypeOf(PictureKind kind)
{
    switch (kind) {
    case PictureKind::Unknown:
        return "";
    case PictureKind::Jpeg:
        return "image/jpeg";
    case PictureKind::Png:
        return "image/png";
    case PictureKind::Gif:
        return "image/gif";
    case PictureKind::Bmp:
        return "image/bmp";
    case PictureKind::WebP:
        return "image/webp";
    }
    return "";
}

} // namespace tonekit::host
