// load.cpp: what happens when a process loads the library and when it ends.
#include "frame/dispatch.h"
#include "frame/global_lock.h"
#include "frame/platform.h"

#include <cstdlib>

namespace tonekit {

namespace {

// Runs under the loader's lock, before the host can call anything.
__attribute__((constructor)) void AttachProcess()
{
    SelectBodies(FeatureWord(AskProcessor()));
    CreateGlobalLock();
    std::atexit(CloseGlobalLock);
}

} // namespace

} // namespace tonekit
