// tag_block_model.cpp: see tag_block_model.h.
#include "tests/reference/tag_block_model.h"

#include <algorithm>

namespace tonekit::reference {

namespace {

std::string InSmallLetters(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

bool BeginsWith(const std::string &text, const std::string &start)
{
    return text.substr(0, start.size()) == start;
}

} // namespace

void TagBlockModel::Append(const std::string &piece)
{
    if (bytes.size() + piece.size() > capacity) {
        if (!memoryForGrowth())
            return;
        capacity += std::max<uint32_t>(static_cast<uint32_t>(piece.size()), 1024);
    }
    bytes += piece;
}

std::string TagBlockModel::LengthBytes(uint32_t length) const
{
    std::string text;
    for (int shift = 0; shift < 32; shift += 8)
        text += static_cast<char>(length >> shift & 255);
    return text;
}

uint32_t TagBlockModel::LengthAt(size_t offset) const
{
    uint32_t length = 0;
    for (int byte = 3; byte >= 0; --byte)
        length = length * 256 + static_cast<uint8_t>(bytes[offset + static_cast<size_t>(byte)]);
    return length;
}

std::optional<std::string> TagBlockModel::TextAt(size_t offset) const
{
    if (offset >= bytes.size())
        return std::nullopt;
    const size_t end = bytes.find('\0', offset);
    if (end == std::string::npos)
        return std::nullopt;
    return bytes.substr(offset, end - offset);
}

size_t TagBlockModel::BehindByLength(size_t item) const
{
    return item + 5 > bytes.size() ? bytes.size() : item + 5 + LengthAt(item + 1);
}

void TagBlockModel::AddStr(const std::string &key, const std::string &value)
{
    if (key.empty() || value.empty() || !GetStr(key).empty())
        return;
    Append(std::string(1, '\0'));
    Append(LengthBytes(static_cast<uint32_t>(key.size() + value.size() + 2)));
    Append(key + '\0');
    Append(value + '\0');
}

void TagBlockModel::AddImage(const std::string &mime, uint32_t type, const std::string &data)
{
    if (data.empty())
        return;
    std::string kind = mime;
    if (kind.empty() && data.size() >= 8) {
        if (BeginsWith(data, "BM"))
            kind = "image/bmp";
        else if (BeginsWith(data, "\xFF\xD8"))
            kind = "image/jpeg";
        else if (BeginsWith(data, "\x89PNG\r\n\x1A\n"))
            kind = "image/png";
        else if (BeginsWith(data, "GIF"))
            kind = "image/gif";
    }
    Append("\x01");
    Append(LengthBytes(static_cast<uint32_t>(kind.size() + data.size() + 6)));
    Append(std::string(1, static_cast<char>(type & 255)));
    Append(kind + '\0');
    Append(LengthBytes(static_cast<uint32_t>(data.size())));
    Append(data);
}

std::string TagBlockModel::GetStr(const std::string &key) const
{
    if (key.empty())
        return "";
    size_t item = 0;
    while (item < bytes.size()) {
        if (bytes[item] != 0) {
            item = BehindByLength(item);
            continue;
        }
        const auto itemKey = TextAt(item + 5);
        if (!itemKey)
            return "";
        const auto value = TextAt(item + 5 + itemKey->size() + 1);
        if (!value)
            return "";
        if (InSmallLetters(*itemKey) == InSmallLetters(key))
            return *value;
        item += 5 + itemKey->size() + 1 + value->size() + 1;
    }
    return "";
}

std::vector<ModelString> TagBlockModel::VisibleStrings() const
{
    std::vector<ModelString> found;
    size_t item = 0;
    while (item < bytes.size()) {
        if (bytes[item] != 0 || bytes.substr(std::min(item + 5, bytes.size()), 6) == "!*?ID3") {
            item = BehindByLength(item);
            continue;
        }
        const auto key = TextAt(item + 5);
        if (!key)
            break;
        const auto value = TextAt(item + 5 + key->size() + 1);
        if (!value)
            break;
        found.push_back({*key, *value});
        item += 5 + key->size() + 1 + value->size() + 1;
    }
    return found;
}

std::optional<ModelPicture> TagBlockModel::PictureAt(size_t item) const
{
    const auto mime = TextAt(item + 6);
    if (!mime)
        return std::nullopt;
    const size_t length = item + 6 + mime->size() + 1;
    if (length + 4 > bytes.size() || length + 4 + LengthAt(length) > bytes.size())
        return std::nullopt;
    return ModelPicture{static_cast<signed char>(bytes[item + 5]), *mime,
                        bytes.substr(length + 4, LengthAt(length))};
}

std::vector<ModelPicture> TagBlockModel::Pictures() const
{
    std::vector<ModelPicture> found;
    size_t item = 0;
    while (item < bytes.size()) {
        if (bytes[item] != 1) {
            item = BehindByLength(item);
            continue;
        }
        const auto picture = PictureAt(item);
        if (!picture)
            break;
        found.push_back(*picture);
        item += 5 + 1 + picture->mime.size() + 1 + 4 + picture->data.size();
    }
    return found;
}

std::optional<ModelPicture> TagBlockModel::GetImage(uint32_t type) const
{
    size_t item = 0;
    while (item < bytes.size()) {
        if (bytes[item] == 1 && item + 5 < bytes.size() &&
            static_cast<uint32_t>(static_cast<signed char>(bytes[item + 5])) == type)
            return PictureAt(item);
        item = BehindByLength(item);
    }
    return std::nullopt;
}

} // namespace tonekit::reference
