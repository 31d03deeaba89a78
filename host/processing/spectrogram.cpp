// spectrogram.cpp: transforms at equal distances, gathered in columns that grow with the sound.
#include "host/processing/spectrogram.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tonekit::host {

namespace {

constexpr uint32_t kMostChannels = 8;
constexpr uint64_t kMostColumns = 4096;
constexpr double kLoudest = 1e6; // of a sample: beyond any file that is meant to be heard

// A tenth of a second or so, of which the window counts a third.
uint32_t LengthFor(uint32_t rate, uint32_t rows)
{
    constexpr uint32_t kShortest = 1024;
    constexpr uint32_t kLongest = 65536;
    uint32_t length = kShortest;
    while (length < kLongest && (length < rate / 12 || length / 2 < rows))
        length *= 2;
    return length;
}

// Where the length of the sound is unknown, it may be short.
uint64_t FirstColumnFrames(uint32_t rate, uint64_t frames, uint32_t columns)
{
    return std::max<uint64_t>(1, frames > 0 ? frames / columns : rate / 2000);
}

} // namespace

Spectrogram::Spectrogram(const AudioFormat &format, uint64_t frames, uint32_t rows, uint32_t columns)
    : format_(format), parts_(format.channels <= kMostChannels ? format.channels : 1), rows_(rows),
      spectrum_(LengthFor(format.rate, rows))
{
    const uint64_t columnFrames = FirstColumnFrames(format.rate, frames, columns);
    hop_ = static_cast<uint32_t>(std::min<uint64_t>(columnFrames, spectrum_.length() / 2));
    transforms_ = columnFrames / hop_;
    powers_.resize(parts_ * (size_t{spectrum_.length()} / 2 + 1));
    waiting_.resize(format.channels, std::vector<double>(spectrum_.length() / 2));
}

void Spectrogram::Take(const void *samples, uint32_t frames)
{
    const size_t channels = waiting_.size();
    doubles_.resize(frames * channels);
    SamplesToDouble(format_.sample, samples, doubles_.data(), doubles_.size());
    for (size_t channel = 0; channel < channels; ++channel) {
        for (size_t i = channel; i < doubles_.size(); i += channels) {
            const double sample = doubles_[i];
            waiting_[channel].push_back(std::isfinite(sample) ? std::clamp(sample, -kLoudest, kLoudest) : 0);
        }
    }
    frames_ += frames;
    AnalyseWhatIsThere(UINT64_MAX);
}

void Spectrogram::Finish()
{
    for (std::vector<double> &channel : waiting_)
        channel.resize(channel.size() + spectrum_.length());
    AnalyseWhatIsThere(frames_);
    if (columnsDone_ == 0 && transformsDone_ == 0 && frames_ > 0) {
        Analyse(frames_ / 2);
        transformsDone_ = 1;
    }
    if (transformsDone_ > 0)
        EndColumn();
}

// A transform is about the frame in its middle, and the first one about the middle of the first hop. Those
// about frames from `end` on are left out.
void Spectrogram::AnalyseWhatIsThere(uint64_t end)
{
    while (true) {
        const uint64_t place = (columnsDone_ * transforms_ + transformsDone_) * hop_ + hop_ / 2;
        if (place >= end || place + spectrum_.length() > waitingFrom_ + waiting_.front().size()) {
            // A sound that ends before the first place is looked at all the same.
            if (place != hop_ / 2)
                DropBefore(place);
            return;
        }
        Analyse(place);
        if (++transformsDone_ == transforms_)
            EndColumn();
    }
}

void Spectrogram::Analyse(uint64_t place)
{
    const size_t frequencies = powers_.size() / parts_;
    for (size_t channel = 0; channel < waiting_.size(); ++channel) {
        const size_t part = parts_ > 1 ? channel : 0;
        spectrum_.AddPowers(waiting_[channel].data() + (place - waitingFrom_), &powers_[part * frequencies]);
    }
}

void Spectrogram::EndColumn()
{
    const size_t frequencies = powers_.size() / parts_;
    const size_t half = frequencies - 1;
    const auto summed = static_cast<double>(transformsDone_ * (waiting_.size() / parts_));
    for (size_t part = 0; part < parts_; ++part) {
        const auto powers = powers_.begin() + static_cast<ptrdiff_t>(part * frequencies);
        for (size_t row = 0; row < rows_; ++row) {
            const size_t first = row * half / rows_;
            const size_t last =
                row + 1 == rows_ ? frequencies : std::max(first + 1, (row + 1) * half / rows_);
            const double most = *std::max_element(powers + static_cast<ptrdiff_t>(first),
                                                  powers + static_cast<ptrdiff_t>(last));
            columns_.push_back(static_cast<float>(most / summed));
        }
    }
    std::fill(powers_.begin(), powers_.end(), 0);
    transformsDone_ = 0;
    if (++columnsDone_ == kMostColumns)
        HalveColumns();
}

void Spectrogram::HalveColumns()
{
    const size_t size = ColumnSize();
    columnsDone_ /= 2;
    for (size_t column = 0; column < columnsDone_; ++column) {
        for (size_t i = 0; i < size; ++i)
            columns_[column * size + i] =
                (columns_[2 * column * size + i] + columns_[(2 * column + 1) * size + i]) / 2;
    }
    columns_.resize(columnsDone_ * size);
    if (hop_ <= spectrum_.length() / 4)
        hop_ *= 2;
    else
        transforms_ *= 2;
}

void Spectrogram::DropBefore(uint64_t place)
{
    const auto count = static_cast<size_t>(std::min<uint64_t>(place - waitingFrom_, waiting_.front().size()));
    for (std::vector<double> &channel : waiting_)
        channel.erase(channel.begin(), channel.begin() + static_cast<ptrdiff_t>(count));
    waitingFrom_ += count;
}

std::vector<double> Spectrogram::Powers(uint32_t part, double from, double to) const
{
    std::vector<double> powers(rows_);
    const auto columnFrames = static_cast<double>(transforms_ * hop_);
    const double end = std::min(to, static_cast<double>(frames_));
    if (columnsDone_ == 0 || from >= end)
        return powers;
    const auto columnAt = [&](double frame) {
        return std::min(static_cast<uint64_t>(frame / columnFrames), columnsDone_ - 1);
    };
    // Columns count by how much of them lies between the two places; there is more than none.
    double weights = 0;
    for (uint64_t column = columnAt(from); column <= columnAt(end); ++column) {
        const double begins = static_cast<double>(column) * columnFrames;
        const bool last = column + 1 == columnsDone_;
        const double ends = last ? std::max(end, begins) : begins + columnFrames;
        const double weight = std::max(std::min(end, ends) - std::max(from, begins), 0.0);
        const float *const values = &columns_[column * ColumnSize() + size_t{part} * rows_];
        for (size_t row = 0; row < rows_; ++row)
            powers[row] += weight * static_cast<double>(values[row]);
        weights += weight;
    }
    for (double &power : powers)
        power = weights > 0 ? power / weights : 0;
    return powers;
}

} // namespace tonekit::host
