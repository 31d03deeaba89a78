// host_words_fuzz.cpp: arbitrary text as what people write for the program: cue sheets, templates of file
// names, times, descriptions of headerless samples and values of options. Refusals are Failure or UsageError,
// and what is read and written again is the same.
#include "fuzz/input_bytes.h"
#include "host/audio/raw_format.h"
#include "host/audio/time_text.h"
#include "host/command_line/option_values.h"
#include "host/name_template.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/terminal_text.h"
#include "host/tags/cue_sheet.h"
#include "host/tags/tag_block.h"

#include <string>
#include <vector>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::Require;

// The tracks of each file rise, and each file is found by its name or not at all.
void Sheet(const std::string &text)
{
    const CueSheet sheet = ParseCueSheet(text, "sheet");
    Require(!sheet.files.empty());
    for (const CueFile &file : sheet.files) {
        Require(!file.tracks.empty());
        for (size_t i = 1; i < file.tracks.size(); ++i)
            Require(file.tracks[i].position > file.tracks[i - 1].position);
        Require(!TracksOf(sheet, file.name, "sheet").empty());
    }
    TracksOf(sheet, text, "sheet");
}

// A name that every file system takes.
void CheckName(const std::string &name)
{
    Require(!name.empty() && name.size() <= 200 && name.find_first_of("/\\:*?\"<>|") == std::string::npos);
    Require(name.front() != '.' && name.front() != ' ' && name.back() != '.' && name.back() != ' ');
    Require(TerminalText(name) == name);
    Require(SafeName(name) == name);
}

// Names stay in their folder, whatever tags say. The first line is the template, all of it each tag.
void Name(const std::string &text)
{
    CheckName(SafeName(text));
    const NameTemplate names(text.substr(0, text.find('\n')));
    for (const bool known : {false, true}) {
        const auto tag = [&](const std::string &) {
            return known ? std::optional<std::string>(text) : std::nullopt;
        };
        const std::filesystem::path name = names.NameOf(tag, text);
        Require(name.is_relative());
        for (const std::filesystem::path &part : name)
            CheckName(Utf8Name(part));
    }
}

// A time as it is written is read as the nearest millisecond.
void Time(const std::string &text)
{
    uint64_t position = 0;
    if (!ParseTime(text, position))
        return;
    const std::string shown = TimeText(position);
    uint64_t again = 0;
    if (!ParseTime(shown, again))
        return Require(position > uint64_t{1} << 60); // more than a clock shows
    Require((again > position ? again - position : position - again) <= 5'000);
    ChapterTime(position);
}

void Raw(const std::string &text)
{
    const RawFormat part = RawFormatInPart(text);
    Require(part.audio.channels <= 8);
    Require(RawFormatFrom(text) == part);
}

void Value(const std::string &text, uint32_t which)
{
    switch (which) {
    case 0:
        Rate(text);
        break;
    case 1:
        BitRate(text);
        break;
    case 2: {
        const double quality = VbrQuality(text);
        Require(quality >= 0 && quality <= 10);
        break;
    }
    case 3: {
        const uint32_t channels = Channels(text);
        Require(channels >= 1 && channels <= 8);
        break;
    }
    case 4:
        Bits(text);
        break;
    case 5:
        Type(text);
        break;
    case 6: {
        Options options;
        SetTag(options, text);
        SetTag(options, text);
        Require(options.set.size() == 1);
        break;
    }
    case 7:
        ReplayGainOfAlbums(text);
        break;
    case 8:
        Decibels(text);
        break;
    case 9:
        LoudnessTarget(text);
        break;
    case 10:
        Position(text);
        break;
    case 11: {
        Options options;
        SetRawOutput(options, text);
        break;
    }
    case 12:
        FileName(text);
        break;
    case 13:
        Template(text);
        break;
    default: {
        const uint32_t number = Number(text, 2, 4000000000);
        Require(number >= 2 && number <= 4000000000);
        break;
    }
    }
}

void Read(const std::string &text, uint32_t which)
{
    switch (which) {
    case 0:
        return Sheet(text);
    case 1:
        return Name(text);
    case 2:
        return Time(text);
    case 3:
        return Raw(text);
    default:
        return Value(text, which - 4);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    tonekit::fuzz::InputBytes input(data, size);
    const uint32_t which = input.Below(19);
    const std::string text(input.Rest(), input.Rest() + input.Size());
    try {
        Read(text, which);
    } catch (const Failure &) {
        // A text that is refused.
    } catch (const UsageError &error) {
        Require(*error.what() != '\0');
    }
    return 0;
}
