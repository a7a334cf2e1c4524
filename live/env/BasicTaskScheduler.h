#pragma once

// The event loop: one readiness call for all sockets and the nearest delayed task, in one thread.

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "live/env/UsageEnvironment.h"

namespace net {
class PollSet;
}

class BasicTaskScheduler : public TaskScheduler {
  public:
    /// The granularity is the longest time that the loop waits without looking at its watch variable and
    /// triggers.
    static BasicTaskScheduler* createNew(unsigned maxSchedulerGranularity = 10000 /*us*/);
    ~BasicTaskScheduler() override;

    TaskToken scheduleDelayedTask(int64_t microseconds, TaskFunc* proc, void* clientData) override;
    void unscheduleDelayedTask(TaskToken& task) override;
    void setBackgroundHandling(int socket, int conditions, BackgroundHandlerProc* handler,
                               void* clientData) override;
    void doEventLoop(EventLoopWatchVariable* watchVariable = nullptr) override;
    EventTriggerId createEventTrigger(TaskFunc* proc) override;
    void deleteEventTrigger(EventTriggerId id) override;
    void triggerEvent(EventTriggerId id, void* clientData = nullptr) override;

    /// One round: waits for at most `maxWaitMicroseconds` (0: the granularity), then serves what is ready.
    void SingleStep(unsigned maxWaitMicroseconds = 0);

  protected:
    explicit BasicTaskScheduler(unsigned granularity);

  private:
    struct DelayedTask {
        int64_t due;
        std::uintptr_t token;
        TaskFunc* proc;
        void* clientData;
    };
    struct Handler {
        int socket;
        int conditions;
        BackgroundHandlerProc* proc;
        void* clientData;
        std::uint64_t id;  // tells a handler from a later one of the same socket
    };
    struct Ready {
        int socket;
        int conditions;
        std::uint64_t id;
    };
    struct Trigger {
        TaskFunc* proc = nullptr;
        std::atomic<void*> clientData = nullptr;
    };
    static constexpr unsigned kTriggers = 32;

    int waitMilliseconds(unsigned maxWaitMicroseconds) const;
    void serveSockets(int timeoutMilliseconds);
    void serveTriggers();
    void serveDelayedTasks();
    std::vector<Handler>::iterator find(int socket);

    const unsigned m_granularity;
    /// Few enough that sorted and plain vectors beat trees; they stop allocating once they have reached their
    /// size.
    std::vector<DelayedTask> m_tasks;  // the next one is the last
    std::uintptr_t m_lastToken = 0;
    std::vector<Handler> m_handlers;
    std::uint64_t m_lastHandlerId = 0;
    std::vector<Ready> m_ready;
    std::unique_ptr<net::PollSet> m_pollSet;
    std::array<Trigger, kTriggers> m_triggers;
    std::atomic<u_int32_t> m_triggered = 0;  // written by any thread
};
