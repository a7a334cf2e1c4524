// A module with a thread of its own, to be unloaded while that thread still runs.

#include "util/GenericThread.h"

// Starts a thread that runs until `release` is signalled, and abandons it. Gives a handle to it, for the
// caller.
extern "C" __declspec(dllexport) HANDLE StartLongThread(HANDLE release) {
    auto* const thread =
        new util::GenericThread("Long");  // left alone on purpose: stopping it would wait for it
    thread->Start(THREAD_PRIORITY_NORMAL,
                  [release](util::StopToken&) { WaitForSingleObject(release, INFINITE); });
    HANDLE copy = nullptr;
    DuplicateHandle(GetCurrentProcess(), thread->Handle(), GetCurrentProcess(), &copy, SYNCHRONIZE, FALSE, 0);
    return copy;
}
