// platform_posix.cpp: the platform's services on POSIX systems.
#include "host/system/platform.h"

#include "host/system/terminal_drawing.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <dirent.h>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <locale.h>
#include <malloc.h>
#include <memory>
#include <pthread.h>
#include <string_view>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tonekit::host {

namespace {

std::error_code LastError()
{
    return std::error_code(errno, std::generic_category());
}

// Again for as long as a signal is all that keeps the call from its work. A noted one ends it: a pipe whose
// other end is silent must not hold an interrupt up.
template <class Call>
auto Uninterrupted(Call call)
{
    decltype(call()) result;
    do {
        result = call();
    } while (result < 0 && errno == EINTR && !InterruptNoted());
    return result;
}

int Open(const std::filesystem::path &path, int flags, mode_t mode = 0)
{
    return Uninterrupted([&] { return open(path.c_str(), flags | O_CLOEXEC, mode); });
}

std::atomic<int> notedSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may only touch lock-free atomics");

extern "C" void NoteSignal(int number)
{
    notedSignal.store(number, std::memory_order_relaxed);
}

// Standard error, where another stream is in its place.
std::FILE *ownMessages = nullptr;

#ifdef __GLIBC__
ssize_t Swallow(void *, const char *, size_t size)
{
    return static_cast<ssize_t>(size);
}
#endif

// More than libraries take of a stack at once: of Ogg Vorbis 256 KiB.
constexpr size_t kStackInUse = size_t{512} << 10;
constexpr size_t kStack = 4 * kStackInUse;

// The system gives the place in a stack that is used, and all before it.
[[gnu::noinline]] void GrowStack()
{
    volatile unsigned char room[kStackInUse];
    room[0] = 0;
    static_cast<void>(room[0]);
}

#ifdef __GLIBC__
void SetStackOfThreads(size_t size)
{
    pthread_attr_t attributes;
    if (pthread_getattr_default_np(&attributes) != 0)
        return;
    if (pthread_attr_setstacksize(&attributes, size) == 0)
        pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}
#endif

} // namespace

std::error_code File::OpenToRead(const std::filesystem::path &path)
{
    handle_ = Open(path, O_RDONLY);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::OpenToChange(const std::filesystem::path &path)
{
    handle_ = Open(path, O_RDWR);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::OpenStandardInput()
{
    handle_ = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::OpenStandardOutput()
{
    handle_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::CreateNew(const std::filesystem::path &path, std::filesystem::perms widest)
{
    handle_ = Open(path, O_RDWR | O_CREAT | O_EXCL, static_cast<mode_t>(widest) & 0777);
    isNew_ = true;
    return IsOpen() ? std::error_code() : LastError();
}

// A lock belongs to the open file, and goes with the last descriptor of it, however the process ends.
bool File::MarkAsInWork(File &mark) const
{
    if (flock(handle_, LOCK_EX | LOCK_NB) != 0)
        return errno != EWOULDBLOCK;
    struct stat status;
    if (fstat(handle_, &status) == 0 && status.st_nlink == 0)
        return false;
    mark.Close();
    mark.handle_ = fcntl(handle_, F_DUPFD_CLOEXEC, 0);
    return true;
}

std::error_code File::Read(void *buffer, size_t size, size_t &got)
{
    got = 0;
    while (got < size) {
        const ssize_t count =
            Uninterrupted([&] { return read(handle_, static_cast<char *>(buffer) + got, size - got); });
        if (count == 0)
            break;
        if (count < 0)
            return LastError();
        got += static_cast<size_t>(count);
    }
    return {};
}

std::error_code File::Write(const void *data, size_t size)
{
    size_t done = 0;
    while (done < size) {
        const ssize_t count = Uninterrupted(
            [&] { return write(handle_, static_cast<const char *>(data) + done, size - done); });
        if (count < 0)
            return LastError();
        done += static_cast<size_t>(count);
    }
    CountWritten(size);
    return {};
}

// Waiting for a whole long file at its end would take as long again as writing it.
void File::CountWritten(size_t bytes)
{
    constexpr uint64_t kEnough = uint64_t{8} << 20;
    unstored_ += bytes;
    if (isNew_ && unstored_ >= kEnough)
        BeginToStore();
}

void File::BeginToStore()
{
#ifdef SYNC_FILE_RANGE_WRITE
    // From the start to the end, of which the system takes what it hasn't stored yet.
    sync_file_range(handle_, 0, 0, SYNC_FILE_RANGE_WRITE);
#endif
    unstored_ = 0;
}

std::error_code File::SeekTo(uint64_t position)
{
    return lseek(handle_, static_cast<off_t>(position), SEEK_SET) < 0 ? LastError() : std::error_code();
}

std::error_code File::Tell(uint64_t &position)
{
    const off_t now = lseek(handle_, 0, SEEK_CUR);
    if (now < 0)
        return LastError();
    position = static_cast<uint64_t>(now);
    return {};
}

std::error_code File::Size(uint64_t &size)
{
    struct stat status;
    if (fstat(handle_, &status) != 0)
        return LastError();
    size = static_cast<uint64_t>(status.st_size);
    return {};
}

std::error_code File::Sync()
{
    const int result = Uninterrupted([&] { return fsync(handle_); });
    // Some file systems can't; what they have to say is said elsewhere.
    return result != 0 && errno != EINVAL && errno != ENOSYS && errno != ENOTSUP ? LastError()
                                                                                 : std::error_code();
}

std::error_code File::Truncate(uint64_t size)
{
    const int result = Uninterrupted([&] { return ftruncate(handle_, static_cast<off_t>(size)); });
    return result != 0 ? LastError() : std::error_code();
}

std::error_code File::Close()
{
    const int handle = std::exchange(handle_, -1);
    // An interrupted call has closed the file all the same.
    return handle >= 0 && close(handle) != 0 && errno != EINTR ? LastError() : std::error_code();
}

std::error_code MoveInPlaceOf(const std::filesystem::path &from, const std::filesystem::path &to)
{
    return rename(from.c_str(), to.c_str()) != 0 ? LastError() : std::error_code();
}

void TakeOverDetails(const std::filesystem::path &from, const std::filesystem::path &to)
{
    struct stat old;
    struct stat made;
    if (stat(from.c_str(), &old) != 0 || stat(to.c_str(), &made) != 0)
        return;
    // Only the superuser gives files away; a group can be one of the user's.
    bool kept = old.st_uid == made.st_uid && old.st_gid == made.st_gid;
    kept = kept || chown(to.c_str(), old.st_uid, old.st_gid) == 0;
    kept = kept || chown(to.c_str(), static_cast<uid_t>(-1), old.st_gid) == 0;
    const ssize_t size = listxattr(from.c_str(), nullptr, 0);
    if (size <= 0)
        return;
    std::string names(static_cast<size_t>(size), '\0');
    const ssize_t got = listxattr(from.c_str(), names.data(), names.size());
    names.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
    std::vector<char> value(size_t{64} << 10); // the most that the system has
    for (size_t place = 0; place < names.size(); place = names.find('\0', place) + 1) {
        const char *const name = &names[place];
        const std::string_view word(name);
        // A list of rights begins with those of the group.
        if (!word.starts_with("user.") && !(kept && word == "system.posix_acl_access"))
            continue;
        const ssize_t length = getxattr(from.c_str(), name, value.data(), value.size());
        if (length >= 0)
            setxattr(to.c_str(), name, value.data(), static_cast<size_t>(length), 0);
    }
}

void RemoveIfLeftBehind(const std::filesystem::path &path)
{
    const int handle = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (handle < 0)
        return;
    struct stat status;
    if (fstat(handle, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
        flock(handle, LOCK_EX | LOCK_NB) == 0)
        unlink(path.c_str());
    close(handle);
}

std::error_code NamesIn(const std::filesystem::path &folder, std::vector<std::filesystem::path> &names)
{
    struct CloseFolder {
        void operator()(DIR *open) const { closedir(open); }
    };
    const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
    if (!open)
        return LastError();
    for (;;) {
        errno = 0;
        const dirent *const entry = readdir(open.get());
        if (!entry)
            return errno != 0 ? LastError() : std::error_code();
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.emplace_back(entry->d_name);
    }
}

std::error_code StateOf(const std::filesystem::path &path, FileState &state)
{
    constexpr int64_t kNanoseconds = 1'000'000'000;
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return LastError();
    state = {{static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino)},
             static_cast<uint64_t>(status.st_size),
             status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
    return {};
}

std::error_code CountNames(const std::filesystem::path &path, uint64_t &names)
{
    std::error_code error;
    names = std::filesystem::hard_link_count(path, error);
    return error;
}

std::filesystem::path WithoutLinks(const std::filesystem::path &path)
{
    namespace fs = std::filesystem;
    fs::path name = path;
    constexpr int kLongestChain = 40; // as the system's own limit
    std::error_code error;
    for (int i = 0; i < kLongestChain && fs::is_symlink(fs::symlink_status(name, error)); ++i) {
        const fs::path next = fs::read_symlink(name, error);
        if (error)
            break;
        name = next.is_absolute() ? next : name.parent_path() / next;
    }
    return name;
}

std::filesystem::path ComparableName(const std::filesystem::path &path)
{
    return path;
}

bool MayWrite(const std::filesystem::path &path)
{
    return access(path.c_str(), W_OK) == 0;
}

size_t SizeOfAllocation(void *memory)
{
    return malloc_usable_size(memory);
}

void KeepStandardStreams()
{
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The null device, opened the wrong way round, so that writing fails as it does on a closed stream.
        const int mode = number == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (fcntl(number, F_GETFD) < 0 && errno == EBADF && open("/dev/null", mode) != number)
            _exit(EXIT_FAILURE); // nowhere to say why
    }
}

void KeepFreedMemory()
{
#ifdef __GLIBC__
    // More than the buffers of a conversion take, of each thread.
    mallopt(M_MMAP_THRESHOLD, 4 << 20);
    mallopt(M_TRIM_THRESHOLD, 16 << 20);
#endif
}

void SpareAddressSpace()
{
#ifdef __GLIBC__
    constexpr rlim_t kHeap = rlim_t{64} << 20; // that the GNU C library reserves
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
        mallopt(M_ARENA_MAX, static_cast<int>(std::clamp<rlim_t>(limit.rlim_cur / (8 * kHeap), 1, 1024)));
#endif
}

void AllowOpenFiles()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

void ReserveStack()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_STACK, &limit) != 0)
        return;
    if (limit.rlim_cur < kStack) {
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, kStack);
        setrlimit(RLIMIT_STACK, &limit);
#ifdef __GLIBC__
        SetStackOfThreads(kStack); // which the limit isn't of
#endif
    }
    // Only a look: where there is no memory, the stack can't grow.
    void *const room = mmap(nullptr, kStackInUse, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED)
        return;
    munmap(room, kStackInUse);
    if (limit.rlim_cur >= 2 * kStackInUse)
        GrowStack();
}

int OnReservedStack(const std::function<int()> &work)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur >= kStack)
        return work();
    int status = EXIT_FAILURE;
    std::exception_ptr failure;
    std::thread([&] {
        try {
            status = work();
        } catch (...) {
            failure = std::current_exception();
        }
    }).join();
    if (failure)
        std::rethrow_exception(failure);
    return status;
}

void SilenceLibraries()
{
#ifdef __GLIBC__
    // The GNU C library lets programs put another stream in the place of its own.
    if (std::FILE *const nowhere = fopencookie(nullptr, "w", {nullptr, Swallow, nullptr, nullptr})) {
        ownMessages = stderr;
        stderr = nowhere;
    }
#endif
}

std::vector<std::string> Utf8Arguments(int argc, char **argv)
{
    return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

void *LibraryFunction(void *neighbour, const std::string &name)
{
    Dl_info info;
    if (!dladdr(neighbour, &info))
        return nullptr;
    // Opened for good already; the loader only counts it.
    void *const library = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    if (!library)
        return nullptr;
    void *const function = dlsym(library, name.c_str());
    dlclose(library);
    return function;
}

void Print(std::FILE *stream, const std::string &text)
{
    std::FILE *const place = stream == stderr && ownMessages ? ownMessages : stream;
    std::fputs(text.c_str(), place);
    std::fflush(place);
}

bool StandardOutputIsTerminal()
{
    return isatty(STDOUT_FILENO) == 1;
}

bool StandardErrorIsTerminal()
{
    const char *const kind = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && !(kind && std::string_view(kind) == "dumb");
}

void DrawStatus(const std::vector<std::string> &lines)
{
    Print(stderr, TerminalDrawing(lines));
}

TerminalSize SizeOfTerminal()
{
    TerminalSize known;
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0)
        return known;
    if (size.ws_col > 0)
        known.columns = size.ws_col;
    if (size.ws_row > 0)
        known.rows = size.ws_row;
    return known;
}

// The C library has the width of characters, whatever the user's locale is.
unsigned ColumnsOfCharacter(uint32_t code)
{
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (unicode == locale_t{})
        return 1;
    const locale_t users = uselocale(unicode);
    const int columns = wcwidth(static_cast<wchar_t>(code));
    uselocale(users);
    // What it doesn't know takes one column, if any.
    return columns < 0 ? 1 : static_cast<unsigned>(columns);
}

void NoteInterrupts()
{
    struct sigaction note {};
    note.sa_handler = NoteSignal;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        // A shell that starts a job in the background, or nohup, has these ignored on purpose.
        struct sigaction present {};
        if (sigaction(number, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            sigaction(number, &note, nullptr);
    }
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

bool InterruptNoted()
{
    return notedSignal.load(std::memory_order_relaxed) != 0;
}

void EndAsInterrupted()
{
    const int number = notedSignal.load(std::memory_order_relaxed);
    signal(number, SIG_DFL);
    raise(number);
    _Exit(128 + number);
}

} // namespace tonekit::host
