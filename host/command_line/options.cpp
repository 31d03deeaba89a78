// options.cpp: one walk over the command line.
#include "host/command_line/options.h"

#include "host/command_line/option_table.h"
#include "host/command_line/spelling.h"
#include "host/system/failure.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tonekit::host {

namespace {

// "; did you mean --rate?" after a name that no option has.
std::string Suggestion(const std::string &name)
{
    std::vector<std::string> names;
    for (const OptionRow &row : OptionRows()) {
        if (row.name)
            names.push_back(row.name);
    }
    const std::string closest = ClosestName(name, names);
    return closest.empty() ? "" : "; did you mean --" + closest + "?";
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
        CheckTogether();
        ShareOutNames();
        return options_;
    }

private:
    void Apply(const OptionRow &row, const std::string &value)
    {
        if (row.changesAudio)
            audioOption_ = &row;
        applied_.push_back(&row);
        try {
            row.apply(options_, value);
        } catch (const UsageError &error) {
            throw UsageError("--" + std::string(row.name) + " " + error.what() + ", not '" + value + "'");
        }
    }

    std::string NextValue(const std::string &option)
    {
        if (next_ == arguments_.size())
            throw UsageError(option + " needs a value");
        return arguments_[next_++];
    }

    // A value that may be missing is known by its word.
    std::string OptionalValue()
    {
        const bool isThere =
            next_ < arguments_.size() && (arguments_[next_] == "track" || arguments_[next_] == "album");
        return isThere ? arguments_[next_++] : "";
    }

    // --name, --name value or --name=value
    void LongOption(const std::string &text)
    {
        const size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        const OptionRow *const row = RowByName(name);
        if (!row)
            throw UsageError("there is no option --" + name + Suggestion(name));
        if (!row->argument && equals != std::string::npos)
            throw UsageError("--" + name + " takes no value");
        if (!row->argument)
            Apply(*row, "");
        else if (row->argument[0] == '[' && equals == std::string::npos)
            Apply(*row, OptionalValue());
        else
            Apply(*row, equals != std::string::npos ? text.substr(equals + 1) : NextValue("--" + name));
    }

    // -q, -qi, -j 4 or -j4
    void ShortOptions(const std::string &argument)
    {
        for (size_t i = 1; i < argument.size(); ++i) {
            const OptionRow *const row = RowByLetter(argument[i]);
            if (!row)
                throw UsageError("there is no option -" + argument.substr(i, 1));
            if (row->argument) {
                const bool attached = i + 1 < argument.size();
                Apply(*row, attached ? argument.substr(i + 1) : NextValue("-" + argument.substr(i, 1)));
                return;
            }
            Apply(*row, "");
        }
    }

    // What single options can't know.
    void CheckTogether() const
    {
        if (options_.encoder.bitRate && options_.encoder.vbrQuality)
            throw UsageError("--bitrate and --vbr exclude each other");
        if (options_.split && (options_.start || options_.end))
            throw UsageError("--split takes all of a file: leave --start and --end out");
        if (options_.cue && options_.chapters)
            throw UsageError("--cue and --chapters exclude each other");
        CheckJoin();
        if (options_.spectrogram && (options_.split || options_.nameTemplate || options_.copyOthers))
            throw UsageError("--spectrogram makes one picture: leave --split, --name and --copy-others out");
        if (options_.spectrogram && options_.command != Command::Convert && !EndsEarly())
            throw UsageError("--spectrogram makes a picture, and --info and --extract-cover don't");
        if (options_.gain != 0 && options_.normalize)
            throw UsageError("--gain and --normalize exclude each other");
        if (options_.normalizeAlbum && !options_.normalize)
            throw UsageError("--normalize-by needs --normalize");
        if (options_.end && *options_.end <= options_.start.value_or(0))
            throw UsageError("--end must be after " +
                             std::string(options_.start ? "--start" : "the start of the audio"));
        if (options_.copyOthers && options_.nameTemplate)
            throw UsageError("--copy-others and --name exclude each other: what isn't audio has no tags");
        if (options_.inPlace && audioOption_)
            throw UsageError("--in-place keeps the audio as it is: leave --" +
                             std::string(audioOption_->name) + " out");
        if (options_.raw && options_.command == Command::ExtractCover)
            throw UsageError("--raw says that there are only samples: --extract-cover finds nothing in them");
        if (options_.command != Command::Convert && !EndsEarly() &&
            (options_.inPlace || !options_.set.empty() || options_.cover || options_.chapters))
            throw UsageError(
                "--info and --extract-cover change nothing: leave --in-place, --set, --cover and "
                "--chapters out");
        const bool changesTags = !options_.tags || !options_.set.empty() || options_.cover ||
                                 options_.coverSize != 0 || options_.chapters || options_.cue ||
                                 options_.replayGain;
        if (options_.inPlace && options_.command == Command::Convert && !changesTags)
            throw UsageError("--in-place needs something to change, such as --set, --cover or --replaygain");
    }

    // All of the inputs become one file.
    void CheckJoin() const
    {
        if (!options_.join)
            return;
        if (options_.split)
            throw UsageError("--join and --split exclude each other");
        if (options_.cue)
            throw UsageError("--join makes the chapters itself: leave --cue out");
        if (options_.start || options_.end)
            throw UsageError("--join takes all of its INPUTs: leave --start and --end out");
        if (options_.nameTemplate || options_.copyOthers)
            throw UsageError("--name and --copy-others make files in a folder: --join makes one file");
    }

    void ShareOutNames()
    {
        if (EndsEarly())
            return;
        for (const std::string &name : names_) {
            if (name.empty())
                throw UsageError("a file name is empty");
        }
        if (options_.command == Command::Info) {
            if (names_.empty())
                throw UsageError("--info needs a file");
            if (std::count(names_.begin(), names_.end(), "-") > 1)
                throw UsageError("- (standard input) can be read once");
            options_.inputs = names_;
            return;
        }
        if (options_.command == Command::ExtractCover) {
            if (names_.size() != 1)
                throw UsageError("--extract-cover takes one INPUT and no OUTPUT");
            if (options_.json)
                throw UsageError("--extract-cover has no report in JSON: leave --json out");
            if (IsStandardStream(names_) || options_.extractCover == "-")
                throw UsageError("--extract-cover goes from file to file: - isn't one");
            options_.inputs = names_;
            return;
        }
        if (options_.inPlace) {
            if (names_.empty())
                throw UsageError("--in-place needs a file");
            if (IsStandardStream(names_))
                throw UsageError("--in-place changes files: - isn't one");
            if (options_.cue && names_.size() > 1)
                throw UsageError("--cue is about one INPUT");
            options_.inputs = names_;
            return;
        }
        if (names_.empty())
            throw UsageError("an INPUT and an OUTPUT are needed");
        if (names_.size() == 1 && options_.spectrogram) {
            CheckPictureAlone();
            options_.inputs = names_;
            return;
        }
        if (names_.size() == 1)
            throw UsageError("an OUTPUT is needed after " + names_[0]);
        if (options_.cue && names_.size() > 2)
            throw UsageError("--cue is about one INPUT");
        options_.output = names_.back();
        names_.pop_back();
        options_.inputs = names_;
        CheckStandardStreams();
    }

    bool EndsEarly() const
    {
        return options_.command == Command::Help || options_.command == Command::Version;
    }

    // Without an output there is nothing that most options could be about.
    void CheckPictureAlone() const
    {
        constexpr std::string_view kOfReading[] = {"spectrogram", "start",    "end",   "raw", "memory",
                                                   "jobs",        "progress", "quiet", "json"};
        for (const OptionRow *row : applied_) {
            if (std::find(std::begin(kOfReading), std::end(kOfReading), row->name) == std::end(kOfReading))
                throw UsageError("--" + std::string(row->name) + " needs an OUTPUT after " + names_[0]);
        }
    }

    // "-" is one stream of samples.
    void CheckStandardStreams() const
    {
        const bool reads = IsStandardStream(options_.inputs);
        const bool writes = options_.output == "-";
        if ((reads || writes) && options_.join)
            throw UsageError("--join goes from files to a file: - isn't one");
        if (reads && options_.inputs.size() > 1)
            throw UsageError("- (standard input) can't be one of several INPUTs");
        if (reads && options_.cue)
            throw UsageError("--cue is about a file: - isn't one");
        if (writes && options_.inputs.size() > 1)
            throw UsageError("- (standard output) takes one INPUT");
        if ((reads || writes) && (options_.nameTemplate || options_.copyOthers))
            throw UsageError("--name and --copy-others make files in a folder: - isn't one");
        if (reads && options_.start && options_.hdcd != HdcdChoice::Off)
            throw UsageError("--hdcd reads what is before --start first: name a file, - is read once");
        if (reads && (options_.albumGain || options_.normalizeAlbum))
            throw UsageError("albums are of files: - (standard input) isn't one");
        if ((reads || writes) && (options_.update || options_.noClobber))
            throw UsageError("--update and --no-clobber compare files: - isn't one");
    }

    static bool IsStandardStream(const std::vector<std::string> &names)
    {
        return std::find(names.begin(), names.end(), "-") != names.end();
    }

    const std::vector<std::string> &arguments_;
    size_t next_ = 0;
    bool onlyNames_ = false;
    std::vector<std::string> names_;
    const OptionRow *audioOption_ = nullptr; // the last one that changes audio
    std::vector<const OptionRow *> applied_;
    Options options_;
};

} // namespace

Options ParseOptions(const std::vector<std::string> &arguments)
{
    return Parser(arguments).Run();
}

} // namespace tonekit::host
