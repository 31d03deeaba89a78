// iconv_text.cpp: makes new texts of any character set that the system's iconv knows, and of UTF-16, from
// each other.
#include "encode/character_set.h"
#include "encode/new_text.h"
#include "frame/utf16.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iconv.h>

namespace tonekit {
namespace {

constexpr const char *kUtf16 = "UTF-16LE"; // the processor's order, and no byte order mark

// Bytes in memory that grows as they come.
class GrowingBytes {
public:
    explicit GrowingBytes(size_t room) : bytes_(NewText<char>(room)), room_(room) {}

    char *End() { return bytes_.get() + used_; }
    size_t Left() const { return room_ - used_; }
    void SetLeft(size_t left) { used_ = room_ - left; }
    size_t Used() const { return used_; }

    void Grow()
    {
        OwnedText<char> larger = NewText<char>(2 * room_ + kLeast);
        std::memcpy(larger.get(), bytes_.get(), used_);
        bytes_ = std::move(larger);
        room_ = 2 * room_ + kLeast;
    }

    template <class Unit>
    void Put(Unit unit)
    {
        if (Left() < sizeof unit)
            Grow();
        std::memcpy(End(), &unit, sizeof unit);
        used_ += sizeof unit;
    }

    // There must be one.
    template <class Unit>
    void DropLastIfZero()
    {
        Unit last;
        std::memcpy(&last, End() - sizeof last, sizeof last);
        if (last == 0)
            used_ -= sizeof last;
    }

    template <class Unit>
    Unit *HandOut() const
    {
        OwnedText<Unit> result = NewText<Unit>(used_ / sizeof(Unit));
        std::memcpy(result.get(), bytes_.get(), used_);
        return result.release();
    }

private:
    static constexpr size_t kLeast = 16; // more than any one character takes

    OwnedText<char> bytes_;
    size_t room_;
    size_t used_ = 0;
};

enum class Stop { end, refused, cut };

// An open converter, or none if the system lacks it.
class Handle {
public:
    Handle(const char *to, const char *from) : handle_(iconv_open(to, from)) {}
    ~Handle()
    {
        if (IsOpen())
            iconv_close(handle_);
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;

    bool IsOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
    iconv_t Get() const { return handle_; }

private:
    iconv_t handle_;
};

// One conversion; what it returns is collected in `Out()`.
class Conversion {
public:
    Conversion(const char *to, const char *from, size_t room) : handle_(to, from), out_(room) {}

    bool IsOpen() const { return handle_.IsOpen(); }
    GrowingBytes &Out() { return out_; }

    // Converts from `in` to `end` as far as possible and moves `in` there.
    Stop Feed(const char *&in, const char *end)
    {
        char *at = const_cast<char *>(in);
        size_t left = static_cast<size_t>(end - in);
        const int error = Run(&at, &left);
        in = at;
        return error == 0 ? Stop::end : error == EINVAL ? Stop::cut : Stop::refused;
    }

    // Puts what the converter still holds, and returns to the set's first state.
    void Finish() { Run(nullptr, nullptr); }

private:
    int Run(char **in, size_t *left)
    {
        for (;;) {
            char *to = out_.End();
            size_t room = out_.Left();
            const bool done = iconv(handle_.Get(), in, left, &to, &room) != static_cast<size_t>(-1);
            const int error = done ? 0 : errno;
            out_.SetLeft(room);
            if (error != E2BIG)
                return error;
            out_.Grow();
        }
    }

    Handle handle_; // before the memory, whose allocation may throw
    GrowingBytes out_;
};

// Puts U+FFFD after all that was decoded. A zero byte goes through the converter first, for it may hold back
// a character that it would join with the next; the zero unit that comes out, if one does, gives way.
void PutReplacement(Conversion &conversion)
{
    const char zero = 0;
    const char *at = &zero;
    GrowingBytes &out = conversion.Out();
    const size_t before = out.Used();
    conversion.Feed(at, at + 1);
    if (out.Used() > before)
        out.DropLastIfZero<tonekit_char16>();
    out.Put(tonekit_char16{kReplacementCharacter});
}

// Tag characters, U+E0000 to U+E007F, are dropped in silence by some converters.
bool IsTag(const tonekit_char16 *text)
{
    return text[0] == 0xDB40 && text[1] >= 0xDC00 && text[1] < 0xDC80;
}

void PutQuestionMark(Conversion &conversion)
{
    static constexpr tonekit_char16 kQuestionMark = u'?';
    const char *at = reinterpret_cast<const char *>(&kQuestionMark);
    conversion.Feed(at, at + sizeof kQuestionMark);
}

// Encodes from `text` to `end`, with `?` for each character that is refused.
void EncodeSpan(Conversion &conversion, const tonekit_char16 *text, const tonekit_char16 *end)
{
    const char *in = reinterpret_cast<const char *>(text);
    const char *inEnd = reinterpret_cast<const char *>(end);
    while (conversion.Feed(in, inEnd) != Stop::end) {
        tonekit_char16 unit;
        std::memcpy(&unit, in, sizeof unit);
        in += IsHighSurrogate(unit) ? 2 * sizeof unit : sizeof unit;
        PutQuestionMark(conversion);
    }
}

} // namespace

tonekit_char16 *DecodeByIconv(const char *characterSet, const char *text)
{
    const size_t bytes = std::strlen(text);
    Conversion conversion(kUtf16, characterSet, bytes * sizeof(tonekit_char16));
    if (!conversion.IsOpen())
        return nullptr;
    const char *in = text;
    const char *end = text + bytes;
    for (;;) {
        const Stop stop = conversion.Feed(in, end);
        if (stop == Stop::end)
            break;
        in = stop == Stop::cut ? end : in + 1;
        PutReplacement(conversion);
    }
    conversion.Finish();
    return conversion.Out().HandOut<tonekit_char16>();
}

char *EncodeByIconv(const char *characterSet, const Utf16Text &text)
{
    Conversion conversion(characterSet, kUtf16, text.units * sizeof(tonekit_char16));
    if (!conversion.IsOpen())
        return nullptr;
    const tonekit_char16 *at = text.begin;
    for (;;) {
        const tonekit_char16 *tag = at;
        while (tag < text.End() && !IsTag(tag)) // the terminator follows, so two units may be read
            ++tag;
        EncodeSpan(conversion, at, tag);
        if (tag == text.End())
            break;
        at = tag + 2;
        const size_t before = conversion.Out().Used();
        EncodeSpan(conversion, tag, at);
        if (conversion.Out().Used() == before)
            PutQuestionMark(conversion);
    }
    conversion.Finish();
    return conversion.Out().HandOut<char>();
}

} // namespace tonekit
