// text_support.h: what the tests of the text functions share.
#pragma once

#include <cstring>
#include <string>
#include <sys/mman.h>
#include <tonekit/encode.h>
#include <unistd.h>

namespace tonekit {

// Takes a result over as a string, and releases it.
inline std::u16string Take(tonekit_char16 *text)
{
    std::u16string result = text == nullptr ? u"(null)" : text;
    UNC_freeWStr(text);
    return result;
}

inline std::string Take(char *text)
{
    std::string result = text == nullptr ? "(null)" : text;
    UNC_freeStr(text);
    return result;
}

// A copy of a text whose terminator is the last unit before memory that can't be read.
template <class Unit>
class TextAtPageEnd {
public:
    explicit TextAtPageEnd(const std::basic_string<Unit> &text)
    {
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t bytes = (text.size() + 1) * sizeof(Unit);
        size_ = (bytes + page - 1) / page * page + page;
        memory_ = static_cast<char *>(
            mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(memory_ + size_ - page, page, PROT_NONE);
        text_ = reinterpret_cast<Unit *>(memory_ + size_ - page - bytes);
        std::memcpy(text_, text.c_str(), bytes);
    }
    ~TextAtPageEnd() { munmap(memory_, size_); }
    TextAtPageEnd(const TextAtPageEnd &) = delete;
    TextAtPageEnd &operator=(const TextAtPageEnd &) = delete;

    Unit *Get() { return text_; }

private:
    char *memory_;
    std::size_t size_;
    Unit *text_;
};

} // namespace tonekit
