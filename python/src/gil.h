// gil.h: leaves the GIL and takes it again, in threads that the interpreter may end before they are done.
#pragma once

#include <Python.h>
#include <chrono>
#include <cxxabi.h>
#include <thread>

namespace tonekit::python {

// Runs what takes the GIL. An interpreter that has ended unwinds the stack of a daemon thread that asks for
// it, and the first function on the way that lets no exception through would abort the process. Such a thread
// waits here for the end of the process.
template <class Take>
auto TakeGil(Take take) noexcept
{
    try {
        return take();
    } catch (const abi::__forced_unwind &) {
        for (;;)
            std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

// Leaves the GIL for the length of a block.
class GilRelease {
public:
    GilRelease() : state_(PyEval_SaveThread()) {}
    GilRelease(const GilRelease &) = delete;
    GilRelease &operator=(const GilRelease &) = delete;
    ~GilRelease()
    {
        TakeGil([this] { PyEval_RestoreThread(state_); });
    }

private:
    PyThreadState *state_;
};

// Takes the GIL for the length of a block.
class GilHold {
public:
    GilHold() : state_(TakeGil([] { return PyGILState_Ensure(); })) {}
    GilHold(const GilHold &) = delete;
    GilHold &operator=(const GilHold &) = delete;
    ~GilHold() { PyGILState_Release(state_); }

private:
    PyGILState_STATE state_;
};

} // namespace tonekit::python
