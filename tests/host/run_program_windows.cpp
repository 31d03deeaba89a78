// run_program_windows.cpp: runs tonekit-convert on Windows.
#include "tests/host/run_program_windows.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <thread>
#include <windows.h>

namespace tonekit::host::test {

namespace {

constexpr DWORD kLongestRun = 120'000; // milliseconds

std::wstring Wide(const std::string &text)
{
    return std::filesystem::path(std::u8string(text.begin(), text.end())).native();
}

// In quotes, with the backslashes before one doubled.
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

// One end for the program to write into, and a thread that collects what the other returns. Lines end as
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

    void Join() { thread_.join(); }

    void Finish()
    {
        Join();
        for (size_t at = 0; (at = text_.find("\r\n", at)) != std::string::npos; ++at)
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

std::string JoinedArguments(const std::vector<std::string> &arguments)
{
    std::string line;
    for (const std::string &argument : arguments)
        line += (line.empty() ? "" : " ") + Quoted(argument);
    return line;
}

// Makes a program's standard input, and writes into it from a thread of its own.
class InputPipe {
public:
    explicit InputPipe(const std::string &bytes) : bytes_(bytes)
    {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        CreatePipe(&reading_, &writing_, &inherited, 0);
        SetHandleInformation(writing_, HANDLE_FLAG_INHERIT, 0);
    }
    InputPipe(const InputPipe &) = delete;
    InputPipe &operator=(const InputPipe &) = delete;

    HANDLE reading() const { return reading_; }

    void Feed()
    {
        CloseHandle(reading_);
        thread_ = std::jthread([this] {
            DWORD written = 0;
            for (size_t done = 0; done < bytes_.size(); done += written) {
                const auto size = static_cast<DWORD>(std::min<size_t>(bytes_.size() - done, 65536));
                if (!WriteFile(writing_, bytes_.data() + done, size, &written, nullptr))
                    break;
            }
            CloseHandle(writing_);
        });
    }

private:
    const std::string &bytes_;
    HANDLE reading_ = nullptr;
    HANDLE writing_ = nullptr;
    std::jthread thread_;
};

// Starts a program, whose handles it inherits, and says why if it can't. Of some thousand starts Wine fails
// in one before the program's first instruction, with an error that Windows doesn't give there: such a start
// is made again.
bool Start(const std::wstring &commandLine, STARTUPINFOW &start, PROCESS_INFORMATION &process,
           std::string &why)
{
    constexpr int kStarts = 3;
    DWORD error = ERROR_INTERNAL_ERROR;
    for (int i = 0; i < kStarts && error == ERROR_INTERNAL_ERROR; ++i) {
        std::wstring line = commandLine; // which may be changed
        if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                           &process))
            return true;
        error = GetLastError();
    }
    why = "the program can't be started: error " + std::to_string(error) + "\n";
    return false;
}

// With `input`, output comes as bytes.
Outcome Run(const std::string &arguments, const std::string *input)
{
    Outcome outcome;
    const std::wstring commandLine = Wide(Quoted(TONEKIT_CONVERT) + " " + arguments);
    Pipe out(outcome.out);
    Pipe err(outcome.err);
    std::optional<InputPipe> in;
    if (input)
        in.emplace(*input);
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = in ? in->reading() : nullptr;
    start.hStdOutput = out.writing();
    start.hStdError = err.writing();
    PROCESS_INFORMATION process{};
    std::string notStarted;
    const bool started = Start(commandLine, start, process, notStarted);
    if (in)
        in->Feed();
    out.Gather();
    err.Gather();
    if (started) {
        WaitForEnd(process.hProcess, outcome);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    if (input)
        out.Join();
    else
        out.Finish();
    err.Finish();
    outcome.err += notStarted;
    return outcome;
}

} // namespace

Outcome RunHost(const std::vector<std::string> &arguments)
{
    return RunCommandLine(JoinedArguments(arguments));
}

Outcome RunHostOnPipes(const std::string &input, const std::vector<std::string> &arguments)
{
    return Run(JoinedArguments(arguments), &input);
}

Outcome RunCommandLine(const std::string &arguments)
{
    return Run(arguments, nullptr);
}

} // namespace tonekit::host::test
