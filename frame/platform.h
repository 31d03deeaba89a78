// platform.h: what the library asks of the operating system and of the machine. frame/platform/ answers.
#pragma once

#include "frame/processor.h"

#include <cstdio>
#include <tonekit/frame.h>

namespace tonekit {

// Asks the processor and the operating system what the feature word depends on.
ProcessorAnswers AskProcessor();

// An auto-reset event: a wait takes the signal, and signals aren't counted.
struct AutoResetEvent;

// A new event in the signalled state, or null if the system has none to give.
AutoResetEvent *CreateSignalledEvent();
void WaitForEvent(AutoResetEvent *event);
void SignalEvent(AutoResetEvent *event);
void CloseEvent(AutoResetEvent *event);

// One pointer of the calling thread's own, null at first. Setting it is refused if there is no memory for it;
// setting null never is.
bool SetThreadPointer(void *pointer);
void *ThreadPointer();

// Opens a file by its UTF-16 path for binary reading; null if it can't be opened.
std::FILE *OpenForReading(const tonekit_char16 *path);

} // namespace tonekit
