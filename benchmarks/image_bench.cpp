// image_bench.cpp: the bitmap resampler compared with Pillow and libswscale, each on one thread.
#include "benchmarks/ratio.h"
#include "frame/dispatch.h"
#include "image/filters.h"
#include "image/resampler.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <Python.h> // first, as it asks
#include <cstdlib>
#include <memory>

extern "C" {
#include <libswscale/swscale.h>
}

namespace tonekit {
namespace {

struct Scaling {
    const char *name;
    int sourceWidth, sourceHeight, width, height;
    double pillowLimit, swscaleLimit;
};

constexpr Scaling kScalings[] = {
    {"4000x3000 to 1000x750", 4000, 3000, 1000, 750, 2.0, 0.85},
    {"300x300 to 1200x1200", 300, 300, 1200, 1200, 2.6, 2.0},
};

std::vector<uint32_t> RandomPixels(int width, int height)
{
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
    Random(1).Fill(pixels.data(), pixels.size() * sizeof(uint32_t));
    return pixels;
}

// Pillow, in a Python interpreter within this process. Four bytes a pixel without the detour over
// premultiplied alpha that Pillow takes for RGBA: the same work as ours.
class Pillow {
public:
    explicit Pillow(const Scaling &scaling)
    {
        if (!Py_IsInitialized())
            Py_Initialize();
        char text[256];
        std::snprintf(
            text, sizeof(text),
            "import os\nfrom PIL import Image\nimage%d = Image.frombytes('CMYK', (%d, %d), os.urandom(%d))",
            scaling.sourceWidth, scaling.sourceWidth, scaling.sourceHeight,
            4 * scaling.sourceWidth * scaling.sourceHeight);
        Run(text);
        std::snprintf(text, sizeof(text), "image%d.resize((%d, %d), Image.LANCZOS)", scaling.sourceWidth,
                      scaling.width, scaling.height);
        scale_ = text;
    }

    void Scale() { Run(scale_.c_str()); }

private:
    static void Run(const char *text)
    {
        if (PyRun_SimpleString(text) == 0)
            return;
        std::fprintf(stderr, "Pillow is missing: apt-get install python3-pil\n");
        std::exit(1);
    }

    std::string scale_;
};

// libswscale at its accurate setting.
class Swscale {
public:
    explicit Swscale(const Scaling &scaling)
        : scaling_(scaling), source_(RandomPixels(scaling.sourceWidth, scaling.sourceHeight)),
          target_(static_cast<size_t>(scaling.width) * static_cast<size_t>(scaling.height)),
          context_(sws_getContext(scaling.sourceWidth, scaling.sourceHeight, AV_PIX_FMT_RGBA, scaling.width,
                                  scaling.height, AV_PIX_FMT_RGBA,
                                  SWS_LANCZOS | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP,
                                  nullptr, nullptr, nullptr))
    {}
    Swscale(const Swscale &) = delete;
    Swscale &operator=(const Swscale &) = delete;
    ~Swscale() { sws_freeContext(context_); }

    void Scale()
    {
        const auto *from = reinterpret_cast<const uint8_t *>(source_.data());
        auto *to = reinterpret_cast<uint8_t *>(target_.data());
        const int fromStride = 4 * scaling_.sourceWidth;
        const int toStride = 4 * scaling_.width;
        sws_scale(context_, &from, &fromStride, 0, scaling_.sourceHeight, &to, &toStride);
    }

private:
    Scaling scaling_;
    std::vector<uint32_t> source_;
    std::vector<uint32_t> target_;
    SwsContext *context_;
};

} // namespace
} // namespace tonekit

int main(int argc, char **argv)
{
    using namespace tonekit;
    // Words that select the baseline and, where the processor has it, the body with the widest registers.
    constexpr uint64_t kBaseline = 1, kWidest = 0x9D9FEF;
    RatioTable table("bitmap resampler, Lanczos of 3 lobes, 32-bit pixels; limits are for the best body");
    for (const Scaling &scaling : kScalings) {
        const auto source =
            std::make_shared<std::vector<uint32_t>>(RandomPixels(scaling.sourceWidth, scaling.sourceHeight));
        const auto target =
            std::make_shared<std::vector<uint32_t>>(RandomPixels(scaling.width, scaling.height));
        const auto pillow = std::make_shared<Pillow>(scaling);
        const auto swscale = std::make_shared<Swscale>(scaling);
        for (const uint64_t word : {kBaseline, kWidest}) {
            if (word == kWidest && !ProcessorRuns('V'))
                continue;
            const double limited = word == kWidest ? 1.0 : 0.0;
            const auto ours = [=] {
                SelectBodies(word);
                ResampleBitmapPixels(source->data(), scaling.sourceWidth, scaling.sourceHeight,
                                     target->data(), scaling.width, scaling.height, FilterLanczos3, 3.0);
            };
            const std::string name = std::string(scaling.name) + (word == kWidest ? ", V, " : ", A, ");
            table.Add(name + "Pillow", limited * scaling.pillowLimit, ours, [=] { pillow->Scale(); });
            table.Add(name + "libswscale", limited * scaling.swscaleLimit, ours, [=] { swscale->Scale(); });
        }
    }
    return table.Run(argc, argv);
}
