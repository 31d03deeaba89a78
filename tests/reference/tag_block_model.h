// tag_block_model.h: an obvious model of the tag block: what every add leaves in the buffer, and what lookups
// and walks find there.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::reference {

struct ModelString {
    std::string key;
    std::string value;
};

struct ModelPicture {
    int32_t type;
    std::string mime;
    std::string data;
};

class TagBlockModel {
public:
    // Exactly the bytes in use; nothing of the model looks beyond them.
    std::string bytes;
    uint32_t capacity = 1024;
    // Asked at each growth whether there is memory for it.
    std::function<bool()> memoryForGrowth = [] { return true; };

    void AddStr(const std::string &key, const std::string &value);
    void AddImage(const std::string &mime, uint32_t type, const std::string &data);

    std::string GetStr(const std::string &key) const;
    std::optional<ModelPicture> GetImage(uint32_t type) const;
    // What a walk from the start delivers.
    std::vector<ModelString> VisibleStrings() const;
    std::vector<ModelPicture> Pictures() const;

private:
    void Append(const std::string &piece);
    std::string LengthBytes(uint32_t length) const;
    uint32_t LengthAt(size_t offset) const;
    // The text at offset, or nothing if its zero byte isn't among the bytes.
    std::optional<std::string> TextAt(size_t offset) const;
    // The offset after an item by its length field; beyond all bytes if the field isn't complete.
    size_t BehindByLength(size_t item) const;
    std::optional<ModelPicture> PictureAt(size_t item) const;
};

} // namespace tonekit::reference
