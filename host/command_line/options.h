// options.h: the command line.
#pragma once

#include "host/audio/container.h"
#include "host/audio/encoder_settings.h"
#include "host/audio/file_part.h"
#include "host/audio/raw_format.h"
#include "host/audio/sample_format.h"

#include <cstdint>
#include <optional>
#include <string>
#include <tonekit/frame.h>
#include <utility>
#include <vector>

namespace tonekit::host {

enum class Command { Convert, Info, ExtractCover, Help, Version };
enum class Quality { Normal, High, VeryHigh, Best };
enum class Filter : uint32_t {
    Normal = TONEKIT_FILTER_NORMAL,
    Steep = TONEKIT_FILTER_STEEP,
    Steeper = TONEKIT_FILTER_STEEPER
};
enum class DitherChoice { Auto, On, Off };
enum class DitherMode : uint32_t {
    Rectangular = TONEKIT_DITHER_RECTANGULAR,
    Triangular = TONEKIT_DITHER_TRIANGULAR,
    Shaped = TONEKIT_DITHER_SHAPED
};
enum class HdcdChoice { Auto, On, Off };
enum class MixLevel { Fixed, Auto };
enum class HashKind { Sha256, Sha512 };
enum class ProgressChoice { Auto, JsonLines, Off };

struct Options {
    Command command = Command::Convert;
    std::vector<std::string> inputs;
    std::string output; // a file, or the folder for the results of many inputs

    std::optional<RawFormat> raw; // what the inputs are, which have no header

    // The output's form; what isn't set is as in the input.
    std::optional<uint32_t> rate;
    std::optional<uint32_t> channels;
    std::optional<SampleFormat> format;
    std::optional<ContainerKind> type;
    EncoderSettings encoder;

    // How it is made.
    Quality quality = Quality::High;
    Filter filter = Filter::Normal;
    bool aliasing = false;
    DitherChoice dither = DitherChoice::Auto;
    DitherMode ditherMode = DitherMode::Triangular;
    bool limiter = true;
    MixLevel mixLevel = MixLevel::Fixed;
    double gain = 0;                 // dB
    std::optional<double> normalize; // LUFS
    bool normalizeAlbum = false;     // the loudness of the whole album
    HdcdChoice hdcd = HdcdChoice::Off;
    uint32_t hdcdGain = 6;
    uint32_t dsdGain = 6;

    // What of it.
    std::optional<uint64_t> start; // in 100 ns
    std::optional<uint64_t> end;
    bool split = false;             // a file for each of its chapters
    std::optional<std::string> cue; // where the tracks of the input are
    bool join = false;              // one file of all inputs

    // Tags, pictures and chapters.
    bool inPlace = false; // the tags of the inputs are changed, and there is no output
    bool tags = true;
    std::vector<std::pair<std::string, std::string>> set;
    std::optional<std::string> cover;
    uint32_t coverSize = 0; // 0: as it is
    int coverQuality = 90;
    std::optional<std::string> chapters;
    std::optional<std::string> extractCover;

    // What is found out on the way.
    bool replayGain = false;
    bool albumGain = false; // of albums too
    bool truePeak = false;
    std::optional<HashKind> hash;
    std::optional<std::string> spectrogram; // a PNG; without an output it is all that is made

    // How the program behaves.
    unsigned memoryMiB = 256;     // that pictures and tags of a file may take
    std::optional<unsigned> jobs; // files at a time; as many as there are cores
    bool dryRun = false;
    ProgressChoice progress = ProgressChoice::Auto;
    std::optional<char> bodies; // the letter for UseBodies

    // What becomes of folders.
    bool copyOthers = false;                 // of the files that aren't audio
    bool update = false;                     // only what is older than its input
    bool noClobber = false;                  // only what isn't there
    std::optional<std::string> nameTemplate; // of outputs
    bool quiet = false;
    bool json = false;
};

// Reads the arguments after the program's name. Throws UsageError.
Options ParseOptions(const std::vector<std::string> &arguments);

// The text of --help.
std::string HelpText();

const char *NameOf(Quality quality);
const char *NameOf(HashKind kind);

} // namespace tonekit::host
