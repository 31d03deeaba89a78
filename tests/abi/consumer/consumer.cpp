// consumer.cpp: a caller in C++ uses the converter class of the installed library, and a call of every other
// family.
#include <cstdio>
#include <cstring>
#include <tonekit/tonekit.h>

namespace {

bool Converts()
{
    CSampleRateConverter4 converter;
    converter.Init(1, 32, 1, 48000, 1, 64, 2, 48000, false, false, 0, 0);
    const float input[3] = {0.25f, -0.5f, 1.0f};
    converter.Write(input, 3);
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    if (converter.Read(out, frames, bytes))
        return false;
    if (!converter.Flush(out, frames, bytes) || frames != 3 || bytes != 48)
        return false;
    const double *samples = static_cast<const double *>(out);
    std::printf("%g %g\n", samples[0], samples[5]);
    return samples[0] == 0.25 && samples[1] == 0.25 && samples[5] == 1.0;
}

bool EveryOtherFamilyAnswers()
{
    uint8_t digest[28];
    sha224(nullptr, 0, digest);
    hdcd_free(nullptr);
    ffmpeg_global_lock();
    ffmpeg_global_unlock();
    TonekitKernel kernel = nullptr;
    TonekitBitmap none =
        CreateUserFilterResampledBitmap(TonekitDeviceContext{}, TonekitBitmap{}, 1, 1, kernel, 1.0);
    return std::memcmp(digest, "\xd1\x4a\x02\x8c", 4) == 0 && hdcd_detected(nullptr) == 0 && !none &&
           ReplayGain_GetSamples(nullptr) == 0 && CHAPTER_Get_Number("CHAPTER007") == 7;
}

} // namespace

int main()
{
    return Converts() && EveryOtherFamilyAnswers() ? 0 : 1;
}
