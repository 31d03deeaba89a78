// header_bytes.cpp: reads headers through the platform's files.
#include "host/audio/header_bytes.h"

#include "host/system/failure.h"
#include "host/system/platform.h"

#include <algorithm>
#include <cstring>
#include <system_error>

namespace tonekit::host {

namespace {

void Check(const std::error_code &error)
{
    if (error)
        throw std::system_error(error);
}

} // namespace

HeaderBytes::HeaderBytes(ByteStream &file, uint64_t start) : file_(file), start_(start)
{
    Check(file_.Size(size_));
    size_ -= std::min(size_, start_);
}

bool HeaderBytes::Has(uint64_t position, const char *text)
{
    char found[32] = {};
    const size_t length = std::min(std::strlen(text), sizeof(found));
    return Fetch(position, found, length) && std::memcmp(found, text, length) == 0;
}

bool HeaderBytes::Fetch(uint64_t position, void *buffer, size_t length)
{
    size_t got = 0;
    // A file can make a search for a part of it as long as it likes.
    if (InterruptNoted())
        throw Interrupted();
    // Broken headers lead beyond every file.
    if (position > static_cast<uint64_t>(INT64_MAX))
        return ok_ = false;
    Check(file_.SeekTo(start_ + position));
    Check(file_.Read(buffer, length, got));
    return ok_ = got == length;
}

uint64_t HeaderBytes::Number(uint64_t position, int bytes, bool bigEndian)
{
    unsigned char found[8] = {};
    if (!Fetch(position, found, static_cast<size_t>(bytes)))
        return 0;
    if (bigEndian)
        std::reverse(found, found + bytes);
    uint64_t number = 0;
    for (int i = bytes - 1; i >= 0; --i)
        number = number << 8 | found[i];
    return number;
}

} // namespace tonekit::host
