// completions.cpp: the table of options in the languages of three shells.
#include "host/command_line/completions.h"

#include "host/command_line/option_table.h"

#include <string_view>

namespace tonekit::host {

namespace {

std::string Words(const OptionRow &row)
{
    std::string words;
    if (row.values) {
        for (const std::string &value : row.values())
            words += (words.empty() ? "" : " ") + value;
    }
    return words;
}

bool TakesFile(const OptionRow &row)
{
    return row.argument && std::string_view(row.argument) == "FILE";
}

bool MayGoWithout(const OptionRow &row)
{
    return row.argument && row.argument[0] == '[';
}

// The first words of the help, for lists of a line each.
std::string Summary(const OptionRow &row)
{
    const std::string help = row.help;
    return help.substr(0, help.find("; "));
}

// The text with a backslash before each of these characters.
std::string Escaped(const std::string &text, std::string_view special)
{
    std::string escaped;
    for (const char c : text)
        escaped += (special.find(c) != std::string_view::npos ? "\\" : "") + std::string(1, c);
    return escaped;
}

// The text as one word of bash and zsh.
std::string Quoted(const std::string &text)
{
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string NamesOf(const OptionRow &row, const char *between)
{
    const std::string name = std::string("--") + row.name;
    return row.letter ? std::string("-") + row.letter + between + name : name;
}

std::string ZshRow(const OptionRow &row)
{
    std::string argument;
    if (row.argument) {
        argument = (MayGoWithout(row) ? "::" : ":") + Escaped(row.argument, "[]:") + ":";
        const std::string words = Words(row);
        argument += TakesFile(row) ? "_files" : words.empty() ? " " : "(" + words + ")";
    }
    const std::string rest = "[" + Escaped(Summary(row), "[]:\\") + "]" + argument;
    std::string lines;
    if (row.letter)
        lines +=
            "        " + Quoted(std::string("*-") + row.letter + (row.argument ? "+" : "") + rest) + " \\\n";
    const char *const between = row.argument && !MayGoWithout(row) ? "=" : "";
    return lines + "        " + Quoted("*--" + std::string(row.name) + between + rest) + " \\\n";
}

std::string FishRow(const OptionRow &row)
{
    std::string line = "complete -c tonekit-convert";
    if (row.letter)
        line += std::string(" -s ") + row.letter;
    line += std::string(" -l ") + row.name;
    if (TakesFile(row))
        line += " -r -F";
    else if (row.argument && !MayGoWithout(row))
        line += " -x";
    if (const std::string words = Words(row); !words.empty() && !MayGoWithout(row))
        line += " -a '" + words + "'";
    return line + " -d '" + Escaped(Summary(row), "\\'") + "'\n";
}

} // namespace

std::string BashCompletion()
{
    std::string cases;
    std::string options;
    for (const OptionRow &row : OptionRows()) {
        if (!row.name)
            continue;
        options += (options.empty() ? "--" : " --") + std::string(row.name);
        if (!row.argument)
            continue;
        const std::string words = Words(row);
        cases += "    " + NamesOf(row, " | ") + ") ";
        if (TakesFile(row))
            cases += "kind=file ;;\n";
        else if (MayGoWithout(row))
            cases += "kind=any words='" + words + "' ;;\n";
        else
            cases += "kind=word words='" + words + "' ;;\n";
    }
    return R"(# bash completion of tonekit-convert, made from its table of options
_tonekit_convert()
{
    local word=${COMP_WORDS[COMP_CWORD]} before="" kind=any words=""
    [ "$COMP_CWORD" -eq 0 ] || before=${COMP_WORDS[COMP_CWORD - 1]}
    # --name=value comes as three words.
    if [ "$word" = "=" ]; then
        word=""
    elif [ "$before" = "=" ] && [ "$COMP_CWORD" -ge 2 ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case "$before" in
)" + cases +
           R"(    esac
    if [ "$kind" = any ] && [[ "$word" == -* ]]; then
        kind=word words=')" +
           options + R"('
    fi
    COMPREPLY=()
    local reply
    while IFS= read -r reply; do
        COMPREPLY+=("$reply")
    done < <(compgen -W "$words" -- "$word"
        [ "$kind" = word ] || compgen -f -- "$word")
    [ "$kind" = word ] || compopt -o filenames 2>/dev/null
}
complete -F _tonekit_convert tonekit-convert
)";
}

std::string ZshCompletion()
{
    std::string rows;
    for (const OptionRow &row : OptionRows()) {
        if (row.name)
            rows += ZshRow(row);
    }
    return "#compdef tonekit-convert\n"
           "# zsh completion of tonekit-convert, made from its table of options\n"
           "_tonekit_convert()\n"
           "{\n"
           "    _arguments -s -S \\\n" +
           rows +
           "        '*:file:_files'\n"
           "}\n"
           "_tonekit_convert \"$@\"\n";
}

std::string FishCompletion()
{
    std::string text = "# fish completion of tonekit-convert, made from its table of options\n";
    for (const OptionRow &row : OptionRows()) {
        if (row.name)
            text += FishRow(row);
    }
    return text;
}

} // namespace tonekit::host
