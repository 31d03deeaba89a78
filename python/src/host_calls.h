// host_calls.h: runs work of the host without the GIL, with progress and signals for Python.
#pragma once

#include "host/system/failure.h"
#include "python/src/option_list.h"
#include "python/src/signals.h"

#include <nanobind/nanobind.h>

namespace tonekit::python {

// Calls Python's function and lets signals in.
class ProgressCall {
public:
    explicit ProgressCall(nanobind::handle function)
        : function_(function.is_none() ? nanobind::handle() : function)
    {}

    void operator()(double done, double seconds)
    {
        signals_();
        if (!function_)
            return;
        const GilHold gil;
        function_(done, seconds);
    }

private:
    nanobind::handle function_; // the caller's argument, which outlives the call
    SignalCheck signals_;
};

// Runs work of the host without the GIL. What the host throws for people becomes Python's exceptions.
template <class Work>
auto WithoutGil(Work work)
{
    const GilRelease released;
    try {
        return work();
    } catch (const host::UsageError &error) {
        throw nanobind::value_error(ForPython(error.what()).c_str());
    } catch (const host::Failure &failure) {
        throw host::Failure(ForPython(failure.what()));
    }
}

} // namespace tonekit::python
