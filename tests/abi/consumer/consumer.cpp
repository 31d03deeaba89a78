// consumer.cpp: a caller in C++ uses the converter class of the installed library.
#include <cstdio>
#include <tonekit/tonekit.h>

int main()
{
    CSampleRateConverter4 converter;
    converter.Init(1, 32, 1, 48000, 1, 64, 2, 48000, false, false, 0, 0);
    const float input[3] = {0.25f, -0.5f, 1.0f};
    converter.Write(input, 3);
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    if (converter.Read(out, frames, bytes))
        return 1;
    if (!converter.Flush(out, frames, bytes) || frames != 3 || bytes != 48)
        return 1;
    const double *samples = static_cast<const double *>(out);
    std::printf("%g %g\n", samples[0], samples[5]);
    return samples[0] == 0.25 && samples[1] == 0.25 && samples[5] == 1.0 ? 0 : 1;
}
