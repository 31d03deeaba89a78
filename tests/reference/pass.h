// pass.h: a converter's pass, one step after the other over whole blocks, on the slow models of its parts.
#pragma once

#include "tests/reference/biquad.h"
#include "tests/reference/dither.h"
#include "tests/reference/lpc.h"
#include "tests/reference/mix.h"
#include "tests/reference/sample_formats.h"
#include "tests/reference/set_up.h"
#include "tests/support/element_address.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <soxr.h>
#include <vector>

namespace tonekit::reference {

struct PassSettings {
    Encoding input, output;
    uint32_t inputChannels, inputRate;
    uint32_t outputChannels, outputRate;
    bool limiter = false;
    bool dither = false;
    double ditherScale = 0;
    int32_t ditherMode = 1;
    double hdcdGain = 1.0;
};

// T is the working format: double or float.
template <class T>
class Pass {
public:
    // The resampler, null at equal rates, is the pass's to delete.
    Pass(const PassSettings &settings, soxr_t resampler, uint32_t seed)
        : s_(settings), n_(NumbersOf(settings.inputRate, settings.outputRate)),
          resampler_(resampler, soxr_delete), lowPass_(LfeSection(settings.outputRate)), noise_{seed},
          dithers_(settings.outputChannels),
          stage_((n_.blockFrames + 2 * size_t{n_.inputEdgeFrames}) * settings.outputChannels)
    {
        const uint32_t input = settings.inputChannels == 3 ? 2 : std::min(settings.inputChannels, 8u);
        for (const MixMatrix &matrix : kMixMatrices)
            if (matrix.input == input && matrix.output == settings.outputChannels) {
                for (int row = 0; row < 8; ++row)
                    for (int column = 0; column < 8; ++column)
                        matrix_[row][column] = sizeof(T) == 4 ? FloatGain(matrix.gain[row][column])
                                                              : static_cast<T>(matrix.gain[row][column]);
                limited_ = matrix.limiter && settings.limiter;
            }
        rows_ = std::min(settings.inputChannels, 8u);
    }

    // Returns the bytes at the start of the output buffer after the pass.
    std::vector<uint8_t> Resample(const uint8_t *input, uint32_t frames, bool last)
    {
        return s_.inputRate == s_.outputRate ? EqualRates(input, frames) : Differing(input, frames, last);
    }

    bool finished = false;
    T gain = 1;
    const Noise &Seed() const { return noise_; }

private:
    std::vector<T> LoadAndMix(const uint8_t *input, uint32_t frames)
    {
        std::vector<T> loaded(size_t{frames} * s_.inputChannels);
        for (size_t i = 0; i < loaded.size(); ++i) {
            const uint8_t *bytes = input + i * Bytes(s_.input);
            loaded[i] = sizeof(T) == 4 ? LoadedFloat(s_.input, bytes, s_.hdcdGain)
                                       : static_cast<T>(LoadedDouble(s_.input, bytes, s_.hdcdGain));
        }
        std::vector<T> mixed(size_t{frames} * s_.outputChannels);
        if (limited_)
            MixLimited<T>(matrix_, rows_, s_.inputChannels, s_.outputChannels, loaded.data(), mixed.data(),
                          frames, &gain);
        else
            MixPlain<T>(matrix_, rows_, s_.inputChannels, s_.outputChannels, loaded.data(), mixed.data(),
                        frames);
        return mixed;
    }

    bool LacksLfe() const
    {
        return s_.inputChannels == 1 || s_.inputChannels == 2 || s_.inputChannels == 4 ||
               s_.inputChannels == 5;
    }

    void DitherChannels(T *samples, uint32_t frames)
    {
        for (uint32_t c = 0; c < s_.outputChannels && s_.dither; ++c)
            dithers_[c].Block(s_.ditherMode, static_cast<T>(s_.ditherScale), ElementAddress(samples, c),
                              frames * s_.outputChannels, s_.outputChannels, noise_);
    }

    void Append(std::vector<uint8_t> &out, const T *samples, size_t count)
    {
        const uint32_t bytes = Bytes(s_.output);
        const size_t begin = out.size();
        out.resize(begin + count * bytes);
        for (size_t i = 0; i < count; ++i)
            if constexpr (sizeof(T) == 4)
                StoreFloat(s_.output, samples[i], &out[begin + i * bytes]);
            else
                StoreDouble(s_.output, samples[i], &out[begin + i * bytes]);
    }

    std::vector<uint8_t> EqualRates(const uint8_t *input, uint32_t frames)
    {
        finished = true;
        std::vector<uint8_t> out;
        if (s_.input == s_.output && s_.inputChannels == s_.outputChannels && s_.input < Encoding::kInt64) {
            out.assign(input, input + size_t{frames} * s_.inputChannels * Bytes(s_.input));
            return out;
        }
        std::vector<T> work = LoadAndMix(input, frames);
        if (LacksLfe() && (s_.outputChannels == 6 || s_.outputChannels == 8))
            for (size_t i = 0; i < frames; ++i)
                work[6 * i + 3] = lowPass_.Step(work[6 * i + 3]);
        DitherChannels(work.data(), frames);
        Append(out, work.data(), work.size());
        return out;
    }

    uint32_t Process(const T *input, uint32_t frames)
    {
        size_t consumed = 0;
        size_t produced = 0;
        work_.resize(size_t{n_.outputCapacity} * s_.outputChannels);
        soxr_process(resampler_.get(), input, frames, &consumed, work_.data(), n_.outputCapacity, &produced);
        return static_cast<uint32_t>(produced);
    }

    uint32_t Drain()
    {
        finished = true;
        return Process(nullptr, 0);
    }

    // Predicts the edge before the block, or the one after it.
    void Extrapolate(bool behind)
    {
        const uint32_t history = n_.blockFrames / 2;
        const size_t channels = s_.outputChannels;
        const size_t edge = n_.inputEdgeFrames * channels;
        const size_t first = behind ? (n_.blockFrames - history) * channels + edge : 0;
        T *const place = stage_.data() + first;
        std::vector<T> part(place, place + history * channels + edge);
        reference::Extrapolate(part, history, static_cast<int32_t>(channels), 32,
                               behind ? 0 : n_.inputEdgeFrames, behind ? n_.inputEdgeFrames : 0);
        std::copy(part.begin(), part.end(), place);
    }

    uint32_t Feed(uint32_t frames, bool last)
    {
        const size_t edge = size_t{n_.inputEdgeFrames} * s_.outputChannels;
        if (!last && !firstDone_ && frames > 64) {
            Extrapolate(false);
            skip_ = n_.outputEdgeFrames;
            firstDone_ = true;
            return Process(stage_.data(), n_.inputEdgeFrames + frames);
        }
        if (!last) {
            firstDone_ = true;
            return Process(stage_.data() + edge, frames);
        }
        if (lastDone_)
            return Drain();
        lastDone_ = true;
        Extrapolate(true);
        const uint32_t produced =
            Process(stage_.data() + edge + size_t{n_.blockFrames} * s_.outputChannels, n_.inputEdgeFrames);
        return produced != 0 ? produced : Drain();
    }

    std::vector<uint8_t> Differing(const uint8_t *input, uint32_t frames, bool last)
    {
        const size_t channels = s_.outputChannels;
        const std::vector<T> mixed = LoadAndMix(input, frames);
        std::copy(mixed.begin(), mixed.end(), stage_.data() + n_.inputEdgeFrames * channels);
        const uint32_t produced = Feed(frames, last);
        const uint32_t skipped = skip_;
        std::vector<uint8_t> out;
        if (produced < skipped) {
            skip_ -= produced;
        } else {
            skip_ = 0;
            if (produced > skipped)
                out = Deliver(skipped, produced - skipped);
        }
        if (frames != 0 && frames != n_.blockFrames)
            Rotate(frames);
        return out;
    }

    std::vector<uint8_t> Deliver(uint32_t skipped, uint32_t frames)
    {
        finished = false;
        const size_t channels = s_.outputChannels;
        if (LacksLfe() && channels >= 6 && channels <= 8)
            for (size_t i = 0; i < frames; ++i)
                work_[i * channels + 3] = lowPass_.Step(work_[(skipped + i) * channels + 3]);
        DitherChannels(&work_[skipped * channels], frames);
        const size_t frameBytes = channels * Bytes(s_.output);
        const size_t edgeBytes = n_.outputEdgeFrames * frameBytes;
        if (held_.size() > edgeBytes)
            held_.erase(held_.begin(), held_.end() - static_cast<ptrdiff_t>(edgeBytes));
        Append(held_, &work_[skipped * channels], frames * channels);
        if (held_.size() <= edgeBytes)
            return {};
        return {held_.begin(), held_.end() - static_cast<ptrdiff_t>(edgeBytes)};
    }

    // Left by single samples over the first blockFrames of them; the first sample of each cycle passes
    // through 8 bits.
    void Rotate(uint32_t frames)
    {
        T *a = stage_.data() + size_t{n_.inputEdgeFrames} * s_.outputChannels;
        const std::vector<T> before(a, a + n_.blockFrames);
        const uint32_t k = frames % n_.blockFrames;
        for (uint32_t i = 0; i < n_.blockFrames; ++i) {
            const uint32_t from = (i + k) % n_.blockFrames;
            const bool opensCycle = from < Divisor(n_.blockFrames, k);
            a[i] = opensCycle ? static_cast<T>(static_cast<uint8_t>(WholePart(before[from]))) : before[from];
        }
    }
    static uint32_t Divisor(uint32_t a, uint32_t b) { return b == 0 ? a : Divisor(b, a % b); }

    PassSettings s_;
    BlockNumbers n_;
    std::unique_ptr<soxr, void (*)(soxr_t)> resampler_;
    Section lowPass_;
    Noise noise_;
    std::vector<Dither<T>> dithers_;
    std::vector<T> stage_;
    std::vector<T> work_;
    std::vector<uint8_t> held_;
    T matrix_[8][8] = {};
    uint32_t rows_ = 0;
    bool limited_ = false;
    bool firstDone_ = false;
    bool lastDone_ = false;
    uint32_t skip_ = 0;
};

} // namespace tonekit::reference
