// audio_reader_pipe.cpp: what the reader of audio looks at in streams that come once, along the way and at
// their end.
#include "host/audio/audio_reader.h"
#include "host/audio/completeness.h"
#include "host/audio/mpeg_streams.h"

#include <algorithm>
#include <optional>
#include <system_error>

namespace tonekit::host {

// When all before the first frame is kept.
void AudioReader::PrepareFlac()
{
    try {
        uint64_t position = 0;
        pipe_->Tell(position);
        flac_ = FormOfFlac(*pipe_, stream_.start());
        sum_ = SumOfFlac(*pipe_, stream_.start());
        if (flac_)
            pipe_->KeepTail(flac_->TailBytes());
        if (isFlac_) {
            nextFlac_.emplace(0, stream_.start());
            pipe_->Watch([this](std::span<const unsigned char> bytes) { nextFlac_->Take(bytes); });
        }
        pipe_->SeekTo(position);
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
}

// Whether all of it is read is seen at its end.
void AudioReader::PrepareMpegPipe()
{
    pipe_->Watch([this](std::span<const unsigned char> bytes) { mpeg_.Take(bytes); });
    const std::optional<Patch> patch = PatchOfOpenCount(*pipe_, stream_.start());
    openMpeg_ = patch.has_value();
    if (patch)
        pipe_->Replace(static_cast<size_t>(patch->position), patch->bytes.size(), patch->bytes);
}

void AudioReader::CheckMpegEnd()
{
    mpeg_.Finish();
    if (mpeg_.streams().empty())
        return;
    linksDiffer_ = mpeg_.differ();
    const std::optional<MpegNote> &note = mpeg_.streams().front().note;
    const uint64_t counted = note ? note->frames.value_or(0) : 0;
    CheckLinks();
    if (openMpeg_ && mpeg_.frames() > kMostOpenFrames)
        Fail("has more than " + std::to_string(kMostOpenFrames) +
             " MPEG frames, which are read from a file only");
    if (counted == 0 || mpeg_.frames() <= counted)
        return;
    Fail(mpeg_.streams().size() > 1
             ? "holds several streams one after another, which are read from a file only"
             : "its header counts " + std::to_string(counted) + " MPEG frames, but there are " +
                   std::to_string(mpeg_.frames()));
}

void AudioReader::CheckAfterSoundInPipe()
{
    pipe_->SetEnd(PipeInput::kEndless);
    try {
        // What the samples don't fill up to there was left unread.
        while (pipe_->next() < end_->position) {
            char block[4096];
            size_t got = 0;
            pipe_->SeekTo(pipe_->next());
            const std::error_code error = pipe_->Read(
                block, static_cast<size_t>(std::min<uint64_t>(sizeof(block), end_->position - pipe_->next())),
                got);
            if (error)
                throw std::system_error(error);
            if (got == 0)
                Fail(CutOffText(end_->position - pipe_->next()));
        }
        pipe_->SeekTo(end_->position);
        WarnOfStrayBytes(StrayBytes(*pipe_, *end_));
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
}

void AudioReader::CheckPipeEnd()
{
    if (end_)
        CheckAfterSoundInPipe();
    if (const std::error_code error = pipe_->Drain())
        Fail("reading failed: " + error.message());
    CheckMpegEnd();
    if (nextFlac_)
        WarnOfStrayBytes(nextFlac_->bytes());
    if (flac_)
        CheckFlac(*flac_, EndOfFlac(*flac_, pipe_->tail()));
    else
        CheckOggEnd(*pipe_, shownName_);
    CheckLinks();
}

} // namespace tonekit::host
