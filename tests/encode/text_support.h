// text_support.h: what the tests of the text functions share.
#pragma once

#include <cstring>
#include <string>
#include <tonekit/encode.h>

#include "tests/support/guarded_pages.h"

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
        : pages_((text.size() + 1) * sizeof(Unit)),
          text_(reinterpret_cast<Unit *>(pages_.End()) - (text.size() + 1))
    {
        std::memcpy(text_, text.c_str(), (text.size() + 1) * sizeof(Unit));
    }

    Unit *Get() { return text_; }

private:
    GuardedPages pages_;
    Unit *text_;
};

} // namespace tonekit
