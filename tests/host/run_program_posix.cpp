// run_program_posix.cpp: runs tonekit-convert on a POSIX system.
#include "tests/host/run_program_posix.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tonekit::host::test {

namespace {

// What exec takes. It is made before the fork: as long as other threads run, one of them may hold the
// allocator's lock, which no one in the child would open.
class Command {
public:
    Command(const std::vector<std::string> &arguments, const Circumstances &circumstances)
    {
        // With TONEKIT_TEST_PROCESSOR set, qemu emulates that processor for the program.
        if (const char *const processor = std::getenv("TONEKIT_TEST_PROCESSOR")) {
            program_ = "qemu-x86_64";
            words_ = {program_, "-cpu", processor, TONEKIT_CONVERT};
        } else {
            program_ = TONEKIT_CONVERT;
            words_ = {"tonekit-convert"};
        }
        words_.insert(words_.end(), arguments.begin(), arguments.end());
        for (char **variable = environ; *variable; ++variable)
            variables_.emplace_back(*variable);
        Set("LC_ALL=", circumstances.locale);
        Set("LD_PRELOAD=", circumstances.preload);
        argv_ = Pointers(words_);
        environment_ = Pointers(variables_);
    }
    Command(const Command &) = delete;
    Command &operator=(const Command &) = delete;

    [[noreturn]] void Execute() const
    {
        execvpe(program_, argv_.data(), environment_.data());
        _exit(127);
    }

private:
    // An empty value leaves the variable as it is.
    void Set(const std::string &start, const std::string &value)
    {
        if (value.empty())
            return;
        std::erase_if(variables_, [&](const std::string &variable) { return variable.starts_with(start); });
        variables_.push_back(start + value);
    }

    static std::vector<char *> Pointers(std::vector<std::string> &texts)
    {
        std::vector<char *> pointers;
        for (std::string &text : texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
        return pointers;
    }

    const char *program_;
    std::vector<std::string> words_;
    std::vector<std::string> variables_;
    std::vector<char *> argv_;
    std::vector<char *> environment_;
};

// Calls nothing that allocates.
[[noreturn]] void BecomeProgram(const Command &command, const Circumstances &circumstances)
{
    if (circumstances.fileSizeLimit) {
        const rlimit limit{circumstances.fileSizeLimit, circumstances.fileSizeLimit};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (circumstances.memoryLimit) {
        const rlimit limit{circumstances.memoryLimit, circumstances.memoryLimit};
        setrlimit(RLIMIT_AS, &limit);
    }
    if (circumstances.stackLimit) {
        rlimit limit{};
        getrlimit(RLIMIT_STACK, &limit);
        limit.rlim_cur = circumstances.stackLimit;
        if (circumstances.stackIsFixed)
            limit.rlim_max = circumstances.stackLimit;
        setrlimit(RLIMIT_STACK, &limit);
    }
    if (circumstances.openFiles) {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = circumstances.openFiles;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (circumstances.closedStreams) {
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            close(stream);
    }
    if (circumstances.brokenOutput) {
        int ends[2];
        if (pipe(ends) != 0)
            _exit(127);
        close(ends[0]);
        dup2(ends[1], STDOUT_FILENO);
    }
    if (circumstances.in >= 0)
        dup2(circumstances.in, STDIN_FILENO);
    if (!circumstances.out.empty())
        dup2(open(circumstances.out.c_str(), O_WRONLY), STDOUT_FILENO);
    // Whoever runs the tests may have signals ignored; programs inherit that.
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        signal(number, circumstances.signalIgnored && number == circumstances.signal ? SIG_IGN : SIG_DFL);
    command.Execute();
}

void Finish(pid_t process, const Circumstances &circumstances, Outcome &outcome)
{
    int status = 0;
    rusage usage{};
    wait4(process, &status, 0, &usage);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (circumstances.peakKiB)
        *circumstances.peakKiB = usage.ru_maxrss;
}

// Reads both ends until both are closed.
void Collect(int out, int err, Outcome &outcome)
{
    pollfd ends[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    std::string *texts[2] = {&outcome.out, &outcome.err};
    int open = err >= 0 ? 2 : 1;
    while (open > 0 && poll(ends, 2, -1) > 0) {
        for (int i = 0; i < 2; ++i) {
            if (ends[i].fd < 0 || !(ends[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            char buffer[4096];
            const ssize_t got = read(ends[i].fd, buffer, sizeof(buffer));
            if (got > 0) {
                texts[i]->append(buffer, static_cast<size_t>(got));
            } else {
                close(ends[i].fd);
                ends[i].fd = -1;
                --open;
            }
        }
    }
}

bool HoldsTemporaryFile(const std::string &folder)
{
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with(".tonekit-"))
            return true;
    }
    return false;
}

// Whether each thread of the process sleeps, as one does that waits for a pipe.
bool Sleeps(pid_t process)
{
    const std::string threads = "/proc/" + std::to_string(process) + "/task";
    std::error_code error;
    for (const auto &thread : std::filesystem::directory_iterator(threads, error)) {
        std::string line;
        std::getline(std::ifstream(thread.path() / "stat"), line);
        // The state comes after the name, which is in brackets.
        const size_t end = line.rfind(") ");
        if (end == std::string::npos || line[end + 2] != 'S')
            return false;
    }
    return !error;
}

bool WaitsForMore(pid_t process, int in)
{
    int left = 0;
    return ioctl(in, FIONREAD, &left) == 0 && left == 0 && Sleeps(process);
}

} // namespace

Outcome RunHost(const std::vector<std::string> &arguments)
{
    return RunHostUnder({}, arguments);
}

Outcome RunHostUnder(const Circumstances &circumstances, const std::vector<std::string> &arguments)
{
    Outcome outcome;
    int out[2];
    int err[2];
    if (pipe(out) != 0 || pipe(err) != 0)
        return outcome;
    const Command command(arguments, circumstances);
    const pid_t process = fork();
    if (process == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        for (const int end : {out[0], out[1], err[0], err[1]})
            close(end);
        BecomeProgram(command, circumstances);
    }
    close(out[1]);
    close(err[1]);
    if (circumstances.signal) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        const auto due = [&] {
            return circumstances.watchedFolder.empty() ? WaitsForMore(process, circumstances.in)
                                                       : HoldsTemporaryFile(circumstances.watchedFolder);
        };
        while (!due() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        kill(process, circumstances.signal);
    }
    Collect(out[0], err[0], outcome);
    Finish(process, circumstances, outcome);
    return outcome;
}

Outcome RunHostOnPipes(const std::string &input, const std::vector<std::string> &arguments)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    // A program that ends early must not end the test.
    signal(SIGPIPE, SIG_IGN);
    std::jthread writer([&input, end = ends[1]] {
        for (size_t done = 0; done < input.size();) {
            const ssize_t count = write(end, input.data() + done, input.size() - done);
            if (count <= 0)
                break;
            done += static_cast<size_t>(count);
        }
        close(end);
    });
    Circumstances circumstances;
    circumstances.in = ends[0];
    Outcome outcome = RunHostUnder(circumstances, arguments);
    close(ends[0]);
    return outcome;
}

namespace {

// The leading end of a new pseudo-terminal, or -1 where the system has none, as in a container without
// /dev/pts.
int OpenTerminal()
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || (grantpt(terminal) == 0 && unlockpt(terminal) == 0))
        return terminal;
    close(terminal);
    return -1;
}

} // namespace

bool TerminalsCanBeOpened()
{
    const int terminal = OpenTerminal();
    if (terminal < 0)
        return false;
    close(terminal);
    return true;
}

Outcome RunOnTerminal(const std::vector<std::string> &arguments, unsigned columns)
{
    Outcome outcome;
    const int terminal = OpenTerminal();
    if (terminal < 0)
        return outcome;
    const std::string name = ptsname(terminal);
    const winsize size{25, static_cast<unsigned short>(columns), 0, 0};
    ioctl(terminal, TIOCSWINSZ, &size);
    const Command command(arguments, {});
    const pid_t process = fork();
    if (process == 0) {
        setsid();
        const int end = open(name.c_str(), O_RDWR);
        dup2(end, STDOUT_FILENO);
        dup2(end, STDERR_FILENO);
        BecomeProgram(command, {});
    }
    Collect(terminal, -1, outcome);
    Finish(process, {}, outcome);
    return outcome;
}

} // namespace tonekit::host::test
