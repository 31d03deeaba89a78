// text_support.h: what the tests of the text functions share.
#pragma once

#include "tests/support/dependency_calls.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/guarded_pages.h"
#include "tests/support/utf16.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <tonekit/encode.h>

namespace tonekit {

// Takes a result over as a string, and releases it.
inline Utf16String Take(tonekit_char16 *text)
{
    Utf16String result = text ? text : UTF16("(null)");
    UNC_freeWStr(text);
    return result;
}

inline std::string Take(char *text)
{
    std::string result = text ? text : "(null)";
    UNC_freeStr(text);
    return result;
}

// Lets each allocation of an action fail in turn: it must throw, leak nothing and leave no converter open.
template <class Action>
int FailEachAllocation(Action action)
{
    for (int n = 1;; ++n) {
        const int64_t live = LiveAllocations();
        const int64_t converters = LiveTextConverters();
        FailAllocation(static_cast<uint64_t>(n));
        bool thrown = false;
        try {
            UNC_freeStr(action());
        } catch (const std::bad_alloc &) {
            thrown = true;
        }
        const bool failed = AllocationHasFailed();
        AllowAllocations();
        EXPECT_EQ(LiveAllocations(), live) << "allocation " << n;
        EXPECT_EQ(LiveTextConverters(), converters) << "allocation " << n;
        EXPECT_EQ(thrown, failed) << "allocation " << n;
        if (!failed)
            return n - 1;
    }
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
