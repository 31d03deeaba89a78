// main.cpp: tonekit-convert.
#include "host/batch.h"
#include "host/command_line/options.h"
#include "host/extract_cover.h"
#include "host/file_info.h"
#include "host/jobs.h"
#include "host/open_source.h"
#include "host/processing/bodies.h"
#include "host/report/report.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/system/paths.h"
#include "host/system/platform.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <tonekit/frame.h>
#include <utility>
#include <vector>

namespace tonekit::host {

namespace {

int Convert(const Options &options)
{
    const std::vector<Job> jobs = MakeJobs(options);
    NoteInterrupts();
    Console console(options.progress == ProgressChoice::Auto && !options.quiet,
                    options.output == kStandardStream);
    return RunJobs(options, LoadExtras(options), jobs, console);
}

// One file's trouble, lack of memory too, is its own.
FileInfo Look(const Options &options, const std::filesystem::path &input)
{
    FileInfo info;
    info.stream.path = Utf8Name(input);
    try {
        return LookAt(options, input);
    } catch (const Interrupted &) {
        throw;
    } catch (const std::bad_alloc &) {
        info.error = Utf8Name(input) + ": not enough memory";
    } catch (const std::exception &error) {
        info.error = error.what();
    }
    return info;
}

int Extract(const Options &options)
{
    NoteInterrupts();
    Console console(false);
    std::vector<std::string> warnings;
    const std::string line = ExtractCover(options, warnings);
    for (const std::string &warning : warnings)
        console.Complain("warning: " + warning);
    if (!options.quiet)
        console.Say(line);
    return 0;
}

int Inform(const Options &options)
{
    NoteInterrupts();
    Console console(false);
    std::vector<FileInfo> infos;
    for (const std::filesystem::path &input : FilesToLookAt(options)) {
        FileInfo info = Look(options, input);
        if (!info.error.empty())
            console.Complain(info.error);
        for (const std::string &warning : info.warnings)
            console.Complain("warning: " + warning);
        if (!options.json && info.error.empty())
            console.Say((infos.empty() ? "" : "\n") + InfoText(info));
        infos.push_back(std::move(info));
    }
    if (options.json)
        console.Say(InfoJson(infos));
    return std::all_of(infos.begin(), infos.end(), [](const FileInfo &info) { return info.error.empty(); })
               ? 0
               : 1;
}

int Run(const Options &options)
{
    SetMemoryLimit(uint64_t{options.memoryMiB} << 20);
    SetDSDPCMGain(options.dsdGain);
    if (options.bodies)
        UseBodies(*options.bodies);
    switch (options.command) {
    case Command::Help:
        Print(stdout, HelpText());
        return 0;
    case Command::Version:
        Print(stdout, "tonekit-convert " TONEKIT_VERSION_STRING "\n");
        return 0;
    case Command::Info:
        return Inform(options);
    case Command::ExtractCover:
        return Extract(options);
    case Command::Convert:
        return Convert(options);
    }
    return 0;
}

void Complain(const std::string &text)
{
    Print(stderr, "tonekit-convert: " + TerminalText(text) + "\n");
}

// Programs that read the report get one where nothing was done, too.
int Report(const Options &options, int status, const std::string &error)
{
    Complain(error + (status == 2 ? " (see --help)" : ""));
    try {
        if (options.json)
            Print(options.output == kStandardStream ? stderr : stdout, FailureJson(error) + "\n");
    } catch (const std::bad_alloc &) {
        // The line has to do.
    }
    return status;
}

} // namespace

int Main(int argc, char **argv)
{
    KeepStandardStreams();
    SilenceLibraries();
    KeepFreedMemory();
    SpareAddressSpace();
    AllowOpenFiles();
    ReserveStack();
    Options options;
    try {
        options = ParseOptions(Utf8Arguments(argc, argv));
        const int status = OnReservedStack([&] { return Run(options); });
        if (std::ferror(stdout))
            throw Failure("standard output can't be written");
        return status;
    } catch (const UsageError &error) {
        return Report(options, 2, error.what());
    } catch (const Interrupted &) {
        Complain("interrupted");
        EndAsInterrupted();
    } catch (const std::bad_alloc &) {
        return Report(options, 1, "not enough memory");
    } catch (const std::exception &error) {
        return Report(options, 1, error.what());
    }
}

} // namespace tonekit::host

int main(int argc, char **argv)
{
    return tonekit::host::Main(argc, argv);
}
