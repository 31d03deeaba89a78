// host_texts_fuzz.cpp: arbitrary text as a list of chapters, as the values of a report, and on its way to the
// terminal. What is written as JSON has balanced brackets and quotes, and no byte below a blank but line
// ends.
#include <string>

#include "fuzz/input_bytes.h"
#include "host/extras.h"
#include "host/failure.h"
#include "host/report.h"
#include "host/terminal_text.h"

namespace {

using namespace tonekit::host;
using tonekit::fuzz::Require;

// Walks over a JSON text by its quotes and brackets.
void CheckJson(const std::string &text)
{
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        Require(c >= 0x20 || (c == '\n' && !quoted));
        if (quoted && c == '\\')
            ++i;
        else if (c == '"')
            quoted = !quoted;
        else if (!quoted && (c == '{' || c == '['))
            ++depth;
        else if (!quoted && (c == '}' || c == ']'))
            Require(--depth >= 0);
    }
    Require(depth == 0 && !quoted);
}

// What a terminal gets has nothing that it obeys, and no more columns than asked for.
void CheckTerminalText(const std::string &text, std::size_t columns)
{
    const std::string shown = TerminalText(text);
    for (const char c : shown)
        Require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
    Require(ColumnsOf(CutToColumns(shown, columns)) <= columns);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    try {
        const auto chapters = ParseChapters(text, "list");
        Require(chapters.size() <= text.size());
    } catch (const Failure &) {
        // A list that is refused.
    }
    ConversionReport report;
    report.input.path = text;
    report.input.type = text.substr(0, size / 2);
    report.output.path = text.substr(size / 2);
    report.warnings = {text, ""};
    report.error = size % 2 == 0 ? "" : text;
    report.seconds = size == 0 ? 0 : data[0];
    CheckJson(ReportJson({report}, 1));
    CheckJson(ReportJson({report, report}, 1));
    ReportText(report);
    CheckTerminalText(text, size == 0 ? 0 : data[size - 1]);
    return 0;
}
