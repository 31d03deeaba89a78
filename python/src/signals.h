// signals.h: lets Ctrl-C and Python's other signal handlers in while work goes on without the GIL.
#pragma once

#include "python/src/gil.h"

#include <chrono>
#include <nanobind/nanobind.h>

namespace tonekit::python {

// Asks Python now and then, as often as a person can notice.
class SignalCheck {
public:
    // Throws nb::python_error if a handler raised an exception, KeyboardInterrupt above all.
    void operator()()
    {
        const auto now = std::chrono::steady_clock::now();
        if (now < next_)
            return;
        next_ = now + std::chrono::milliseconds(50);
        const GilHold gil;
        if (PyErr_CheckSignals() != 0)
            throw nanobind::python_error();
    }

private:
    std::chrono::steady_clock::time_point next_ =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
};

} // namespace tonekit::python
