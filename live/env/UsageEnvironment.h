#pragma once

// What the event loop and the environment promise. One thread calls all of it, with one exception:
// TaskScheduler::triggerEvent.

#include <atomic>

#include "live/env/Types.h"

// Leaves the event loop when it becomes non-zero; may be written by any thread.
#ifdef NO_STD_LIB
using EventLoopWatchVariable = char volatile;
#else
using EventLoopWatchVariable = std::atomic_char;
#endif

using TaskFunc = void(void* clientData);
using TaskToken = void*;
using EventTriggerId = u_int32_t;

/// What a socket can be ready for.
inline constexpr int SOCKET_READABLE = 1 << 1;
inline constexpr int SOCKET_WRITABLE = 1 << 2;
inline constexpr int SOCKET_EXCEPTION = 1 << 3;

class TaskScheduler {
  public:
    virtual ~TaskScheduler() = default;

    /// Runs `proc` once, not before `microseconds` from now. The token is valid until the task runs.
    virtual TaskToken scheduleDelayedTask(int64_t microseconds, TaskFunc* proc, void* clientData) = 0;
    /// Clears the token; a NULL token is left alone.
    virtual void unscheduleDelayedTask(TaskToken& task) = 0;
    virtual void rescheduleDelayedTask(TaskToken& task, int64_t microseconds, TaskFunc* proc,
                                       void* clientData);

    /// Calls `handler` from the event loop whenever the socket is ready for one of the conditions. One
    /// handler per socket; a new call replaces it. The socket has to be taken out before it is closed.
    using BackgroundHandlerProc = void(void* clientData, int mask);
    virtual void setBackgroundHandling(int socket, int conditions, BackgroundHandlerProc* handler,
                                       void* clientData) = 0;
    void disableBackgroundHandling(int socket) { setBackgroundHandling(socket, 0, nullptr, nullptr); }

    /// Runs until *watchVariable is non-zero (for ever without one).
    virtual void doEventLoop(EventLoopWatchVariable* watchVariable = nullptr) = 0;

    /// Up to 32 triggers; 0 when there is none left. triggerEvent may be called by any thread: the event loop
    /// then runs the task, once for any number of calls since it last did.
    virtual EventTriggerId createEventTrigger(TaskFunc* proc) = 0;
    virtual void deleteEventTrigger(EventTriggerId id) = 0;
    virtual void triggerEvent(EventTriggerId id, void* clientData = nullptr) = 0;
};

class UsageEnvironment {
  public:
    /// Ends the environment's life.
    virtual Boolean reclaim() = 0;

    TaskScheduler& taskScheduler() const { return m_scheduler; }

    /// Why the last operation failed. Valid until the next one.
    using MsgString = char const*;
    virtual MsgString getResultMsg() const = 0;
    virtual void setResultMsg(MsgString message) = 0;
    virtual void setResultMsg(MsgString first, MsgString second) = 0;
    virtual void setResultMsg(MsgString first, MsgString second, MsgString third) = 0;
    /// Appends the text of the system's error `err`, or of the last one when it is 0.
    virtual void setResultErrMsg(MsgString message, int err = 0) = 0;
    virtual int getErrno() const = 0;

  protected:
    explicit UsageEnvironment(TaskScheduler& scheduler) : m_scheduler(scheduler) {}
    virtual ~UsageEnvironment() = default;

  private:
    TaskScheduler& m_scheduler;
};
