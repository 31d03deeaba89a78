// option_table.cpp: the options with their help, in the order in which help lists them.
#include "host/command_line/option_table.h"

#include "host/command_line/option_values.h"
#include "host/processing/bodies.h"

#include <algorithm>
#include <iterator>

namespace tonekit::host {

namespace {

constexpr Choice<Quality> kQualities[] = {{"normal", Quality::Normal},
                                          {"high", Quality::High},
                                          {"very-high", Quality::VeryHigh},
                                          {"best", Quality::Best}};
constexpr Choice<Filter> kFilters[] = {
    {"normal", Filter::Normal}, {"steep", Filter::Steep}, {"steeper", Filter::Steeper}};
constexpr Choice<DitherChoice> kDithers[] = {
    {"auto", DitherChoice::Auto}, {"on", DitherChoice::On}, {"off", DitherChoice::Off}};
constexpr Choice<DitherMode> kDitherModes[] = {{"rectangular", DitherMode::Rectangular},
                                               {"triangular", DitherMode::Triangular},
                                               {"shaped", DitherMode::Shaped}};
constexpr Choice<HdcdChoice> kHdcds[] = {
    {"auto", HdcdChoice::Auto}, {"on", HdcdChoice::On}, {"off", HdcdChoice::Off}};
constexpr Choice<MixLevel> kMixLevels[] = {{"fixed", MixLevel::Fixed}, {"auto", MixLevel::Auto}};
constexpr Choice<bool> kSplits[] = {{"chapters", true}};
constexpr Choice<bool> kByAlbum[] = {{"track", false}, {"album", true}};
constexpr Choice<bool> kSwitch[] = {{"on", true}, {"off", false}};
constexpr Choice<HashKind> kHashes[] = {{"sha256", HashKind::Sha256}, {"sha512", HashKind::Sha512}};
constexpr Choice<ProgressChoice> kProgresses[] = {
    {"auto", ProgressChoice::Auto}, {"json", ProgressChoice::JsonLines}, {"off", ProgressChoice::Off}};

template <const auto &Choices>
std::vector<std::string> NamesOf()
{
    std::vector<std::string> names;
    for (const auto &choice : Choices)
        names.emplace_back(choice.name);
    return names;
}

std::vector<std::string> ChannelCounts()
{
    return {"1", "2", "4", "5", "6", "7", "8"};
}

std::vector<std::string> SampleFormats()
{
    return {"8", "16", "24", "32", "32f", "64f"};
}

std::vector<std::string> Types()
{
    std::vector<std::string> types;
    for (const Container &container : Containers())
        types.emplace_back(TypeNameOf(container));
    return types;
}

using Text = const std::string &;

constexpr OptionRow kRows[] = {
    {nullptr, 0, nullptr, "The output (as the input where an option is not set)", nullptr},
    {"rate", 'r', "HZ", "sample rate: 48000, 44.1k", [](Options &o, Text v) { o.rate = Rate(v); }, true},
    {"channels", 'c', "N", "1, 2, 4, 5, 6 (5.1), 7 (6.1) or 8 (7.1)",
     [](Options &o, Text v) { o.channels = Channels(v); }, true, ChannelCounts},
    {"bits", 'b', "BITS", "sample format: 8, 16, 24 or 32 bits, 32f or 64f for floats",
     [](Options &o, Text v) { o.format = Bits(v); }, true, SampleFormats},
    {"type", 't', "TYPE",
     "file type: wav, flac, mp3, ogg, opus, w64, rf64, caf, aiff, au, raw, raw-be, or aac or alac in M4A; "
     "without it the type is that of OUTPUT's extension (m4a: aac), or, in a folder or on standard output, "
     "that of the input",
     [](Options &o, Text v) { o.type = Type(v); }, true, Types},
    {"raw", 0, "FORM",
     "INPUT has no header and holds these samples: s16le,44100,2 (also u8, s8, s24, s32, f32, f64; be)",
     [](Options &o, Text v) { o.raw = RawFormatFrom(v); }, true},
    {"raw-output", 0, "FORM", "write samples without a header: s24be, or with rate and channels as above",
     [](Options &o, Text v) { SetRawOutput(o, v); }, true},

    {"bitrate", 0, "RATE",
     "bit rate: 192k, or 192000; of MP3 a constant one, of Opus and AAC the one that the variable rate aims "
     "at",
     [](Options &o, Text v) { o.encoder.bitRate = BitRate(v); }, true},
    {"vbr", 0, "N", "quality of MP3 and Ogg Vorbis with a variable bit rate, from 0 (smallest) to 10 (best)",
     [](Options &o, Text v) { o.encoder.vbrQuality = VbrQuality(v); }, true},
    {"compression", 0, "N", "FLAC's compression level, from 0 (fastest) to 8 (smallest)",
     [](Options &o, Text v) { o.encoder.compression = Number(v, 0, 8); }, true},

    {nullptr, 0, nullptr, "Which part of the input", nullptr},
    {"start", 0, "TIME", "begin here: seconds with a fraction, minutes:seconds or hours:minutes:seconds",
     [](Options &o, Text v) { o.start = Position(v); }, true},
    {"end", 0, "TIME", "end before this place of the input", [](Options &o, Text v) { o.end = Position(v); },
     true},
    {"split", 0, "chapters",
     "make a file of each chapter, or track of a cue sheet in the file or next to it, in FOLDER, named by "
     "--name",
     [](Options &o, Text v) { o.split = Choose(v, kSplits); }, true, NamesOf<kSplits>},
    {"cue", 0, "FILE", "split by this cue sheet; without --split its tracks become chapters",
     [](Options &o, Text v) { o.cue = FileName(v); }},
    {"join", 0, nullptr,
     "make one file of all INPUTs, one right after the other, with a chapter for each; their rate, channels "
     "and sample format must be the same",
     [](Options &o, Text) { o.join = true; }, true},

    {nullptr, 0, nullptr, "How it is converted", nullptr},
    {"quality", 0, "NAME",
     "resampler: normal (20 bit), high (28 bit, the default), very-high (32 bit) or best (the most the "
     "resampler has)",
     [](Options &o, Text v) { o.quality = Choose(v, kQualities); }, true, NamesOf<kQualities>},
    {"filter", 0, "NAME",
     "resampler's pass band: normal (to 0.91 of the way), steep (0.98) or steeper (0.995)",
     [](Options &o, Text v) { o.filter = Choose(v, kFilters); }, true, NamesOf<kFilters>},
    {"aliasing", 0, nullptr,
     "allow a little aliasing above the pass band, for a shorter filter (44.1 kHz and up)",
     [](Options &o, Text) { o.aliasing = true; }, true},
    {"dither", 0, "WHEN", "auto (when the sample depth shrinks or the level changes, the default), on or off",
     [](Options &o, Text v) { o.dither = Choose(v, kDithers); }, true, NamesOf<kDithers>},
    {"dither-mode", 0, "MODE", "rectangular, triangular (high-pass, the default) or shaped (noise shaping)",
     [](Options &o, Text v) { o.ditherMode = Choose(v, kDitherModes); }, true, NamesOf<kDitherModes>},
    {"limiter", 0, "on|off", "turn a mix to fewer channels down for good where it would clip (on)",
     [](Options &o, Text v) { o.limiter = Choose(v, kSwitch); }, true, NamesOf<kSwitch>},
    {"mix-level", 0, "fixed|auto",
     "auto measures a mix to fewer channels first, and lowers the whole file evenly where it would clip, so "
     "that the limiter isn't needed",
     [](Options &o, Text v) { o.mixLevel = Choose(v, kMixLevels); }, true, NamesOf<kMixLevels>},
    {"gain", 0, "DB", "make it louder or, as with -3.5, softer",
     [](Options &o, Text v) { o.gain = Decibels(v); }, true},
    {"normalize", 0, "LUFS",
     "bring each file to this loudness, such as -16 (replaygain: -18), in two passes; the true peak stays "
     "below full scale",
     [](Options &o, Text v) { o.normalize = LoudnessTarget(v); }, true},
    {"normalize-by", 0, "track|album",
     "bring albums to the loudness as a whole, all of their files by one gain",
     [](Options &o, Text v) { o.normalizeAlbum = Choose(v, kByAlbum); }, true, NamesOf<kByAlbum>},
    {"hdcd", 0, "WHEN",
     "decode HDCD in 16 bit stereo: auto (if the first minute has it to some effect), on or off (the "
     "default); decoded samples are kept in 24 bits unless --bits says otherwise",
     [](Options &o, Text v) { o.hdcd = Choose(v, kHdcds); }, true, NamesOf<kHdcds>},
    {"hdcd-gain", 0, "DB", "gain of decoded HDCD, 0 to 6 dB (6: full scale stays full scale)",
     [](Options &o, Text v) { o.hdcdGain = Number(v, 0, 6); }, true},
    {"dsd-gain", 0, "DB", "gain of DSD, 0 to 6 dB (6, the default: its usual full scale is that of samples)",
     [](Options &o, Text v) { o.dsdGain = Number(v, 0, 6); }, true},

    {nullptr, 0, nullptr, "Tags, pictures and chapters (WAV, AIFF, FLAC, Ogg, MP3, M4A)", nullptr},
    {"set", 0, "KEY=VALUE", "set a tag; an empty VALUE removes it; can be repeated",
     [](Options &o, Text v) { SetTag(o, v); }},
    {"cover", 0, "FILE", "put this BMP, JPEG or PNG picture (GIF and WebP as they are) on the front cover",
     [](Options &o, Text v) { o.cover = FileName(v); }},
    {"cover-size", 0, "N",
     "scale larger pictures, those of the input too, to fit N by N pixels; BMP becomes JPEG",
     [](Options &o, Text v) { o.coverSize = Number(v, 1, 4096); }},
    {"cover-quality", 0, "N", "JPEG quality of pictures made here, 1 to 100 (90)",
     [](Options &o, Text v) { o.coverQuality = static_cast<int>(Number(v, 1, 100)); }},
    {"chapters", 0, "FILE", "chapters: a line each of start time and name, as 0:03:21.5 Second movement",
     [](Options &o, Text v) { o.chapters = FileName(v); }},
    {"extract-cover", 0, "FILE",
     "write the front cover of the INPUT, or else its first picture, as it is into FILE; there is no OUTPUT",
     [](Options &o, Text v) {
         o.extractCover = FileName(v);
         o.command = Command::ExtractCover;
     },
     true},
    {"in-place", 0, nullptr,
     "change the tags, pictures and chapters of the INPUTs themselves; there is no OUTPUT, and the audio "
     "is not changed",
     [](Options &o, Text) { o.inPlace = true; }},
    {"no-tags", 0, nullptr, "leave out the input's tags, pictures and chapters",
     [](Options &o, Text) { o.tags = false; }},

    {nullptr, 0, nullptr, "What is measured", nullptr},
    {"replaygain", 0, "[album]",
     "measure loudness and peak, and write the REPLAYGAIN_TRACK tags (R128_TRACK_GAIN in Opus); with album "
     "those of albums too: files of one ALBUM tag, or else of one folder",
     [](Options &o, Text v) {
         o.replayGain = true;
         o.albumGain = ReplayGainOfAlbums(v);
     },
     false,
     [] {
         return std::vector<std::string>{"track", "album"};
     }},
    {"true-peak", 0, nullptr, "the same with the peak between the samples (slower)",
     [](Options &o, Text) { o.replayGain = o.truePeak = true; }},
    {"hash", 0, "sha256|sha512",
     "print the digest of the samples written (with --info: of those read): interleaved, little-endian, in "
     "the file's sample format, 8 bit unsigned, 24 bit in 3 bytes; those of MP3, Ogg and Opus are 32 bit "
     "float, before coding or after decoding. From 512 MiB of samples on it differs from other programs' "
     "digests; that of dithered samples differs from run to run",
     [](Options &o, Text v) { o.hash = Choose(v, kHashes); }, false, NamesOf<kHashes>},

    {"spectrogram", 0, "FILE",
     "draw the frequencies of INPUT and OUTPUT over time into this PNG, next to each other; without an "
     "OUTPUT those of the INPUT",
     [](Options &o, Text v) { o.spectrogram = PictureName(v); }, true},

    {nullptr, 0, nullptr, "Folders (an INPUT that is one is walked, and its folders are kept in FOLDER)",
     nullptr},
    {"name", 0, "TEMPLATE",
     "name outputs by tags: '{albumartist}/{album}/{track:02} {title}'; names are made safe for every file "
     "system",
     [](Options &o, Text v) { o.nameTemplate = Template(v); }, true},
    {"copy-others", 0, nullptr, "copy files that aren't audio too (otherwise they are left out)",
     [](Options &o, Text) { o.copyOthers = true; }, true},
    {"update", 0, nullptr, "skip outputs that exist and aren't older than their inputs",
     [](Options &o, Text) { o.update = true; }, true},
    {"no-clobber", 0, nullptr, "skip outputs that exist", [](Options &o, Text) { o.noClobber = true; }, true},
    {"dry-run", 0, nullptr, "say what would be done, and write nothing",
     [](Options &o, Text) { o.dryRun = true; }},

    {nullptr, 0, nullptr, "How the program behaves", nullptr},
    {"jobs", 'j', "N", "convert N files at a time (as many as the machine has cores)",
     [](Options &o, Text v) { o.jobs = Number(v, 1, 256); }},
    {"memory", 0, "MIB", "the most memory that pictures and tags of a file may take (256)",
     [](Options &o, Text v) { o.memoryMiB = Number(v, 16, 1 << 20); }},
    {"bodies", 0, "NAME",
     "which of the library's equal bodies run: auto (the fastest that the processor has the instructions "
     "for, the default), plain (the library's own choice), or those of a letter: A, L, M, N, P, R, S or V",
     [](Options &o, Text v) { o.bodies = BodyLetter(v, LettersOfProcessor()); }},
    {"info", 'i', nullptr, "say what each INPUT is, and convert nothing",
     [](Options &o, Text) { o.command = Command::Info; }},
    {"json", 0, nullptr, "report what was done, or what the files are, as one JSON object",
     [](Options &o, Text) { o.json = true; }},
    {"progress", 0, "WHEN",
     "auto (on a terminal, the default), json (for programs: a JSON object on each line of standard error) "
     "or off",
     [](Options &o, Text v) { o.progress = Choose(v, kProgresses); }, false, NamesOf<kProgresses>},
    {"quiet", 'q', nullptr, "no progress and no summary", [](Options &o, Text) { o.quiet = true; }},
    {"version", 'V', nullptr, "print the version", [](Options &o, Text) { o.command = Command::Version; }},
    {"help", 'h', nullptr, "print this", [](Options &o, Text) { o.command = Command::Help; }},
};

// Breaks a text into lines of up to `width` characters, all but the first after `indent` blanks.
std::string Wrapped(const std::string &text, size_t indent, size_t width)
{
    std::string result;
    size_t column = 0;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = std::min(text.find(' ', start), text.size());
        const std::string word = text.substr(start, end - start);
        if (column > 0 && column + 1 + word.size() > width) {
            result += "\n" + std::string(indent, ' ');
            column = 0;
        }
        result += (column > 0 ? " " : "") + word;
        column += (column > 0 ? 1 : 0) + word.size();
        start = end + 1;
    }
    return result;
}

std::string HelpOfRow(const OptionRow &row)
{
    constexpr size_t kColumn = 26;
    constexpr size_t kWidth = 80;
    if (!row.name)
        return "\n" + Wrapped(row.help, 0, kWidth) + ":\n";
    std::string line = row.letter ? std::string("  -") + row.letter + ", --" : "      --";
    line += row.name;
    if (row.argument)
        line += std::string(" ") + row.argument;
    if (line.size() + 2 > kColumn)
        line += "\n" + std::string(kColumn, ' ');
    else
        line.resize(kColumn, ' ');
    return line + Wrapped(row.help, kColumn, kWidth - kColumn) + "\n";
}

} // namespace

std::span<const OptionRow> OptionRows()
{
    return kRows;
}

const OptionRow *RowByName(std::string_view name)
{
    const auto *row = std::find_if(std::begin(kRows), std::end(kRows), [&](const OptionRow &candidate) {
        return candidate.name && name == candidate.name;
    });
    return row != std::end(kRows) ? row : nullptr;
}

const OptionRow *RowByLetter(char letter)
{
    const auto *row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const OptionRow &candidate) { return candidate.letter == letter; });
    return row != std::end(kRows) && letter != 0 ? row : nullptr;
}

std::string HelpText()
{
    std::string text = "Usage: tonekit-convert [options] INPUT OUTPUT\n"
                       "       tonekit-convert [options] INPUT... FOLDER\n"
                       "       tonekit-convert --join [options] INPUT... OUTPUT\n"
                       "       tonekit-convert --in-place [options] INPUT...\n"
                       "       tonekit-convert --extract-cover FILE INPUT\n"
                       "       tonekit-convert --spectrogram FILE INPUT\n"
                       "       tonekit-convert --info [options] INPUT...\n"
                       "\n"
                       "Converts audio files between rates, channels, sample formats and file types.\n"
                       "OUTPUT replaces an existing file, but only when it is complete.\n"
                       "- as INPUT or OUTPUT is standard input or output.\n";
    for (const OptionRow &row : kRows)
        text += HelpOfRow(row);
    text += "\nExit status: 0 all done, 1 a file could not be converted, 2 wrong usage.\n";
    return text;
}

const char *NameOf(Quality quality)
{
    const auto *row = std::find_if(std::begin(kQualities), std::end(kQualities),
                                   [&](const Choice<Quality> &choice) { return choice.value == quality; });
    return row->name;
}

const char *NameOf(HashKind kind)
{
    return kind == HashKind::Sha256 ? "sha256" : "sha512";
}

} // namespace tonekit::host
