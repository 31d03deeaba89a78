// audio_reader_end.cpp: what the reader of audio looks at where the samples of a file end.
#include "host/audio/audio_reader.h"
#include "host/audio/completeness_rare.h"
#include "host/audio/header_bytes.h"

#include <algorithm>
#include <optional>
#include <system_error>

namespace tonekit::host {

void AudioReader::CheckCount(uint64_t held) const
{
    if (count_.IsMoreThan(held))
        Fail("the file is cut off: its header counts " + std::to_string(count_.frames) + " frames, and " +
             std::to_string(held) + " are there");
}

// What libsndfile would leave out without a word.
void AudioReader::CheckFlac(const FlacForm &form, const FlacEnd &end) const
{
    if (end.Contradicts(form))
        Fail(form.counted == 0 ? "the file is cut off, or holds something else after its audio"
                               : "its header counts " + std::to_string(form.counted) +
                                     " frames, but there are " + std::to_string(end.frames));
}

std::optional<Md5::Digest> AudioReader::GiveSum()
{
    if (!sum_ || sum_->bits() != BitsOf(format_.sample) || !turns_.empty() || position_ != 0)
        return std::nullopt;
    const Md5::Digest digest = sum_->expected();
    sum_.reset();
    wantedSum_.reset();
    return digest;
}

// What was once right needn't be looked at again.
void AudioReader::CheckSum()
{
    if (!sum_)
        return;
    if (!sum_->IsRight())
        Fail(kWrongSum);
    sum_.reset();
    wantedSum_.reset();
}

void AudioReader::WarnOfStrayBytes(uint64_t bytes)
{
    if (bytes > 0)
        warnings_.push_back(shownName_ + ": " + StrayBytesText(bytes));
}

void AudioReader::CheckAfterSound(uint64_t start)
{
    const std::optional<SoundEnd> end = EndOfSound(stream_.file(), start);
    EndWhereCounted(stream_.file(), end ? end : EndOfRareType(stream_.file(), start));
}

// libsndfile would read W64 and rare types on to the end of the file.
void AudioReader::EndWhereCounted(ByteStream &stream, const std::optional<SoundEnd> &end)
{
    if (!end)
        return;
    if (!end->chunks || end->chunks == &kW64)
        stream_.EndAt(end->position);
    if (const std::error_code error = stream.SeekTo(end->position))
        throw std::system_error(error);
    WarnOfStrayBytes(StrayBytes(stream, *end));
}

// The decoder reads a little further than the last frame.
void AudioReader::CheckAfterFlac()
{
    constexpr uint64_t kMostAhead = uint64_t{1} << 20;
    if (!isFlac_ || afterFlacIsKnown_)
        return;
    try {
        uint64_t place = 0;
        if (const std::error_code error = stream_.bytes().Tell(place))
            throw std::system_error(error);
        const uint64_t first = stream_.start() + 1;
        WarnOfStrayBytes(
            BytesOfNextFlac(stream_.bytes(), std::max(first, place - std::min(place, kMostAhead))));
        afterFlacIsKnown_ = true;
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
}

void AudioReader::CheckEnd()
{
    if (position_ < frames_)
        Fail("the audio breaks off: " + std::to_string(position_) + " of " + std::to_string(frames_) +
             " frames could be read");
    if (position_ == 0)
        Fail("holds no audio (0 frames)");
    CheckCount(position_);
    if (sf_error(stream_.handle()) != SF_ERR_NO_ERROR)
        Fail("the audio is damaged (" + SoundFileError(stream_.handle()) + ")");
    if (pipe())
        CheckPipeEnd();
    else
        CheckAfterFlac();
    CheckSum();
}

} // namespace tonekit::host
