// spectrogram.h: the frequencies of a sound over its time, in memory that doesn't grow with it.
#pragma once

#include "host/audio/sample_format.h"
#include "host/processing/spectrum.h"

#include <cstdint>
#include <vector>

namespace tonekit::host {

// Takes samples from the first to the last; returns powers by time and frequency. Time is divided into
// columns of the same length, of which there are so many at most that each becomes twice as long where there
// would be more; frequency is divided evenly into rows.
class Spectrogram {
public:
    // Channels have a part each, but more than 8 are one part, in which their powers are averaged. `frames`
    // is how many will come, 0 if unknown, and `columns` how many columns are of use then.
    Spectrogram(const AudioFormat &format, uint64_t frames, uint32_t rows, uint32_t columns);

    // What is no number counts as silence.
    void Take(const void *samples, uint32_t frames);
    // Nothing may be taken afterwards.
    void Finish();

    const AudioFormat &format() const { return format_; }
    uint64_t frames() const { return frames_; }
    uint32_t parts() const { return parts_; }
    uint32_t rows() const { return rows_; }
    // After Finish: the mean powers of a part in the frames between these places, by row from the lowest
    // frequencies on: of each row the strongest, 1 for a sine of full scale. Zeroes after the last frame.
    std::vector<double> Powers(uint32_t part, double from, double to) const;

private:
    void AnalyseWhatIsThere(uint64_t end);
    void Analyse(uint64_t place);
    void EndColumn();
    void HalveColumns();
    void DropBefore(uint64_t place);
    size_t ColumnSize() const { return size_t{parts_} * rows_; }

    const AudioFormat format_;
    const uint32_t parts_;
    const uint32_t rows_;
    Spectrum spectrum_;
    uint32_t hop_;            // frames from one transform to the next
    uint64_t transforms_ = 1; // in a column
    uint64_t frames_ = 0;
    std::vector<float> columns_; // those that are done, with a power for each row of each part
    uint64_t columnsDone_ = 0;
    uint64_t transformsDone_ = 0; // of the column in work
    std::vector<double> powers_;  // their sums, for all frequencies of each part
    // For each channel the frames that the next transform needs, with half a stretch of silence before the
    // first one.
    std::vector<std::vector<double>> waiting_;
    uint64_t waitingFrom_ = 0; // place of the first one; the silence begins at 0
    std::vector<double> doubles_;
};

} // namespace tonekit::host
