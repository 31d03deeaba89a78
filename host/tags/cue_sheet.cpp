// cue_sheet.cpp: reads cue sheets line by line.
#include "host/tags/cue_sheet.h"

#include "host/system/failure.h"
#include "host/tags/file_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <sstream>

namespace tonekit::host {

namespace {

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// The words of a line; one in quotes may hold blanks.
std::vector<std::string> WordsOf(const std::string &line)
{
    std::vector<std::string> words;
    size_t place = 0;
    while ((place = line.find_first_not_of(" \t\r", place)) != std::string::npos) {
        const bool quoted = line[place] == '"';
        const size_t start = place + (quoted ? 1 : 0);
        const size_t end = std::min(line.find_first_of(quoted ? "\"" : " \t\r", start), line.size());
        words.push_back(line.substr(start, end - start));
        place = std::min(end + 1, line.size());
    }
    return words;
}

std::optional<uint64_t> NumberIn(const std::string &text, size_t longest)
{
    uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && text.size() <= longest ? std::optional(number)
                                                                         : std::nullopt;
}

// mm:ss:ff, with 75 frames in a second, in units of 100 ns
std::optional<uint64_t> TimeIn(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> parts;
    for (std::string part; std::getline(stream, part, ':');)
        parts.push_back(part);
    if (parts.size() != 3)
        return std::nullopt;
    const auto minutes = NumberIn(parts[0], 6);
    const auto seconds = NumberIn(parts[1], 2);
    const auto frames = NumberIn(parts[2], 2);
    if (!minutes || !seconds || !frames || *seconds > 59 || *frames > 74)
        return std::nullopt;
    return (*minutes * 60 + *seconds) * 10'000'000 + (*frames * 10'000'000 + 37) / 75;
}

std::string StemOf(const std::string &name)
{
    const std::string file = name.substr(name.find_last_of("/\\") + 1);
    return Lower(file.substr(0, file.rfind('.')));
}

class Parser {
public:
    explicit Parser(const std::string &name) : name_(name) {}

    CueSheet Run(const std::string &text)
    {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line); ++number_)
            Take(WordsOf(line));
        EndTrack();
        std::erase_if(sheet_.files, [](const CueFile &file) { return file.tracks.empty(); });
        if (sheet_.files.empty())
            throw Failure(name_ + ": holds no tracks");
        return std::move(sheet_);
    }

private:
    [[noreturn]] void Fail(const std::string &what) const
    {
        throw Failure(name_ + ", line " + std::to_string(number_) + ": " + what);
    }

    void Take(const std::vector<std::string> &words)
    {
        const std::string command = words.empty() ? "" : Lower(words[0]);
        const std::string value = words.size() > 1 ? words[1] : "";
        if (command == "file") {
            EndTrack();
            sheet_.files.push_back({value, {}});
        } else if (command == "track") {
            EndTrack();
            BeginTrack(words);
        } else if (command == "index") {
            Index(words);
        } else if (command == "title") {
            (track_ ? track_->title : sheet_.title) = value;
        } else if (command == "performer") {
            (track_ ? track_->performer : sheet_.performer) = value;
        } else if (command == "isrc" && track_) {
            track_->isrc = value;
        } else if (command == "rem" && words.size() > 2 && !track_ &&
                   (Lower(value) == "date" || Lower(value) == "genre")) {
            sheet_.remarks.emplace_back(Lower(value) == "date" ? "DATE" : "GENRE", words[2]);
        }
    }

    void BeginTrack(const std::vector<std::string> &words)
    {
        const auto number = words.size() > 1 ? NumberIn(words[1], 3) : std::nullopt;
        if (!number)
            Fail("a track has a number and a type, as in TRACK 01 AUDIO");
        if (sheet_.files.empty())
            Fail("a FILE comes before its tracks");
        track_ = CueTrack{static_cast<unsigned>(*number), 0, "", ""};
        audio_ = words.size() < 3 || Lower(words[2]) == "audio";
        start_.reset();
    }

    void Index(const std::vector<std::string> &words)
    {
        if (!track_)
            Fail("a TRACK comes before its indexes");
        const auto number = words.size() > 1 ? NumberIn(words[1], 2) : std::nullopt;
        const auto time = words.size() > 2 ? TimeIn(words[2]) : std::nullopt;
        if (!number || !time)
            Fail("an index has a number and a time, as in INDEX 01 03:21:74");
        if (*number == 1)
            start_ = time;
    }

    void EndTrack()
    {
        if (track_ && audio_) {
            if (!start_)
                throw Failure(name_ + ": track " + std::to_string(track_->number) + " has no INDEX 01");
            track_->position = *start_;
            std::vector<CueTrack> &tracks = sheet_.files.back().tracks;
            if (!tracks.empty() && track_->position <= tracks.back().position)
                throw Failure(name_ + ": track " + std::to_string(track_->number) +
                              " doesn't begin after the one before it");
            tracks.push_back(*track_);
        }
        track_.reset();
    }

    const std::string name_;
    int number_ = 1;
    CueSheet sheet_;
    std::optional<CueTrack> track_;
    bool audio_ = true;
    std::optional<uint64_t> start_;
};

} // namespace

CueSheet ParseCueSheet(const std::string &bytes, const std::string &name)
{
    return Parser(name).Run(TextOfFile(bytes));
}

std::vector<CueTrack> TracksOf(const CueSheet &sheet, const std::string &audio, const std::string &name)
{
    if (sheet.files.size() == 1)
        return sheet.files[0].tracks;
    for (const CueFile &file : sheet.files) {
        if (StemOf(file.name) == StemOf(audio))
            return file.tracks;
    }
    throw Failure(name + ": none of its files is " + audio);
}

} // namespace tonekit::host
