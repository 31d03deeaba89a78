// dither.cpp: the dither objects and the seed of the noise generator that they share.
#include "convert/dither.h"

#include <atomic>
#include <cstring>
#include <ctime>

namespace tonekit {

uint32_t ditherSeedState = 0;

namespace {

// Relaxed, as the seed is.
std::atomic<bool> ditherSeeded{false};

void SeedOnce()
{
    if (!ditherSeeded.load(std::memory_order_relaxed)) {
        SetDitherSeed(static_cast<uint32_t>(std::time(nullptr)));
        ditherSeeded.store(true, std::memory_order_relaxed);
    }
}

// Padding included, so that objects can be compared as bytes.
template <class Dither>
void Clear(Dither *dither)
{
    std::memset(static_cast<void *>(dither), 0, sizeof *dither);
}

} // namespace

FloatDither::FloatDither()
{
    Clear(this);
    SeedOnce();
}

void FloatDither::Reset()
{
    Clear(this);
}

void FloatDither::ProcessBlock(int32_t mode, float scale, float *samples, uint32_t count, uint32_t stride)
{
    FloatDitherProcessBlock(this, mode, scale, samples, count, stride);
}

float FloatDither::ShapeSample(float value)
{
    FloatDitherProcessBlock(this, 2, 1.0f, &value, 1, 1);
    return value;
}

DoubleDither::DoubleDither()
{
    Clear(this);
    SeedOnce();
}

void DoubleDither::Reset()
{
    Clear(this);
}

void DoubleDither::ProcessBlock(int32_t mode, double scale, double *samples, uint32_t count, uint32_t stride)
{
    DoubleDitherProcessBlock(this, mode, scale, samples, count, stride);
}

double DoubleDither::ShapeSample(double value)
{
    DoubleDitherProcessBlock(this, 2, 1.0, &value, 1, 1);
    return value;
}

} // namespace tonekit
