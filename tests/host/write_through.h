// write_through.h: writes an output's text, all but the commit.
#pragma once

#include "host/system/safe_output.h"

#include <gtest/gtest.h>
#include <string>

namespace tonekit::host::test {

inline void WriteThrough(SafeOutput &output, const std::string &text)
{
    File file = output.Create();
    ASSERT_FALSE(file.Write(text.data(), text.size()));
    ASSERT_FALSE(file.Close());
}

} // namespace tonekit::host::test
