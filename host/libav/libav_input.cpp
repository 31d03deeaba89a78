// libav_input.cpp: libavformat's input over the host's own streams.
#include "host/libav/libav_input.h"

#include "host/audio/header_bytes.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/system/pipe_input.h"
#include "host/system/platform.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr int kBufferBytes = 64 << 10;

// Types of file that hold audio and lead nowhere else.
constexpr const char *kFormats =
    "mov,wv,ape,dsf,iff,tta,tak,mpc,mpc8,matroska,asf,aac,loas,ac3,eac3,dts,dtshd,truehd,mlp,amr,rm,shn,flv,"
    "caf,ogg,wav,w64,aiff,avi,mpegts,mpeg,oma,aea,qcp,xwma,sox,vqf,bonk";

// These libsndfile reads too, with a sharper eye for broken headers. What it refuses for its coder alone is
// read here.
constexpr const char *kSharedFormats[] = {"caf", "ogg", "wav", "w64", "aiff"};

LibavInput &Input(void *opaque)
{
    return *static_cast<LibavInput *>(opaque);
}

int ReadBytes(void *opaque, uint8_t *buffer, int size)
{
    LibavInput &input = Input(opaque);
    size_t got = 0;
    if (InterruptNoted() || !input.Allows(static_cast<size_t>(size)))
        return AVERROR_EXIT;
    try {
        uint64_t place = 0;
        input.Note(input.stream().Tell(place));
        input.Note(input.stream().Read(buffer, static_cast<size_t>(size), got));
        input.CountTags(place, buffer, got);
        input.HideBoxes(place, buffer, got);
    } catch (const std::bad_alloc &) {
        return AVERROR(ENOMEM);
    }
    if (got > 0)
        return static_cast<int>(got);
    return input.error() ? AVERROR(EIO) : AVERROR_EOF;
}

int64_t Seek(void *opaque, int64_t offset, int whence)
{
    LibavInput &input = Input(opaque);
    uint64_t size = 0;
    uint64_t position = 0;
    input.Note(input.stream().Size(size));
    input.Note(input.stream().Tell(position));
    whence &= ~AVSEEK_FORCE;
    const bool open = size == PipeInput::kEndless;
    if (input.error() || (open && (whence == AVSEEK_SIZE || whence == SEEK_END)))
        return AVERROR(ENOSYS);
    if (whence == AVSEEK_SIZE)
        return static_cast<int64_t>(size);
    const uint64_t base = whence == SEEK_CUR ? position : whence == SEEK_END ? size : 0;
    // Broken headers lead to places before the start; that is no error of the system.
    if (offset + static_cast<int64_t>(base) < 0)
        return AVERROR(EINVAL);
    const int64_t place = offset + static_cast<int64_t>(base);
    input.Note(input.stream().SeekTo(static_cast<uint64_t>(place)));
    return input.error() ? AVERROR(EIO) : place;
}

int IsInterrupted(void *)
{
    return InterruptNoted() ? 1 : 0;
}

int RefuseOtherFiles(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
}

bool IsShared(std::string_view format)
{
    return std::find(std::begin(kSharedFormats), std::end(kSharedFormats), format) !=
           std::end(kSharedFormats);
}

bool IsReadElsewhere(AVCodecID coder)
{
    const AVCodecDescriptor *const descriptor = Libav().avcodec_descriptor_get(coder);
    const std::string_view name = descriptor ? descriptor->name : "";
    return name.starts_with("pcm_") || name == "flac" || name == "vorbis" || name == "opus";
}

} // namespace

LibavInput::LibavInput(ByteStream &stream) : stream_(stream), bytesLeft_(MemoryLimit() / 2)
{
    try {
        FindHiddenBoxes();
        Open();
        opening_ = false;
    } catch (...) {
        Close();
        throw;
    }
}

LibavInput::~LibavInput()
{
    Close();
}

void LibavInput::Note(const std::error_code &error)
{
    if (!error_)
        error_ = error;
}

// libavformat compares each tag with all before, and keeps all pictures.
bool LibavInput::Allows(size_t bytes)
{
    constexpr size_t kMostTags = 8192;
    if (!opening_)
        return true;
    if (bytes > bytesLeft_)
        tooMuch_ = "what comes before its audio needs too much memory (--memory allows more)";
    else if (tags_ > kMostTags ||
             (context_ && Libav().av_dict_count(context_->metadata) > static_cast<int>(kMostTags)))
        tooMuch_ = "holds more tags than a file may have";
    if (tooMuch_)
        return false;
    bytesLeft_ -= bytes;
    return true;
}

// Those of Matroska are in no dictionary before all of the header was read. Sound that looks like a tag is
// rare: two bytes in 64 KiB.
void LibavInput::CountTags(uint64_t place, const unsigned char *bytes, size_t count)
{
    const std::string_view text(reinterpret_cast<const char *>(bytes), count);
    if (!opening_)
        return;
    if (place == 0)
        isMatroska_ = text.starts_with("\x1A\x45\xDF\xA3");
    if (!isMatroska_)
        return;
    constexpr std::string_view kTag = "\x67\xC8";
    for (size_t at = text.find(kTag); at != text.npos; at = text.find(kTag, at + kTag.size()))
        ++tags_;
}

void LibavInput::HideBoxes(uint64_t place, unsigned char *bytes, size_t count) const
{
    for (const HiddenBox &box : hidden_) {
        for (size_t i = 0; i < box.header.size(); ++i) {
            if (box.place + i >= place && box.place + i - place < count)
                bytes[box.place + i - place] = box.header[i];
        }
    }
}

// A stream that can only be read on shows its boxes too late.
void LibavInput::FindHiddenBoxes()
{
    uint64_t size = 0;
    std::error_code error = stream_.Size(size);
    if (!error && size == PipeInput::kEndless)
        return;
    HeaderBytes bytes(stream_);
    hidden_ = BoxesToHide(bytes);
    if (!error)
        error = stream_.SeekTo(0);
    if (error)
        throw std::system_error(error);
}

void LibavInput::CheckSystem() const
{
    if (InterruptNoted())
        throw Interrupted();
    if (error_)
        throw std::system_error(error_);
    if (tooMuch_)
        throw Failure(tooMuch_);
}

void LibavInput::Open()
{
    const LibavFunctions &av = Libav();
    auto *const buffer = static_cast<unsigned char *>(av.av_malloc(kBufferBytes));
    if (!buffer)
        throw std::bad_alloc();
    io_ = av.avio_alloc_context(buffer, kBufferBytes, 0, this, ReadBytes, nullptr, Seek);
    if (!io_) {
        av.av_free(buffer);
        throw std::bad_alloc();
    }
    context_ = av.avformat_alloc_context();
    if (!context_)
        throw std::bad_alloc();
    context_->pb = io_;
    context_->flags |= AVFMT_FLAG_CUSTOM_IO;
    context_->interrupt_callback = {IsInterrupted, nullptr};
    context_->io_open = RefuseOtherFiles;
    AVDictionary *settings = nullptr;
    av.av_dict_set(&settings, "format_whitelist", kFormats, 0);
    // On failure the context is freed.
    const int opened = av.avformat_open_input(&context_, "", nullptr, &settings);
    av.av_dict_free(&settings);
    CheckSystem();
    if (opened < 0)
        throw Failure("not an audio file that can be read (" + LibavError(opened) + ")");
    // Less is a guess.
    if (context_->probe_score <= AVPROBE_SCORE_RETRY)
        throw Failure("not an audio file that can be read");
    const int understood = av.avformat_find_stream_info(context_, nullptr);
    CheckSystem();
    if (understood < 0)
        throw Failure("not an audio file that can be read (" + LibavError(understood) + ")");
    ChooseAudio();
}

void LibavInput::ChooseAudio()
{
    const int found = Libav().av_find_best_stream(context_, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (found < 0)
        throw Failure("holds no audio");
    audio_ = static_cast<unsigned>(found);
    for (unsigned i = 0; i < context_->nb_streams; ++i)
        context_->streams[i]->discard = i == audio_ ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    // FLAC in Ogg libsndfile refuses where it is as good as any.
    const bool flacInOgg = format() == "ogg" && audio().codecpar->codec_id == AV_CODEC_ID_FLAC;
    if (IsShared(format()) && IsReadElsewhere(audio().codecpar->codec_id) && !flacInOgg)
        throw Failure("not an audio file that can be read");
}

void LibavInput::Close()
{
    if (!context_ && !io_)
        return;
    const LibavFunctions &av = Libav();
    av.avformat_close_input(&context_);
    if (io_) {
        av.av_free(io_->buffer);
        av.avio_context_free(&io_);
    }
}

} // namespace tonekit::host
