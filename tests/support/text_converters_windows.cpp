// text_converters_windows.cpp: there texts are the system's to convert, which opens nothing.
#include "tests/support/dependency_calls.h"

namespace tonekit {

int64_t LiveTextConverters()
{
    return 0;
}

} // namespace tonekit
