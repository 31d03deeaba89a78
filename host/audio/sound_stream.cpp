// sound_stream.cpp: libsndfile's virtual file over the platform's files.
#include "host/audio/sound_stream.h"

#include <algorithm>
#include <cctype>

namespace tonekit::host {

namespace {

SoundStream &Stream(void *user)
{
    return *static_cast<SoundStream *>(user);
}

sf_count_t Length(void *user)
{
    if (Stream(user).hidesLength())
        return 0;
    uint64_t size = 0;
    Stream(user).Note(Stream(user).bytes().Size(size));
    size = std::min(size, Stream(user).end());
    return static_cast<sf_count_t>(size - std::min(size, Stream(user).start()));
}

sf_count_t Tell(void *user)
{
    uint64_t position = 0;
    Stream(user).Note(Stream(user).bytes().Tell(position));
    return static_cast<sf_count_t>(position - std::min(position, Stream(user).start()));
}

sf_count_t Seek(sf_count_t offset, int whence, void *user)
{
    sf_count_t base = 0;
    // libmpg123 asks in this way whether it may look for a tag at the end.
    if (whence == SEEK_END && !Stream(user).endIsKnown())
        return -1;
    if (whence == SEEK_CUR)
        base = Tell(user);
    else if (whence == SEEK_END)
        base = Length(user);
    // Broken headers lead to places before the start; that is the header's fault and no error of the system.
    if (offset + base < 0)
        return -1;
    Stream(user).Note(
        Stream(user).bytes().SeekTo(static_cast<uint64_t>(offset + base) + Stream(user).start()));
    return offset + base;
}

// After an interrupt the file seems to end, however many chunks libsndfile would pass over.
sf_count_t Read(void *buffer, sf_count_t count, void *user)
{
    size_t got = 0;
    if (InterruptNoted())
        return 0;
    uint64_t left = UINT64_MAX;
    if (const uint64_t end = Stream(user).end(); end != UINT64_MAX) {
        uint64_t position = 0;
        Stream(user).Note(Stream(user).bytes().Tell(position));
        left = end - std::min(end, position);
    }
    const auto size =
        static_cast<size_t>(std::min(static_cast<uint64_t>(std::max<sf_count_t>(count, 0)), left));
    if (size > 0)
        Stream(user).Note(Stream(user).bytes().Read(buffer, size, got));
    return static_cast<sf_count_t>(got);
}

sf_count_t Write(const void *data, sf_count_t count, void *user)
{
    // After a first error nothing more is written: what follows would leave a hole.
    if (count <= 0 || Stream(user).error())
        return 0;
    const std::error_code error = Stream(user).bytes().Write(data, static_cast<size_t>(count));
    Stream(user).Note(error);
    return error ? 0 : count;
}

} // namespace

SoundStream::~SoundStream()
{
    try {
        Stop();
    } catch (const std::bad_alloc &) { // an output without its end is of no use to anyone
    }
}

void SoundStream::Use(ByteStream *other, bool endIsKnown)
{
    other_ = other;
    endIsKnown_ = endIsKnown;
}

void SoundStream::Start(int mode, SF_INFO &info)
{
    SF_VIRTUAL_IO io{Length, Seek, Read, Write, Tell};
    handle_ = Call([&](SNDFILE *) { return sf_open_virtual(&io, mode, &info, this); });
}

void SoundStream::Stop()
{
    if (handle_)
        Call(sf_close);
    handle_ = nullptr;
}

void SoundStream::Finish()
{
    Stop();
    Note(file_.Close());
}

void SoundStream::Note(const std::error_code &error)
{
    if (!error_)
        error_ = error;
}

std::string SoundFileError(SNDFILE *handle)
{
    std::string text = sf_strerror(handle);
    // Files are given to it open, so their names aren't what it means: libmpg123 found no frame.
    if (text.starts_with("File does not exist"))
        return "none of its audio can be decoded";
    while (!text.empty() && (text.back() == '.' || std::isspace(static_cast<unsigned char>(text.back()))))
        text.pop_back();
    return text;
}

} // namespace tonekit::host
