// every_allocation.h: runs a piece of work once for each of its allocations, which fails.
#pragma once

#include "tests/support/process_heap.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <new>

namespace tonekit {

// Runs the work with its first allocation failing, with its second, and so on, until there is none left to
// fail; those of the libraries that it calls count too. std::bad_alloc may end the work, and nothing else,
// and no block may stay allocated. `forget`, whose allocations don't fail, brings what is kept for the next
// work into one and the same state. Returns the number of allocations.
template <class Work, class Forget>
uint64_t FailEachInTurn(Work work, Forget forget)
{
    work(); // what is kept for the process, such as the C library's tables, is there from now on
    forget();
    for (uint64_t n = 1;; ++n) {
        const int64_t live = process_heap::Live();
        process_heap::Fail(n);
        try {
            work();
        } catch (const std::bad_alloc &) {
        }
        process_heap::Fail(0);
        const bool failed = process_heap::HasFailed();
        forget();
        const int64_t left = process_heap::Live() - live;
        EXPECT_EQ(left, 0) << "blocks are left after failure " << n;
        if (!failed)
            return n - 1;
    }
}

template <class Work>
uint64_t FailEachInTurn(Work work)
{
    return FailEachInTurn(work, [] {});
}

} // namespace tonekit
