// image_bench.cpp: the bitmap resampler beside Pillow and libswscale, each on one thread.
#include "benchmarks/ratio.h"
#include "frame/dispatch.h"
#include "image/filters.h"
#include "image/resampler.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

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

// A Python process that scales one picture each time it is sent a line. Four bytes a pixel without the detour
// over premultiplied alpha that Pillow takes for RGBA: the same work as ours.
class Pillow {
public:
    explicit Pillow(const Scaling &scaling)
    {
        int down[2], up[2];
        if (pipe2(down, O_CLOEXEC) != 0 || pipe2(up, O_CLOEXEC) != 0)
            std::abort();
        child_ = fork();
        if (child_ == 0) {
            dup2(down[0], STDIN_FILENO);
            dup2(up[1], STDOUT_FILENO);
            Exec(scaling);
        }
        close(down[0]);
        close(up[1]);
        to_ = down[1];
        from_ = up[0];
        Answer(); // that the picture is there
    }
    Pillow(const Pillow &) = delete;
    Pillow &operator=(const Pillow &) = delete;
    ~Pillow()
    {
        close(to_);
        close(from_);
        waitpid(child_, nullptr, 0);
    }

    void Scale()
    {
        if (write(to_, "\n", 1) != 1)
            std::abort();
        Answer();
    }

private:
    [[noreturn]] static void Exec(const Scaling &scaling)
    {
        char program[512];
        std::snprintf(
            program, sizeof(program),
            "import os, sys\nfrom PIL import Image\n"
            "image = Image.frombytes('CMYK', (%d, %d), os.urandom(%d))\n"
            "print(flush=True)\n"
            "for line in sys.stdin:\n    image.resize((%d, %d), Image.LANCZOS)\n    print(flush=True)\n",
            scaling.sourceWidth, scaling.sourceHeight, 4 * scaling.sourceWidth * scaling.sourceHeight,
            scaling.width, scaling.height);
        execl("/usr/bin/python3", "python3", "-c", program, nullptr);
        _exit(1);
    }
    void Answer()
    {
        char byte;
        if (read(from_, &byte, 1) != 1) {
            std::fprintf(stderr, "Pillow is missing: apt-get install python3-pil\n");
            std::exit(1);
        }
    }

    pid_t child_;
    int to_;
    int from_;
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
    constexpr uint64_t kBaseline = 1, kWidest = 0x9d9fef;
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
