// platform_windows.cpp: the platform's services on Windows.
#include "host/system/platform.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <malloc.h>
#include <sys/stat.h>
#include <utility>
#include <windows.h>

// The C library's own reading of the command line, which no header declares.
extern "C" int __cdecl __wgetmainargs(int *count, wchar_t ***arguments, wchar_t ***environment,
                                      int matchFileNames, int *newHandlerMode);

namespace tonekit::host {

namespace {

std::error_code LastError()
{
    return std::error_code(errno, std::generic_category());
}

std::error_code LastSystemError()
{
    return std::error_code(static_cast<int>(GetLastError()), std::system_category());
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::atomic<bool> interruptNoted{false};

// Runs on a thread of the system. A closing console ends the process as soon as the handler returns, so the
// handler then waits a moment for the work to notice and to clean up.
BOOL WINAPI NoteConsoleEvent(DWORD event)
{
    interruptNoted.store(true, std::memory_order_relaxed);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(5000);
    return TRUE;
}

std::wstring WideFromUtf8(const std::string &text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0'); // never longer
    wide.resize(static_cast<size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

std::string Utf8FromWide(const wchar_t *text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1)
        return std::string();
    std::string result(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}

bool IsConsole(HANDLE handle)
{
    DWORD mode;
    return GetConsoleMode(handle, &mode) != 0;
}

// In parts, since older consoles refuse more than 64 KiB at once.
void WriteOn(HANDLE console, const std::string &text)
{
    constexpr size_t kMostLetters = 8192;
    const std::wstring wide = WideFromUtf8(text);
    for (size_t done = 0; done < wide.size(); done += kMostLetters)
        WriteConsoleW(console, wide.data() + done,
                      static_cast<DWORD>(std::min(kMostLetters, wide.size() - done)), nullptr, nullptr);
}

// Another number for a standard stream, without the changes that the C library makes to line ends.
int DuplicateAsBytes(int stream)
{
    const int copy = _dup(stream);
    if (copy >= 0)
        _setmode(copy, _O_BINARY);
    return copy;
}

// The C library takes counts of 31 bits.
constexpr size_t kLargestTransfer = size_t{1} << 30;

std::error_code InformationOf(const std::filesystem::path &path, BY_HANDLE_FILE_INFORMATION &known)
{
    const HANDLE file = CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr); // folders too
    if (file == INVALID_HANDLE_VALUE)
        return LastSystemError();
    const bool done = GetFileInformationByHandle(file, &known) != 0;
    const std::error_code error = done ? std::error_code() : LastSystemError();
    CloseHandle(file);
    return error;
}

} // namespace

std::error_code File::OpenToRead(const std::filesystem::path &path)
{
    handle_ = _wopen(path.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::OpenToChange(const std::filesystem::path &path)
{
    handle_ = _wopen(path.c_str(), _O_RDWR | _O_BINARY | _O_NOINHERIT);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::OpenStandardInput()
{
    handle_ = DuplicateAsBytes(0);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::OpenStandardOutput()
{
    handle_ = DuplicateAsBytes(1);
    return IsOpen() ? std::error_code() : LastError();
}

std::error_code File::CreateNew(const std::filesystem::path &path, std::filesystem::perms)
{
    handle_ =
        _wopen(path.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    return IsOpen() ? std::error_code() : LastError();
}

// A mark that stays open would keep the file from being renamed.
bool File::MarkAsInWork(File &) const
{
    return true;
}

void File::BeginToStore()
{
    // The system begins by itself.
}

std::error_code File::Sync()
{
    return _commit(handle_) != 0 ? LastError() : std::error_code();
}

std::error_code File::Read(void *buffer, size_t size, size_t &got)
{
    got = 0;
    while (got < size) {
        const size_t wanted = size - got < kLargestTransfer ? size - got : kLargestTransfer;
        const int count = _read(handle_, static_cast<char *>(buffer) + got, static_cast<unsigned>(wanted));
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
        const size_t wanted = size - done < kLargestTransfer ? size - done : kLargestTransfer;
        const int count =
            _write(handle_, static_cast<const char *>(data) + done, static_cast<unsigned>(wanted));
        if (count < 0)
            return LastError();
        if (count == 0)
            return std::make_error_code(std::errc::no_space_on_device);
        done += static_cast<size_t>(count);
    }
    return {};
}

std::error_code File::SeekTo(uint64_t position)
{
    return _lseeki64(handle_, static_cast<int64_t>(position), SEEK_SET) < 0 ? LastError() : std::error_code();
}

std::error_code File::Tell(uint64_t &position)
{
    const int64_t now = _telli64(handle_);
    if (now < 0)
        return LastError();
    position = static_cast<uint64_t>(now);
    return {};
}

std::error_code File::Size(uint64_t &size)
{
    const int64_t length = _filelengthi64(handle_);
    if (length < 0)
        return LastError();
    size = static_cast<uint64_t>(length);
    return {};
}

std::error_code File::Truncate(uint64_t size)
{
    return std::error_code(_chsize_s(handle_, static_cast<int64_t>(size)), std::generic_category());
}

std::error_code File::Close()
{
    const int handle = std::exchange(handle_, -1);
    return handle >= 0 && _close(handle) != 0 ? LastError() : std::error_code();
}

// A new file has the owner and the list of rights that its folder gives it.
void TakeOverDetails(const std::filesystem::path &, const std::filesystem::path &) {}

std::error_code MoveInPlaceOf(const std::filesystem::path &from, const std::filesystem::path &to)
{
    constexpr int kAttempts = 20;
    std::error_code error;
    for (int i = 0; i < kAttempts; ++i) {
        if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING))
            return {};
        error = LastSystemError();
        // Virus scanners and indexers hold files open for a moment.
        if (error.value() != ERROR_SHARING_VIOLATION && error.value() != ERROR_ACCESS_DENIED)
            break;
        Sleep(50);
    }
    return error;
}

std::error_code StateOf(const std::filesystem::path &path, FileState &state)
{
    BY_HANDLE_FILE_INFORMATION known;
    if (const std::error_code error = InformationOf(path, known))
        return error;
    const auto both = [](DWORD high, DWORD low) { return uint64_t{high} << 32 | low; };
    state = {{known.dwVolumeSerialNumber, both(known.nFileIndexHigh, known.nFileIndexLow)},
             both(known.nFileSizeHigh, known.nFileSizeLow),
             static_cast<int64_t>(
                 both(known.ftLastWriteTime.dwHighDateTime, known.ftLastWriteTime.dwLowDateTime))};
    return {};
}

// The C++ library counts one name of each file there.
std::error_code CountNames(const std::filesystem::path &path, uint64_t &names)
{
    BY_HANDLE_FILE_INFORMATION known;
    if (const std::error_code error = InformationOf(path, known))
        return error;
    names = known.nNumberOfLinks;
    return {};
}

std::filesystem::path WithoutLinks(const std::filesystem::path &path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT))
        return path;
    const HANDLE file = CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return path;
    std::wstring name(32768, L'\0'); // no name is longer
    name.resize(GetFinalPathNameByHandleW(file, name.data(), static_cast<DWORD>(name.size()), 0));
    CloseHandle(file);
    return name.empty() ? path : std::filesystem::path(name);
}

std::filesystem::path ComparableName(const std::filesystem::path &path)
{
    std::wstring name = std::filesystem::path(path).make_preferred().native();
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.c_str(), static_cast<int>(name.size()),
                  name.data(), static_cast<int>(name.size()), nullptr, nullptr, 0);
    return name;
}

bool MayWrite(const std::filesystem::path &path)
{
    return _waccess(path.c_str(), 2) == 0;
}

// A process that works on a file has it open nearly all of the time, and then it can't be removed; for the
// moments between, only files that were not changed for a day are removed.
void RemoveIfLeftBehind(const std::filesystem::path &path)
{
    std::error_code error;
    const auto touched = std::filesystem::last_write_time(path, error);
    if (!error && std::filesystem::file_time_type::clock::now() - touched > std::chrono::hours(24))
        std::filesystem::remove(path, error);
}

std::error_code NamesIn(const std::filesystem::path &folder, std::vector<std::filesystem::path> &names)
{
    try {
        for (const auto &entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename());
    } catch (const std::filesystem::filesystem_error &failure) {
        return failure.code();
    }
    return {};
}

size_t SizeOfAllocation(void *memory)
{
    return _msize(memory);
}

void KeepStandardStreams()
{
    // The C library never uses their numbers for other files.
}

void KeepFreedMemory()
{
    // The system's heap does so by itself.
}

void SpareAddressSpace()
{
    // Its limits are of memory in use.
}

void AllowOpenFiles()
{
    // The C library's table of them is of one size.
}

void ReserveStack()
{
    // The program's file says how large stacks are.
}

int OnReservedStack(const std::function<int()> &work)
{
    return work();
}

void SilenceLibraries()
{
    // There is no way to put another stream in the place of the C library's own.
}

std::vector<std::string> Utf8Arguments(int, char **)
{
    int count = 0;
    wchar_t **wide = nullptr;
    wchar_t **environment = nullptr;
    int newHandlerMode = 0;
    std::vector<std::string> arguments;
    if (__wgetmainargs(&count, &wide, &environment, 1, &newHandlerMode) < 0)
        return arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(Utf8FromWide(wide[i]));
    return arguments;
}

// The neighbour's address may be that of a jump in the program itself.
void *LibraryFunction(void *, const std::string &name)
{
    const HMODULE library = GetModuleHandleW(L"tonekit.dll");
    return library ? reinterpret_cast<void *>(GetProcAddress(library, name.c_str())) : nullptr;
}

// A console joins no letters from bytes that come in parts, so it gets whole texts as UTF-16.
void Print(std::FILE *stream, const std::string &text)
{
    const HANDLE console = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    if (IsConsole(console)) {
        WriteOn(console, text);
        return;
    }
    std::fputs(text.c_str(), stream);
    std::fflush(stream);
}

bool StandardErrorIsTerminal()
{
    return IsConsole(GetStdHandle(STD_ERROR_HANDLE));
}

bool StandardOutputIsTerminal()
{
    return IsConsole(GetStdHandle(STD_OUTPUT_HANDLE));
}

// Without control sequences, which consoles before Windows 10 don't know.
void DrawStatus(const std::vector<std::string> &lines)
{
    static size_t drawn = 0; // lines of the last time; calls come one after another
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    const size_t rows = std::max(lines.size(), drawn);
    drawn = lines.size();
    CONSOLE_SCREEN_BUFFER_INFO info;
    for (size_t i = 0; i < rows; ++i) {
        WriteOn(console, (i > 0 ? "\n\r" : "\r") + (i < lines.size() ? lines[i] : ""));
        if (!GetConsoleScreenBufferInfo(console, &info))
            return;
        DWORD cleared;
        FillConsoleOutputCharacterW(console, L' ',
                                    static_cast<DWORD>(info.dwSize.X - info.dwCursorPosition.X),
                                    info.dwCursorPosition, &cleared);
    }
    if (rows == 0)
        return;
    const int top = info.dwCursorPosition.Y - static_cast<int>(rows - 1);
    SetConsoleCursorPosition(console, {0, static_cast<SHORT>(std::max(top, 0))});
}

TerminalSize SizeOfTerminal()
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info))
        return {};
    // A line that fills the last column of a console scrolls it.
    return {static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left),
            static_cast<unsigned>(info.srWindow.Bottom - info.srWindow.Top + 1)};
}

// The blocks of the characters that consoles draw with two columns, and those of joining marks.
unsigned ColumnsOfCharacter(uint32_t code)
{
    struct Block {
        uint32_t first, last;
    };
    static constexpr Block kJoining[] = {
        {0x0300, 0x036F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
    static constexpr Block kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},
                                      {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
                                      {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
                                      {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
    const auto holds = [&](const Block &block) { return code >= block.first && code <= block.last; };
    if (std::any_of(std::begin(kJoining), std::end(kJoining), holds))
        return 0;
    return std::any_of(std::begin(kWide), std::end(kWide), holds) ? 2 : 1;
}

void NoteInterrupts()
{
    SetConsoleCtrlHandler(NoteConsoleEvent, TRUE);
}

bool InterruptNoted()
{
    return interruptNoted.load(std::memory_order_relaxed);
}

void EndAsInterrupted()
{
    // The status of a process that Ctrl-C ended.
    ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT));
}

} // namespace tonekit::host
