// global_lock.h: creation and closing of the lock that callers share.
#pragma once

namespace tonekit {

void CreateGlobalLock();
void CloseGlobalLock();

} // namespace tonekit
