#pragma once

#include <windows.h>

namespace util {

/// Waits until the object is signalled, at most that long, and lets messages through that other threads send
/// to windows of this one: whom it waits for may be waiting for such an answer. True when it is signalled.
inline bool WaitAnsweringSentMessages(HANDLE object, DWORD milliseconds) noexcept {
    const ULONGLONG begin = GetTickCount64();
    for (;;) {
        const ULONGLONG passed = GetTickCount64() - begin;
        const DWORD left = milliseconds == INFINITE ? INFINITE
                           : passed < milliseconds  ? milliseconds - static_cast<DWORD>(passed)
                                                    : 0;
        const DWORD woken = MsgWaitForMultipleObjects(1, &object, FALSE, left, QS_SENDMESSAGE);
        if (woken != WAIT_OBJECT_0 + 1) return woken == WAIT_OBJECT_0;
        MSG unused;
        PeekMessageW(&unused, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    }
}

}  // namespace util
