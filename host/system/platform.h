// platform.h: all that the program asks of the operating system beyond the standard library.
#pragma once

#include "host/system/byte_stream.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

namespace tonekit::host {

// A file of bytes at 64-bit positions, or one of the standard streams. Operations on files that are pipes
// return an error if they need positions.
class File final : public ByteStream {
public:
    File() = default;
    File(File &&other) noexcept;
    File &operator=(File &&other) noexcept;
    ~File() override;

    std::error_code OpenToRead(const std::filesystem::path &path);
    // Opens an existing file to read and write.
    std::error_code OpenToChange(const std::filesystem::path &path);
    // Opens standard input or output as bytes. Closing the file leaves the stream open.
    std::error_code OpenStandardInput();
    std::error_code OpenStandardOutput();
    // Creates a file that must not exist yet, with the permissions that any new file of this user gets, or
    // with no more than these. The system begins to store it while it is written, where it can be asked to.
    std::error_code CreateNew(const std::filesystem::path &path,
                              std::filesystem::perms widest = std::filesystem::perms(0666));
    // Marks a new file as one in work for as long as `mark` is open, so that RemoveIfLeftBehind keeps it.
    // False if another process takes it for left behind and removes it. Where the file system has no marks,
    // there are none.
    bool MarkAsInWork(File &mark) const;
    std::error_code Read(void *buffer, size_t size, size_t &got) override;
    std::error_code Write(const void *data, size_t size) override;
    std::error_code SeekTo(uint64_t position) override;
    std::error_code Tell(uint64_t &position) override;
    std::error_code Size(uint64_t &size) override;
    // Asks the system to store what was written, and doesn't wait; Sync reports what fails.
    void BeginToStore();
    // Waits until what was written is on the disk, where the file system can say so.
    std::error_code Sync();
    // Cuts the file to this size.
    std::error_code Truncate(uint64_t size);
    // Returns what some systems report only here: that earlier writes could not be stored after all.
    std::error_code Close();
    bool IsOpen() const { return handle_ >= 0; }

private:
    void CountWritten(size_t bytes);

    int handle_ = -1;
    bool isNew_ = false;
    uint64_t unstored_ = 0; // bytes written since the system was last asked to store them
};

// Puts `from` in the place of `to` in one step: at any moment `to` is the old file or the new one, whole.
std::error_code MoveInPlaceOf(const std::filesystem::path &from, const std::filesystem::path &to);

// Gives a file what people have set of the one whose place it will take, as far as the system lets this user:
// owner, group, extended attributes and lists of who may do what. Where it doesn't, they stay as they are.
void TakeOverDetails(const std::filesystem::path &from, const std::filesystem::path &to);

// Removes a file that was once marked as in work, if the process that did it is gone, and nothing else.
void RemoveIfLeftBehind(const std::filesystem::path &path);

// Appends the names in a folder, in no order. The standard's iterator ends the program where memory runs out.
std::error_code NamesIn(const std::filesystem::path &folder, std::vector<std::filesystem::path> &names);

// A file or folder, the same by all its names.
struct FileIdentity {
    uint64_t device = 0;
    uint64_t number = 0; // on its device
    auto operator<=>(const FileIdentity &) const = default;
};

// What is another where a program has written into a file, or put another file into its place.
struct FileState {
    FileIdentity identity;
    uint64_t size = 0;
    int64_t written = 0; // when, in the system's finest unit of time
    bool operator==(const FileState &) const = default;
};

// The state of the file or folder that a name leads to.
std::error_code StateOf(const std::filesystem::path &path, FileState &state);

// How many names (hard links) the file has.
std::error_code CountNames(const std::filesystem::path &path, uint64_t &names);

// The name that a chain of symbolic links ends in, whether or not there is a file of that name.
std::filesystem::path WithoutLinks(const std::filesystem::path &path);

// The name in a form that is equal for names that the system takes for one, as where case doesn't matter.
std::filesystem::path ComparableName(const std::filesystem::path &path);

// Whether an existing file may be written by this user.
bool MayWrite(const std::filesystem::path &path);

// The bytes that the C library's allocator set aside for an allocation.
size_t SizeOfAllocation(void *memory);

// Makes sure that standard input, output and error are there, before any file is opened: where the caller
// closed one, the next file would get its number, and messages would go into the audio.
void KeepStandardStreams();

// Keeps the lines that libraries write on standard error by themselves off it. Print still writes there.
void SilenceLibraries();

// Keeps some of the memory that was freed for the next file, instead of returning it to the system and
// asking for it again, which costs a fifth of the time of short files.
void KeepFreedMemory();

// Where the user limits the address space (ulimit -v), lets the C library's heaps, one for each of some
// threads, reserve only a part of it: else little is left for what they hold.
void SpareAddressSpace();

// Lets the program have as many files open as the user may allow: those of an album wait for its last one.
void AllowOpenFiles();

// Gives the stacks of this thread and of those that are started later the room that encoders take of them,
// also where the user allows less at first, or memory comes to its end while the stack would grow.
void ReserveStack();

// Does the work on a stack that has this room: on another thread where the system keeps this thread from it.
// Passes on what the work throws; throws std::system_error if the system starts no thread.
int OnReservedStack(const std::function<int()> &work);

// The arguments after the program's name, as UTF-8. Where no shell does it, names with * and ? are replaced
// by those of the files that they match.
std::vector<std::string> Utf8Arguments(int argc, char **argv);

// The function of this name in the loaded library that has `neighbour`, one of its functions; null if it has
// none.
void *LibraryFunction(void *neighbour, const std::string &name);

// Prints UTF-8 text in one piece on standard output or standard error; the stream keeps an error.
void Print(std::FILE *stream, const std::string &text);
bool StandardOutputIsTerminal();
// A terminal on which lines can be drawn anew.
bool StandardErrorIsTerminal();
// Puts lines, or nothing, in the place of those that the last call drew on the terminal on standard error.
// The cursor is at their beginning then.
void DrawStatus(const std::vector<std::string> &lines);
struct TerminalSize {
    unsigned columns = 80;
    unsigned rows = 24;
};
// The size of the terminal on standard error, as above if it doesn't say.
TerminalSize SizeOfTerminal();
// The columns that a character takes on a terminal, 0 to 2.
unsigned ColumnsOfCharacter(uint32_t code);

// From now on Ctrl-C and termination requests are noted instead of ending the process, a closed pipe and a
// file size limit are ordinary errors of the write that meets them.
void NoteInterrupts();
bool InterruptNoted();
// Ends the process the way the noted request would have ended it.
[[noreturn]] void EndAsInterrupted();

} // namespace tonekit::host
