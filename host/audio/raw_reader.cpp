// raw_reader.cpp: brings headerless samples into the program's form.
#include "host/audio/raw_reader.h"

#include "host/system/failure.h"
#include "host/system/input_path.h"
#include "host/system/paths.h"

#include <algorithm>
#include <utility>

namespace tonekit::host {

namespace {

std::string EncodingOf(const RawFormat &format)
{
    if (format.audio.sample == SampleFormat::Int8)
        return format.signedBytes ? "signed" : "unsigned";
    return format.bigEndian ? "big-endian" : "little-endian";
}

// Turns samples into little-endian ones with silence at 128 in 8 bits.
void Turn(uint8_t *bytes, size_t size, const RawFormat &format)
{
    if (format.signedBytes)
        std::for_each(bytes, bytes + size, [](uint8_t &byte) { byte ^= 0x80; });
    const size_t sample = BytesOf(format.audio.sample);
    for (size_t i = 0; format.bigEndian && i + sample <= size; i += sample)
        std::reverse(bytes + i, bytes + i + sample);
}

} // namespace

RawReader::RawReader(const std::filesystem::path &path, const RawFormat &format)
    : shownName_(Utf8Name(path)), raw_(format), canRewind_(true), encoding_(EncodingOf(format))
{
    const std::string reason = ReasonNotToRead(path);
    if (!reason.empty())
        Fail(reason);
    uint64_t size = 0;
    std::error_code error;
    if ((error = file_.OpenToRead(path)) || (error = file_.Size(size)))
        Fail(error.message());
    if (size == 0)
        Fail("the file is empty");
    if (size % raw_.audio.FrameBytes() != 0)
        Fail("its " + std::to_string(size) + " bytes aren't whole frames of " +
             std::to_string(raw_.audio.FrameBytes()) + " bytes");
    frames_ = size / raw_.audio.FrameBytes();
}

RawReader::RawReader(File stream, const std::string &shownName, const RawFormat &format)
    : shownName_(shownName), file_(std::move(stream)), raw_(format), canRewind_(false),
      encoding_(EncodingOf(format))
{}

void RawReader::Fail(const std::string &what) const
{
    if (InterruptNoted())
        throw Interrupted();
    throw Failure(shownName_ + ": " + what);
}

uint32_t RawReader::Read(void *buffer, uint32_t frames)
{
    const size_t frameBytes = raw_.audio.FrameBytes();
    size_t got = 0;
    if (const std::error_code error = file_.Read(buffer, frames * frameBytes, got))
        Fail("reading failed: " + error.message());
    if (got == 0 && !any_)
        Fail("is empty");
    if (got % frameBytes != 0)
        Fail("ends within a frame: " + std::to_string(got % frameBytes) + " bytes of " +
             std::to_string(frameBytes));
    any_ = true;
    Turn(static_cast<uint8_t *>(buffer), got, raw_);
    return static_cast<uint32_t>(got / frameBytes);
}

void RawReader::Rewind()
{
    const std::error_code error =
        canRewind_ ? file_.SeekTo(0) : std::make_error_code(std::errc::invalid_seek);
    if (error)
        Fail("can't go back to the start of the audio: " + error.message());
}

} // namespace tonekit::host
