#pragma once

// The thread class of every worker: a name, a priority, a body, and one way to stop.
//
//     util::GenericThread thread("Decode");
//     thread.Start(THREAD_PRIORITY_NORMAL, [queue](util::StopToken& stop) {
//         while (!stop.StopRequested()) { ... }
//     });
//     ...
//     thread.Stop();
//
// Stopping signals the thread, waits by the stop rule (StopRule.h) and closes its handle. A thread is never
// terminated: one that doesn't end in time is abandoned and runs on until its body returns by itself. So a
// body
//   - must own what it touches, or share it (capture a shared_ptr), never reach into its creator;
//   - ends soon after StopRequested(), and waits on StopToken::Wait or together with StopToken::Event.
// A body may send messages to windows of the thread that stops it: Stop answers sent messages (no posted
// ones) while it waits, so a window procedure can be entered from inside Stop.
//
// The body and its captures live until the body has returned and are destroyed on the thread itself. An
// exception that leaves the body is logged and ends the thread.
//
// Each running thread holds a reference to the module that holds this code, so that the code stays loaded
// under abandoned threads; when the last reference is a thread's, the module's detach runs on that thread. A
// thread that ends needs the loader lock: never call Stop, or destroy a running thread, from DllMain or a
// static destructor.
//
// A GenericThread belongs to one thread, its creator. The StopToken belongs to the body.

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "util/Handles.h"

namespace util {

/// How a body learns that it is to end. Alive as long as its thread runs.
class StopToken {
  public:
    bool StopRequested() const noexcept { return m_requested.load(std::memory_order_acquire); }
    /// Sleeps, but not beyond the request to stop; true when there was one.
    bool Wait(DWORD milliseconds) const noexcept {
        m_event.Wait(milliseconds);
        return StopRequested();
    }
    /// Signalled with the request, for WaitForMultipleObjects.
    HANDLE Event() const noexcept { return m_event.Get(); }

  private:
    friend class GenericThread;

    bool Valid() const noexcept { return static_cast<bool>(m_event); }
    void Request() noexcept {
        m_requested.store(true, std::memory_order_release);
        m_event.Set();
    }

    std::atomic<bool> m_requested{false};
    util::Event m_event{util::Event::Kind::kManualReset};
};

/// A look at the thread while Stop waits for it, in the widths of log formats.
struct StopWait {
    int attempt;      // 0, 1, 2...
    unsigned handle;  // for "0x%08X"
    int id;
};

class GenericThread {
  public:
    using Body = std::function<void(StopToken&)>;
    using StopReport = std::function<void(const StopWait&)>;

    /// The name is for debuggers and log lines.
    explicit GenericThread(std::string name) : m_name(std::move(name)) {}
    /// Stops a thread that still runs.
    ~GenericThread() { Stop(); }
    GenericThread(const GenericThread&) = delete;
    GenericThread& operator=(const GenericThread&) = delete;

    /// `priority` is one of THREAD_PRIORITY_*. False when a thread is already there or the system refuses
    /// one; the body is destroyed then.
    bool Start(int priority, Body body);

    /// Tells the thread to end without waiting, to stop several together.
    void RequestStop() noexcept;

    /// Stops the thread; afterwards Start may be called again. Returns false when it had to be abandoned.
    /// Each attempt beyond the first wait calls `report`; without one it is logged as
    /// "[%02d] Wait for <name> thread (handle = 0x%08X, id = %d) to exit." From the body itself: requests the
    /// stop and abandons, since no thread can wait for itself.
    bool Stop() noexcept { return Stop(nullptr); }
    bool Stop(const StopReport& report) noexcept;

    /// A thread was started and not stopped since, though its body may have returned.
    bool Started() const noexcept { return static_cast<bool>(m_handle); }
    HANDLE Handle() const noexcept { return m_handle.Get(); }
    DWORD Id() const noexcept { return m_id; }

  private:
    struct Launch;

    static DWORD WINAPI Main(void* parameter) noexcept;
    void Report(const StopReport& report, int attempt) const noexcept;

    const std::string m_name;
    std::shared_ptr<StopToken> m_stop;
    UniqueHandle m_handle;
    DWORD m_id = 0;
};

}  // namespace util
