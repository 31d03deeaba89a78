// options.cpp: one walk over the command line.
#include "host/options.h"

#include "host/failure.h"
#include "host/option_table.h"

namespace tonekit::host {

namespace {

void Apply(const OptionRow &row, Options &options, const std::string &value)
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
        CheckTogether();
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
        const OptionRow *const row = RowByName(name);
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
            const OptionRow *const row = RowByLetter(argument[i]);
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

    // What single options can't know.
    void CheckTogether() const
    {
        if (options_.encoder.bitRate && options_.encoder.vbrQuality)
            throw UsageError("--bitrate and --vbr exclude each other");
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

} // namespace

Options ParseOptions(const std::vector<std::string> &arguments)
{
    return Parser(arguments).Run();
}

} // namespace tonekit::host
