// run_program_windows.cpp: runs tonekit-convert on Windows.
#include "tests/host/run_program_windows.h"

#include <filesystem>
#include <thread>
#include <windows.h>

namespace tonekit::host::test {

namespace {

constexpr DWORD kLongestRun = 120'000; // milliseconds

std::wstring Wide(const std::string &text)
{
    return std::filesystem::path(std::u8string(text.begin(), text.end())).native();
}

// In quotes, with the backslashes doubled that stand in front of one.
std::string Quoted(const std::string &argument)
{
    std::string quoted = "\"";
    size_t backslashes = 0;
    for (const char letter : argument) {
        if (letter == '"')
            quoted.append(backslashes + 1, '\\');
        backslashes = letter == '\\' ? backslashes + 1 : 0;
        quoted += letter;
    }
    quoted.append(backslashes, '\\');
    return quoted + "\"";
}

// One end for the program to write into, and a thread that gathers what comes out of the other. Lines end as
// tests expect them, without the carriage return that text has on this system.
class Pipe {
public:
    explicit Pipe(std::string &text) : text_(text)
    {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        CreatePipe(&reading_, &writing_, &inherited, 0);
        SetHandleInformation(reading_, HANDLE_FLAG_INHERIT, 0);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe() { CloseHandle(reading_); }

    HANDLE writing() const { return writing_; }

    void Gather()
    {
        CloseHandle(writing_);
        thread_ = std::jthread([this] {
            char buffer[4096];
            DWORD got;
            while (ReadFile(reading_, buffer, sizeof(buffer), &got, nullptr) && got > 0)
                text_.append(buffer, got);
        });
    }

    void Finish()
    {
        thread_.join();
        for (size_t at = 0; (at = text_.find("\r\n", at)) != std::string::npos; at++)
            text_.erase(at, 1);
    }

private:
    std::string &text_;
    HANDLE reading_ = nullptr;
    HANDLE writing_ = nullptr;
    std::jthread thread_;
};

void WaitForEnd(HANDLE process, Outcome &outcome)
{
    if (WaitForSingleObject(process, kLongestRun) != WAIT_OBJECT_0) {
        outcome.err += "the program hung and was ended\n";
        TerminateProcess(process, 255);
        WaitForSingleObject(process, INFINITE);
    }
    DWORD status = 0;
    GetExitCodeProcess(process, &status);
    outcome.status = static_cast<int>(status);
}

} // namespace

Outcome RunHost(const std::vector<std::string> &arguments)
{
    std::string line;
    for (const std::string &argument : arguments)
        line += (line.empty() ? "" : " ") + Quoted(argument);
    return RunCommandLine(line);
}

Outcome RunCommandLine(const std::string &arguments)
{
    Outcome outcome;
    std::wstring commandLine = Wide(Quoted(TONEKIT_CONVERT) + " " + arguments);
    Pipe out(outcome.out);
    Pipe err(outcome.err);
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = out.writing();
    start.hStdError = err.writing();
    PROCESS_INFORMATION process{};
    const BOOL started = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &start, &process);
    out.Gather();
    err.Gather();
    if (started) {
        WaitForEnd(process.hProcess, outcome);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    out.Finish();
    err.Finish();
    return outcome;
}

} // namespace tonekit::host::test
