// next_flac.cpp: the name of FLAC and the header of the block that is always the first.
#include "host/audio/next_flac.h"

#include "host/system/failure.h"
#include "host/system/platform.h"

#include <algorithm>
#include <cstring>
#include <system_error>
#include <vector>

namespace tonekit::host {

bool NextFlac::IsStart(std::span<const unsigned char> bytes)
{
    constexpr unsigned char kLastBlock = 0x80;
    return std::memcmp(bytes.data(), "fLaC", 4) == 0 && (bytes[4] & ~kLastBlock) == 0 &&
           std::memcmp(&bytes[5], "\0\0\x22", 3) == 0;
}

void NextFlac::Take(std::span<const unsigned char> bytes)
{
    const auto look = [&](std::span<const unsigned char> in, uint64_t position) {
        for (size_t at = 0; !start_ && at + kStart <= in.size(); ++at) {
            const void *const next = std::memchr(&in[at], 'f', in.size() - at);
            if (!next)
                return;
            at = static_cast<size_t>(static_cast<const unsigned char *>(next) - in.data());
            const bool isNext = position + at > first_;
            if (isNext && at + kStart <= in.size() && IsStart(in.subspan(at, kStart)))
                start_ = position + at;
        }
    };
    // What begins in what was taken before, and ends here.
    const size_t more = std::min(kStart - 1, bytes.size());
    std::copy_n(bytes.begin(), more, seam_.begin() + static_cast<ptrdiff_t>(held_));
    look(std::span(seam_).first(held_ + more), taken_ - held_);
    look(bytes, taken_);
    taken_ += bytes.size();
    const size_t all = held_ + more;
    const auto end = seam_.begin() + static_cast<ptrdiff_t>(all);
    held_ = std::min(kStart - 1, all);
    if (bytes.size() >= kStart - 1)
        std::copy(bytes.end() - static_cast<ptrdiff_t>(kStart - 1), bytes.end(), seam_.begin());
    else
        std::copy(end - static_cast<ptrdiff_t>(held_), end, seam_.begin());
}

uint64_t BytesOfNextFlac(ByteStream &file, uint64_t position)
{
    const auto check = [](const std::error_code &error) {
        if (error)
            throw std::system_error(error);
    };
    uint64_t before = 0;
    check(file.Tell(before));
    NextFlac next(position, 0);
    std::vector<unsigned char> block(size_t{64} << 10);
    size_t got = 0;
    check(file.SeekTo(position));
    do {
        if (InterruptNoted())
            throw Interrupted();
        check(file.Read(block.data(), block.size(), got));
        next.Take(std::span(block).first(got));
    } while (got > 0);
    check(file.SeekTo(before));
    return next.bytes();
}

} // namespace tonekit::host
