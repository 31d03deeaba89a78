// frame_count.cpp: reads the frames that headers count.
#include "host/audio/frame_count.h"

#include "host/audio/chunks.h"
#include "host/audio/stream_header.h"

#include <algorithm>
#include <cstring>

namespace tonekit::host {

namespace {

// Of samples whose size nobody knew, a size that means that was mostly divided into frames.
bool IsOpenCount(uint64_t frames, uint64_t frameBytes)
{
    if (frames > uint64_t{1} << 46 || IsOpenSize(frames))
        return true;
    const uint64_t bytes = frames * frameBytes;
    const auto isOpen = [](uint64_t size) {
        return size <= UINT32_MAX && IsOpenSize(static_cast<uint32_t>(size));
    };
    return isOpen(frames) || isOpen(bytes) || isOpen(bytes + frameBytes - std::min<uint64_t>(frameBytes, 1));
}

FrameCount Counted(uint64_t frames, uint64_t frameBytes, uint64_t channels = 0)
{
    return IsOpenCount(frames, frameBytes) ? FrameCount()
                                           : FrameCount{frames, frameBytes, static_cast<uint32_t>(channels)};
}

// Whether the samples of AIFC are as many bytes each as their number of bits needs, and not in packets.
bool IsPlainAifc(HeaderBytes &bytes, uint64_t coding)
{
    constexpr const char *kPlain[] = {"NONE", "none", "twos", "sowt", "raw ", "in24", "ni24",
                                      "42ni", "23ni", "in32", "ni32", "fl32", "FL32", "fl64",
                                      "FL64", "ulaw", "ULAW", "alaw", "ALAW"};
    return std::any_of(std::begin(kPlain), std::end(kPlain),
                       [&](const char *name) { return bytes.Has(coding, name); });
}

FrameCount CountOfAiff(HeaderBytes &bytes)
{
    const std::optional<Chunk> common = FindChunk(bytes, "COMM", kBigRiff, "SSND");
    if (!common || (bytes.Has(8, "AIFC") && !IsPlainAifc(bytes, common->content + 18)))
        return {};
    const uint64_t channels = bytes.Big(common->content, 2);
    const uint64_t frames = bytes.Big(common->content + 2, 4);
    const uint64_t bits = bytes.Big(common->content + 6, 2);
    return bytes.ok() ? Counted(frames, channels * ((bits + 7) / 8)) : FrameCount();
}

// What the chunk before the samples says of their form.
struct WaveForm {
    uint64_t frameBytes = 0;
    uint64_t channels = 0; // 0: none whose frames are counted
};

WaveForm FormOfWave(HeaderBytes &bytes, const ChunkForm &form)
{
    constexpr uint64_t kExtensible = 0xFFFE;
    constexpr uint64_t kPlain[] = {1, 3, 6, 7};   // integers, floats, A-law, u-law
    constexpr uint64_t kInBlocks[] = {2, 17, 49}; // two kinds of ADPCM, GSM 6.10
    const std::optional<Chunk> format = FindChunk(bytes, "fmt ", form, "data");
    if (!format)
        return {};
    uint64_t tag = form.Number(bytes, format->content, 2);
    if (tag == kExtensible)
        tag = form.Number(bytes, format->content + 24, 2);
    const auto isAmong = [&](const auto &tags) {
        return std::find(std::begin(tags), std::end(tags), tag) != std::end(tags);
    };
    const uint64_t channels = form.Number(bytes, format->content + 2, 2);
    const uint64_t frameBytes = form.Number(bytes, format->content + 12, 2);
    if (!bytes.ok())
        return {};
    return isAmong(kPlain)      ? WaveForm{frameBytes, channels}
           : isAmong(kInBlocks) ? WaveForm{0, channels}
                                : WaveForm();
}

FrameCount CountOfWave(HeaderBytes &bytes, const ChunkForm &form)
{
    const std::optional<Chunk> fact = FindChunk(bytes, "fact", form, "data");
    if (!fact)
        return {};
    const WaveForm wave = FormOfWave(bytes, form);
    const bool wide = fact->size >= form.counted + 8 && form.sizeBytes == 8;
    const uint64_t frames = form.Number(bytes, fact->content, wide ? 8 : 4);
    return bytes.ok() && wave.channels != 0 ? Counted(frames, wave.frameBytes, wave.channels) : FrameCount();
}

// In the chunk that comes first, after the sizes of the whole and of the samples.
FrameCount CountOfRf64(HeaderBytes &bytes)
{
    if (!bytes.Has(12, "ds64"))
        return {};
    const WaveForm wave = FormOfWave(bytes, kRiff);
    const uint64_t frames = bytes.Little(36, 8);
    return bytes.ok() && wave.channels != 0 ? Counted(frames, wave.frameBytes, wave.channels) : FrameCount();
}

} // namespace

bool FrameCount::IsMoreThan(uint64_t held) const
{
    const bool countsOthers = channels != 0 && (frames == held * channels || frames == held * frameBytes);
    if (frames <= held || countsOthers)
        return false;
    return frameBytes != 1 || frames - held > 1;
}

bool IsCodedInBlocks(ByteStream &stream, uint64_t start)
{
    HeaderBytes bytes(stream, start);
    const ChunkForm *const wave = bytes.Has(0, "riff")    ? &kW64
                                  : !bytes.Has(8, "WAVE") ? nullptr
                                  : bytes.Has(0, "RIFX")  ? &kBigRiff
                                                          : &kRiff;
    if (wave)
        return FindChunk(bytes, "fmt ", *wave, "data") && FormOfWave(bytes, *wave).frameBytes == 0;
    const bool aifc = bytes.Has(0, "FORM") && bytes.Has(8, "AIFC");
    const std::optional<Chunk> common = aifc ? FindChunk(bytes, "COMM", kBigRiff, "SSND") : std::nullopt;
    return common && !IsPlainAifc(bytes, common->content + 18);
}

FrameCount CountInHeader(ByteStream &stream, uint64_t start)
{
    HeaderBytes bytes(stream, start);
    char first[12] = {};
    if (!bytes.Fetch(0, first, sizeof(first)))
        return {};
    const auto has = [&](size_t place, const char *text) {
        return std::memcmp(first + place, text, std::strlen(text)) == 0;
    };
    if (has(0, "FORM") && has(8, "AIF"))
        return CountOfAiff(bytes);
    if (has(0, "RIFF") && has(8, "WAVE"))
        return CountOfWave(bytes, kRiff);
    if (has(0, "RIFX") && has(8, "WAVE"))
        return CountOfWave(bytes, kBigRiff);
    if (has(0, "RF64") && has(8, "WAVE"))
        return CountOfRf64(bytes);
    if (has(0, "riff"))
        return CountOfWave(bytes, kW64);
    return {};
}

} // namespace tonekit::host
