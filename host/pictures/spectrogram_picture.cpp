// spectrogram_picture.cpp: where panels, axes and labels go, and which level gets which colour.
#include "host/pictures/spectrogram_picture.h"

#include "host/pictures/canvas.h"
#include "host/pictures/label_font.h"
#include "host/report/report_parts.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tonekit::host {

namespace {

constexpr int kMargin = 16;
constexpr int kFrequencyLabels = 40; // left of a panel
constexpr int kTitleLines = 44;      // above all panels
constexpr int kPartLine = 20;        // above each panel
constexpr int kTimeLabels = 28;      // below all panels
constexpr int kBetweenSounds = 36;
constexpr int kBeforeBar = 24;
constexpr int kBar = 14;
constexpr int kLevelLabels = 40; // right of the bar
constexpr int kTick = 4;

// The names of channels in the converter's order, by their number.
constexpr const char *kChannelNames[9][8] = {
    {},
    {""},
    {"Left", "Right"},
    {"Left", "Right", "Centre"},
    {"Left", "Right", "Back left", "Back right"},
    {"Left", "Right", "Centre", "Back left", "Back right"},
    {"Left", "Right", "Centre", "LFE", "Back left", "Back right"},
    {"Left", "Right", "Centre", "LFE", "Back centre", "Side left", "Side right"},
    {"Left", "Right", "Centre", "LFE", "Back left", "Back right", "Side left", "Side right"}};

std::string NameOfPart(const Spectrogram &sound, uint32_t part)
{
    if (sound.parts() != sound.format().channels)
        return "Mean of " + std::to_string(sound.format().channels) + " channels";
    return kChannelNames[sound.parts()][part];
}

uint8_t ColourOf(double power)
{
    const double level = 10 * std::log10(std::max(power, 1e-30));
    const double part = std::clamp(1 - level / kLowestLevel, 0.0, 1.0);
    return static_cast<uint8_t>(std::lround(part * (kLevelColours - 1)));
}

// The smallest of these steps by which labels are at least so far apart.
double StepFor(double perPixel, double apart, const std::vector<double> &steps)
{
    const auto step =
        std::find_if(steps.begin(), steps.end(), [&](double s) { return s / perPixel >= apart; });
    return step != steps.end() ? *step : steps.back();
}

std::vector<double> DecimalSteps(double first, double last)
{
    std::vector<double> steps;
    for (double ten = first; ten <= last; ten *= 10) {
        for (const double factor : {1.0, 2.0, 5.0})
            steps.push_back(ten * factor);
    }
    return steps;
}

std::vector<double> TimeSteps()
{
    std::vector<double> steps = DecimalSteps(1e-6, 1);
    steps.insert(steps.end(), {10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 28800});
    const std::vector<double> days = DecimalSteps(86400, 86400e4);
    steps.insert(steps.end(), days.begin(), days.end());
    return steps;
}

// Without zeroes at the end: as many decimals as multiples of the step have.
std::string NumberText(double value, double step)
{
    int decimals = 0;
    for (double digits = step; decimals < 9 && std::fabs(digits - std::round(digits)) > 1e-6; digits *= 10)
        ++decimals;
    return Decimal(value, decimals);
}

std::string TimeText(double seconds, double step, double all)
{
    if (all < 60)
        return NumberText(seconds, step) + " s";
    const auto whole = static_cast<uint64_t>(std::llround(seconds));
    const auto twoDigits = [](uint64_t number) {
        return std::string(number < 10 ? "0" : "") + std::to_string(number);
    };
    const std::string minutesAndSeconds = twoDigits(whole / 60 % 60) + ":" + twoDigits(whole % 60);
    if (all >= 3600)
        return std::to_string(whole / 3600) + ":" + minutesAndSeconds;
    return std::to_string(whole / 60) + ":" + twoDigits(whole % 60);
}

double SecondsOf(const Spectrogram &sound)
{
    return static_cast<double>(sound.frames()) / sound.format().rate;
}

class Drawing {
public:
    explicit Drawing(const std::vector<DrawnSound> &sounds)
        : sounds_(sounds), parts_(MostOf([](const Spectrogram &sound) { return double(sound.parts()); })),
          seconds_(MostOf(SecondsOf)),
          highest_(MostOf([](const Spectrogram &sound) { return sound.format().rate / 2.0; })),
          columns_(static_cast<int>(SpectrogramColumns(seconds_, sounds.size()))),
          rows_(static_cast<int>(SpectrogramRows(static_cast<uint32_t>(parts_)))), canvas_(Width(), Height())
    {}

    const IndexedPicture &Draw()
    {
        for (size_t i = 0; i < sounds_.size(); ++i) {
            DrawTitle(i);
            for (uint32_t part = 0; part < sounds_[i].sound->parts(); ++part)
                DrawPart(i, part);
            DrawTimes(i);
        }
        canvas_.Write(kMargin, Top(0) - 8, "kHz", kPlainInk);
        DrawLevels();
        return canvas_.picture();
    }

private:
    template <class Value>
    double MostOf(const Value &value) const
    {
        double most = 0;
        for (const DrawnSound &drawn : sounds_)
            most = std::max(most, static_cast<double>(value(*drawn.sound)));
        return most;
    }

    int Left(size_t sound) const
    {
        return kMargin + kFrequencyLabels + static_cast<int>(sound) * (columns_ + kBetweenSounds);
    }
    int Top(uint32_t part) const
    {
        return kMargin + kTitleLines + kPartLine + static_cast<int>(part) * (rows_ + kPartLine);
    }
    int BottomOf(double parts) const { return Top(static_cast<uint32_t>(parts) - 1) + rows_; }
    int Bottom() const { return BottomOf(parts_); }
    int BarLeft() const { return Left(sounds_.size() - 1) + columns_ + kBeforeBar; }
    uint32_t Width() const { return static_cast<uint32_t>(BarLeft() + kBar + kLevelLabels + kMargin); }
    uint32_t Height() const { return static_cast<uint32_t>(Bottom() + kTimeLabels + kMargin / 2); }

    void DrawTitle(size_t i)
    {
        const int room = i + 1 < sounds_.size() ? columns_ : static_cast<int>(Width()) - kMargin - Left(i);
        const int line = kMargin + kLabelAscent + 2;
        canvas_.Write(Left(i), line, LabelCutToWidth(sounds_[i].title, room), kBrightInk);
        canvas_.Write(Left(i), line + 19, LabelCutToWidth(sounds_[i].details, room), kPlainInk);
    }

    void DrawPart(size_t i, uint32_t part)
    {
        const Spectrogram &sound = *sounds_[i].sound;
        canvas_.Frame(Left(i), Top(part), columns_, rows_);
        canvas_.Write(Left(i), Top(part) - 8, NameOfPart(sound, part), kPlainInk);
        DrawFrequencies(i, part);
        const double framesPerColumn = seconds_ * sound.format().rate / columns_;
        const int ownRows = std::min(rows_, static_cast<int>(sound.rows()));
        for (int column = 0; column < columns_; ++column) {
            const double from = column * framesPerColumn;
            if (from >= static_cast<double>(sound.frames()))
                break;
            const std::vector<double> powers = sound.Powers(part, from, from + framesPerColumn);
            for (int row = 0; row < ownRows; ++row)
                canvas_.Put(Left(i) + column, Top(part) + rows_ - 1 - row,
                            ColourOf(powers[static_cast<size_t>(row)]));
        }
    }

    void DrawFrequencies(size_t i, uint32_t part)
    {
        const double perPixel = highest_ / rows_ / 1000;
        const double step = StepFor(perPixel, 24, DecimalSteps(0.001, 1e6));
        for (int n = 0; n * step <= highest_ / 1000; ++n) {
            const int y = Top(part) + rows_ - 1 - static_cast<int>(std::lround(n * step / perPixel));
            if (y < Top(part) - 1)
                break;
            canvas_.Fill(Left(i) - 1 - kTick, y, kTick, 1, kBackground + kPlainInk);
            const std::string text = NumberText(n * step, step);
            if (i == 0)
                canvas_.Write(Left(i) - kTick - 4 - LabelWidth(text), y + kLabelAscent / 2, text, kPlainInk);
        }
    }

    void DrawTimes(size_t i)
    {
        if (seconds_ == 0)
            return;
        const int bottom = BottomOf(sounds_[i].sound->parts());
        const double perPixel = seconds_ / columns_;
        const double step = StepFor(perPixel, seconds_ < 60 ? 64 : 76, TimeSteps());
        for (int n = 0; n * step <= seconds_; ++n) {
            const int x = Left(i) + static_cast<int>(std::lround(n * step / perPixel));
            canvas_.Fill(x, bottom + 1, 1, kTick, kBackground + kPlainInk);
            const std::string text = TimeText(n * step, step, seconds_);
            const int width = LabelWidth(text);
            const int place = std::min(x - width / 2, Left(i) + columns_ + kBetweenSounds / 2 - width);
            canvas_.Write(place, bottom + kTick + 6 + kLabelAscent, text, kPlainInk);
        }
    }

    void DrawLevels()
    {
        const int left = BarLeft();
        const int height = Bottom() - Top(0);
        canvas_.Frame(left, Top(0), kBar, height);
        for (int y = 0; y < height; ++y) {
            const double part = 1 - (y + 0.5) / height;
            canvas_.Fill(left, Top(0) + y, kBar, 1,
                         static_cast<uint8_t>(std::lround(part * (kLevelColours - 1))));
        }
        const double perPixel = -kLowestLevel / height;
        const double step = StepFor(perPixel, 24, {10, 30, 50, 150});
        for (double level = 0; level >= kLowestLevel; level -= step) {
            const int y = Top(0) + std::min(height - 1, static_cast<int>(std::lround(-level / perPixel)));
            canvas_.Fill(left + kBar + 1, y, kTick, 1, kBackground + kPlainInk);
            const std::string text = level == 0 ? "0" : "−" + std::to_string(std::lround(-level));
            canvas_.Write(left + kBar + kTick + 5, y + kLabelAscent / 2, text, kPlainInk);
        }
        canvas_.Write(left, Top(0) - 8, "dBFS", kPlainInk);
    }

    const std::vector<DrawnSound> &sounds_;
    const double parts_;
    const double seconds_; // of the longest
    const double highest_; // Hz
    const int columns_;    // of a panel
    const int rows_;
    Canvas canvas_;
};

} // namespace

uint32_t SpectrogramRows(uint32_t parts)
{
    constexpr std::array<uint32_t, 9> kRows = {512, 512, 320, 224, 224, 160, 160, 128, 128};
    return kRows[std::min<size_t>(parts, kRows.size() - 1)];
}

uint32_t SpectrogramColumns(double seconds, size_t sounds)
{
    // Ten seconds and less get 640, and each doubling 160 more.
    const double wide = 640 + 160 * std::log2(std::clamp(seconds / 10, 1.0, 512.0));
    return static_cast<uint32_t>(sounds > 1 ? wide * 5 / 8 : wide);
}

IndexedPicture DrawSpectrograms(const std::vector<DrawnSound> &sounds)
{
    return Drawing(sounds).Draw();
}

} // namespace tonekit::host
