// options.cpp: one table of options, from which the command line is read and the help is made.
#include "host/options.h"

#include "host/failure.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr uint32_t kLowestRate = 1000;
constexpr uint32_t kHighestRate = 1'536'000;

template <class Value>
struct Choice {
    const char *name;
    Value value;
};

template <class Value, size_t N>
Value Choose(const std::string &text, const Choice<Value> (&choices)[N])
{
    std::string names;
    for (const Choice<Value> &choice : choices) {
        if (text == choice.name)
            return choice.value;
        names += (names.empty() ? "" : ", ") + std::string(choice.name);
    }
    throw UsageError("must be one of: " + names);
}

uint32_t Number(const std::string &text, uint32_t lowest, uint32_t highest)
{
    uint32_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < lowest || number > highest)
        throw UsageError("must be a whole number from " + std::to_string(lowest) + " to " +
                         std::to_string(highest));
    return number;
}

// Hertz, or kilohertz with a k behind: 44100, 44.1k
uint32_t Rate(const std::string &text)
{
    double hertz = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, hertz, std::chars_format::fixed);
    const std::string_view rest(stop, static_cast<size_t>(end - stop));
    if (rest == "k" || rest == "K")
        hertz = std::round(hertz * 1e6) / 1e3;
    else if (!rest.empty())
        hertz = 0;
    if (error != std::errc() || hertz != std::floor(hertz) || hertz < kLowestRate || hertz > kHighestRate)
        throw UsageError("must be a rate from " + std::to_string(kLowestRate) + " to " +
                         std::to_string(kHighestRate) + " Hz, such as 48000 or 44.1k");
    return static_cast<uint32_t>(hertz);
}

uint32_t Channels(const std::string &text)
{
    constexpr Choice<uint32_t> choices[] = {{"1", 1}, {"2", 2}, {"4", 4}, {"5", 5},
                                            {"6", 6}, {"7", 7}, {"8", 8}};
    return Choose(text, choices);
}

SampleFormat Bits(const std::string &text)
{
    constexpr Choice<SampleFormat> choices[] = {
        {"8", SampleFormat::Int8},   {"16", SampleFormat::Int16},    {"24", SampleFormat::Int24},
        {"32", SampleFormat::Int32}, {"32f", SampleFormat::Float32}, {"64f", SampleFormat::Float64}};
    return Choose(text, choices);
}

ContainerKind Type(const std::string &text)
{
    const std::string extension = !text.empty() && text[0] == '.' ? text.substr(1) : text;
    if (const Container *container = ContainerByExtension(extension))
        return container->kind;
    std::string names;
    for (const Container &container : Containers())
        names += (names.empty() ? "" : ", ") + std::string(container.extensions[0]);
    throw UsageError("must be one of: " + names);
}

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
constexpr Choice<bool> kSwitch[] = {{"on", true}, {"off", false}};
constexpr Choice<HashKind> kHashes[] = {{"sha256", HashKind::Sha256}, {"sha512", HashKind::Sha512}};

bool EqualKeys(const std::string &a, const std::string &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

// The last value given for a key is the one that counts.
void SetTag(Options &options, const std::string &text)
{
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw UsageError("must have the form KEY=VALUE");
    const std::string key = text.substr(0, equals);
    std::erase_if(options.set, [&](const auto &earlier) { return EqualKeys(earlier.first, key); });
    options.set.emplace_back(key, text.substr(equals + 1));
}

std::string FileName(const std::string &text)
{
    if (text.empty())
        throw UsageError("must name a file");
    return text;
}

struct Row {
    const char *name;     // behind "--"; null: `help` is a heading
    char letter;          // behind "-"; 0 for none
    const char *argument; // as help shows it; null for none
    const char *help;
    void (*apply)(Options &options, const std::string &value);
};

using Text = const std::string &;

constexpr Row kRows[] = {
    {nullptr, 0, nullptr, "What comes out (as the input, where not given)", nullptr},
    {"rate", 'r', "HZ", "sample rate: 48000, 44.1k", [](Options &o, Text v) { o.rate = Rate(v); }},
    {"channels", 'c', "N", "1, 2, 4, 5, 6 (5.1), 7 (6.1) or 8 (7.1)",
     [](Options &o, Text v) { o.channels = Channels(v); }},
    {"bits", 'b', "BITS", "sample format: 8, 16, 24 or 32 bits, 32f or 64f for floats",
     [](Options &o, Text v) { o.format = Bits(v); }},
    {"type", 't', "TYPE",
     "file type: wav, flac, mp3, ogg, opus, w64, rf64, caf, aiff or au; without it the type is that of "
     "OUTPUT's "
     "extension, or, in a folder, that of the input",
     [](Options &o, Text v) { o.type = Type(v); }},

    {nullptr, 0, nullptr, "How it is made", nullptr},
    {"quality", 0, "NAME",
     "resampler: normal (20 bit), high (28 bit, the default), very-high (32 bit) or best (the most the "
     "resampler has)",
     [](Options &o, Text v) { o.quality = Choose(v, kQualities); }},
    {"filter", 0, "NAME",
     "resampler's pass band: normal (to 0.91 of the way), steep (0.98) or steeper (0.995)",
     [](Options &o, Text v) { o.filter = Choose(v, kFilters); }},
    {"aliasing", 0, nullptr,
     "allow a little aliasing above the pass band, for a shorter filter (44.1 kHz and up)",
     [](Options &o, Text) { o.aliasing = true; }},
    {"dither", 0, "WHEN", "auto (when the sample depth shrinks, the default), on or off",
     [](Options &o, Text v) { o.dither = Choose(v, kDithers); }},
    {"dither-mode", 0, "MODE", "rectangular, triangular (high-pass, the default) or shaped (noise shaping)",
     [](Options &o, Text v) { o.ditherMode = Choose(v, kDitherModes); }},
    {"limiter", 0, "on|off", "turn a mix to fewer channels down for good where it would clip (on)",
     [](Options &o, Text v) { o.limiter = Choose(v, kSwitch); }},
    {"hdcd", 0, "WHEN",
     "decode HDCD in 16 bit stereo: auto (if the first minute has it to some effect), on or off (the "
     "default); decoded "
     "samples are kept in 24 bits unless --bits says otherwise",
     [](Options &o, Text v) { o.hdcd = Choose(v, kHdcds); }},
    {"hdcd-gain", 0, "DB", "gain of decoded HDCD, 0 to 6 dB (6: full scale stays full scale)",
     [](Options &o, Text v) { o.hdcdGain = Number(v, 0, 6); }},

    {nullptr, 0, nullptr,
     "What travels beside the audio (text tags, pictures and chapters; WAV, AIFF, FLAC, Ogg, MP3)", nullptr},
    {"set", 0, "KEY=VALUE", "set a tag; an empty VALUE removes it; can be given again",
     [](Options &o, Text v) { SetTag(o, v); }},
    {"cover", 0, "FILE", "put this BMP or JPEG picture (PNG and GIF as they are) on the front cover",
     [](Options &o, Text v) { o.cover = FileName(v); }},
    {"cover-size", 0, "N", "scale larger pictures, those of the input too, to fit N by N pixels, as JPEG",
     [](Options &o, Text v) { o.coverSize = Number(v, 1, 4096); }},
    {"cover-quality", 0, "N", "JPEG quality of pictures made here, 1 to 100 (90)",
     [](Options &o, Text v) { o.coverQuality = static_cast<int>(Number(v, 1, 100)); }},
    {"chapters", 0, "FILE", "chapters: a line each of start time and name, as 0:03:21.5 Second movement",
     [](Options &o, Text v) { o.chapters = FileName(v); }},
    {"no-tags", 0, nullptr, "leave the input's tags, pictures and chapters behind",
     [](Options &o, Text) { o.tags = false; }},

    {nullptr, 0, nullptr, "What is found out on the way", nullptr},
    {"replaygain", 0, nullptr, "measure loudness and peak, and write the REPLAYGAIN_TRACK tags",
     [](Options &o, Text) { o.replayGain = true; }},
    {"true-peak", 0, nullptr, "the same with the peak between the samples (slower)",
     [](Options &o, Text) { o.replayGain = o.truePeak = true; }},
    {"hash", 0, "sha256|sha512",
     "print the digest of the samples written (with --info: of those read): interleaved, little-endian, in "
     "the file's "
     "sample format, 8 bit unsigned, 24 bit in 3 bytes; those of MP3, Ogg and Opus are 32 bit float, on "
     "their way into "
     "or out of the coder. From 512 MiB of samples on it differs from other programs' digests",
     [](Options &o, Text v) { o.hash = Choose(v, kHashes); }},

    {nullptr, 0, nullptr, "How the program behaves", nullptr},
    {"jobs", 'j', "N", "convert N files at a time", [](Options &o, Text v) { o.jobs = Number(v, 1, 256); }},
    {"info", 'i', nullptr, "tell what each INPUT is, and convert nothing",
     [](Options &o, Text) { o.command = Command::Info; }},
    {"json", 0, nullptr, "tell what was done, or what the files are, as one JSON object",
     [](Options &o, Text) { o.json = true; }},
    {"quiet", 'q', nullptr, "no progress and no summary", [](Options &o, Text) { o.quiet = true; }},
    {"version", 'V', nullptr, "print the version", [](Options &o, Text) { o.command = Command::Version; }},
    {"help", 'h', nullptr, "print this", [](Options &o, Text) { o.command = Command::Help; }},
};

const Row *RowByName(std::string_view name)
{
    const auto *row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row &candidate) {
        return candidate.name && name == candidate.name;
    });
    return row != std::end(kRows) ? row : nullptr;
}

const Row *RowByLetter(char letter)
{
    const auto *row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const Row &candidate) { return candidate.letter == letter; });
    return row != std::end(kRows) && letter != 0 ? row : nullptr;
}

void Apply(const Row &row, Options &options, const std::string &value)
{
    try {
        row.apply(options, value);
    } catch (const UsageError &error) {
        throw UsageError("--" + std::string(row.name) + " " + error.what() + ", not '" + value + "'");
    }
}

// One walk over the arguments.
class Parser {
public:
    explicit Parser(const std::vector<std::string> &arguments) : arguments_(arguments) {}

    Options Run()
    {
        while (next_ < arguments_.size()) {
            const std::string argument = arguments_[next_++];
            if (onlyNames_ || argument.size() < 2 || argument[0] != '-')
                names_.push_back(argument);
            else if (argument == "--")
                onlyNames_ = true;
            else if (argument[1] == '-')
                LongOption(argument.substr(2));
            else
                ShortOptions(argument);
        }
        ShareOutNames();
        return options_;
    }

private:
    std::string NextValue(const std::string &option)
    {
        if (next_ == arguments_.size())
            throw UsageError(option + " needs a value");
        return arguments_[next_++];
    }

    // --name, --name value or --name=value
    void LongOption(const std::string &text)
    {
        const size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        const Row *const row = RowByName(name);
        if (!row)
            throw UsageError("there is no option --" + name);
        if (!row->argument && equals != std::string::npos)
            throw UsageError("--" + name + " takes no value");
        if (!row->argument)
            Apply(*row, options_, "");
        else
            Apply(*row, options_,
                  equals != std::string::npos ? text.substr(equals + 1) : NextValue("--" + name));
    }

    // -q, -qi, -j 4 or -j4
    void ShortOptions(const std::string &argument)
    {
        for (size_t i = 1; i < argument.size(); i++) {
            const Row *const row = RowByLetter(argument[i]);
            if (!row)
                throw UsageError("there is no option -" + argument.substr(i, 1));
            if (row->argument) {
                const bool attached = i + 1 < argument.size();
                Apply(*row, options_,
                      attached ? argument.substr(i + 1) : NextValue("-" + argument.substr(i, 1)));
                return;
            }
            Apply(*row, options_, "");
        }
    }

    void ShareOutNames()
    {
        if (options_.command == Command::Help || options_.command == Command::Version)
            return;
        for (const std::string &name : names_) {
            if (name.empty())
                throw UsageError("a file name is empty");
        }
        if (options_.command == Command::Info) {
            if (names_.empty())
                throw UsageError("--info needs a file");
            options_.inputs = names_;
            return;
        }
        if (names_.empty())
            throw UsageError("an INPUT and an OUTPUT are needed");
        if (names_.size() == 1)
            throw UsageError("an OUTPUT is needed behind " + names_[0]);
        options_.output = names_.back();
        names_.pop_back();
        options_.inputs = names_;
    }

    const std::vector<std::string> &arguments_;
    size_t next_ = 0;
    bool onlyNames_ = false;
    std::vector<std::string> names_;
    Options options_;
};

// Breaks a text into lines of up to `width` characters, all but the first behind `indent` blanks.
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

std::string HelpOfRow(const Row &row)
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

Options ParseOptions(const std::vector<std::string> &arguments)
{
    return Parser(arguments).Run();
}

std::string HelpText()
{
    std::string text = "Usage: tonekit-convert [options] INPUT OUTPUT\n"
                       "       tonekit-convert [options] INPUT... FOLDER\n"
                       "       tonekit-convert --info [options] INPUT...\n"
                       "\n"
                       "Converts audio files between rates, channels, sample formats and file types.\n"
                       "OUTPUT replaces an existing file, but only when it is complete.\n";
    for (const Row &row : kRows)
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
