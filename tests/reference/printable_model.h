// printable_model.h: the UU packing and Base64 spelt out bit by bit.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::reference {

using Bytes = std::vector<uint8_t>;

std::string UUText(const Bytes &bytes);
Bytes UUBytes(const std::string &text);

std::string Base64Text(const Bytes &bytes);
// Nothing for a text that is refused.
std::optional<Bytes> Base64Bytes(const std::string &text);

} // namespace tonekit::reference
