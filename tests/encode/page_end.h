// page_end.h: bytes that end where readable memory ends, so that a read past them stops the test program.
#pragma once

#include "tests/support/guarded_pages.h"

#include <cstddef>
#include <cstdint>

namespace tonekit {

class PageEndBytes {
public:
    explicit PageEndBytes(size_t count) : pages_(count), count_(count) {}

    uint8_t *data() { return pages_.End() - count_; }

private:
    GuardedPages pages_;
    size_t count_;
};

} // namespace tonekit
