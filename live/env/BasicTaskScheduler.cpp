#include "live/env/BasicTaskScheduler.h"

#include <algorithm>
#include <memory>

#include "live/env/Clock.h"
#include "net/Sockets.h"

namespace {
constexpr unsigned kMinGranularity = 1000;  // the readiness call counts in milliseconds
}

void TaskScheduler::rescheduleDelayedTask(TaskToken& task, int64_t microseconds, TaskFunc* proc,
                                          void* clientData) {
    unscheduleDelayedTask(task);
    task = scheduleDelayedTask(microseconds, proc, clientData);
}

BasicTaskScheduler* BasicTaskScheduler::createNew(unsigned maxSchedulerGranularity) {
    if (!net::startUp()) return nullptr;
    return new BasicTaskScheduler(maxSchedulerGranularity);
}

BasicTaskScheduler::BasicTaskScheduler(unsigned granularity)
    : m_granularity(std::max(granularity, kMinGranularity)), m_pollSet(std::make_unique<net::PollSet>()) {}

BasicTaskScheduler::~BasicTaskScheduler() = default;

TaskToken BasicTaskScheduler::scheduleDelayedTask(int64_t microseconds, TaskFunc* proc, void* clientData) {
    // Far enough away to be never, near enough not to overflow.
    constexpr int64_t kLongest = 1000LL * 365 * 24 * 3600 * live::kMicrosecondsPerSecond;
    const int64_t due = live::steadyMicroseconds() + std::clamp<int64_t>(microseconds, 0, kLongest);
    if (++m_lastToken == 0) ++m_lastToken;
    // Equal times run in the order in which they were scheduled.
    const auto later = [](const DelayedTask& task, int64_t when) { return task.due > when; };
    const auto place = std::lower_bound(m_tasks.begin(), m_tasks.end(), due, later);
    m_tasks.insert(place, {due, m_lastToken, proc, clientData});
    return reinterpret_cast<TaskToken>(m_lastToken);
}

void BasicTaskScheduler::unscheduleDelayedTask(TaskToken& task) {
    const auto token = reinterpret_cast<std::uintptr_t>(task);
    task = nullptr;
    if (token == 0) return;
    std::erase_if(m_tasks, [token](const DelayedTask& t) { return t.token == token; });
}

std::vector<BasicTaskScheduler::Handler>::iterator BasicTaskScheduler::find(int socket) {
    return std::find_if(m_handlers.begin(), m_handlers.end(),
                        [socket](const Handler& h) { return h.socket == socket; });
}

void BasicTaskScheduler::setBackgroundHandling(int socket, int conditions, BackgroundHandlerProc* handler,
                                               void* clientData) {
    if (socket < 0) return;
    const auto known = find(socket);
    if (conditions == 0 || !handler) {
        if (known != m_handlers.end()) m_handlers.erase(known);
        return;
    }
    const Handler entry{socket, conditions, handler, clientData, ++m_lastHandlerId};
    if (known != m_handlers.end()) {
        *known = entry;
    } else {
        m_handlers.push_back(entry);
    }
}

void BasicTaskScheduler::doEventLoop(EventLoopWatchVariable* watchVariable) {
    while (!watchVariable || *watchVariable == 0)
        SingleStep();
}

void BasicTaskScheduler::SingleStep(unsigned maxWaitMicroseconds) {
    serveSockets(waitMilliseconds(maxWaitMicroseconds));
    serveTriggers();
    serveDelayedTasks();
}

int BasicTaskScheduler::waitMilliseconds(unsigned maxWaitMicroseconds) const {
    int64_t wait = maxWaitMicroseconds != 0 ? std::min(maxWaitMicroseconds, m_granularity) : m_granularity;
    if (m_triggered.load(std::memory_order_relaxed) != 0) wait = 0;
    if (!m_tasks.empty()) wait = std::min(wait, m_tasks.back().due - live::steadyMicroseconds());
    // Rounded up: a wait that ends before the task is due would only be repeated.
    return wait <= 0 ? 0 : static_cast<int>((wait + 999) / 1000);
}

static_assert(SOCKET_READABLE == net::kReadable && SOCKET_WRITABLE == net::kWritable &&
              SOCKET_EXCEPTION == net::kFailed);

void BasicTaskScheduler::serveSockets(int timeoutMilliseconds) {
    m_pollSet->clear();
    for (const Handler& handler : m_handlers)
        m_pollSet->add(handler.socket, handler.conditions);
    if (m_pollSet->wait(timeoutMilliseconds) <= 0) return;

    // Collected first, because handlers change the table.
    m_ready.clear();
    for (std::size_t i = 0; i < m_handlers.size(); ++i) {
        const int conditions = m_pollSet->ready(i);
        if (conditions != 0) m_ready.push_back({m_handlers[i].socket, conditions, m_handlers[i].id});
    }
    for (std::size_t i = 0; i < m_ready.size(); ++i) {
        const Ready ready = m_ready[i];
        const auto handler = find(ready.socket);
        if (handler == m_handlers.end() || handler->id != ready.id) continue;
        if ((handler->conditions & ready.conditions) == 0) continue;
        handler->proc(handler->clientData, ready.conditions & handler->conditions);
    }
}

void BasicTaskScheduler::serveTriggers() {
    const u_int32_t triggered = m_triggered.exchange(0, std::memory_order_acquire);
    for (unsigned i = 0; triggered != 0 && i < kTriggers; ++i) {
        if ((triggered >> i & 1) == 0 || !m_triggers[i].proc) continue;
        m_triggers[i].proc(m_triggers[i].clientData.load(std::memory_order_relaxed));
    }
}

void BasicTaskScheduler::serveDelayedTasks() {
    if (m_tasks.empty()) return;
    // Tasks that are scheduled meanwhile wait for the next round, so that one that repeats itself starves
    // nobody.
    const int64_t now = live::steadyMicroseconds();
    const std::uintptr_t lastToken = m_lastToken;
    while (true) {
        const auto due = std::find_if(m_tasks.rbegin(), m_tasks.rend(), [lastToken](const DelayedTask& task) {
            return task.token <= lastToken;
        });
        if (due == m_tasks.rend() || due->due > now) return;
        const DelayedTask task = *due;
        m_tasks.erase(std::next(due).base());
        task.proc(task.clientData);
    }
}

EventTriggerId BasicTaskScheduler::createEventTrigger(TaskFunc* proc) {
    for (unsigned i = 0; i < kTriggers; ++i) {
        if (m_triggers[i].proc) continue;
        m_triggers[i].proc = proc;
        return EventTriggerId{1} << i;
    }
    return 0;
}

void BasicTaskScheduler::deleteEventTrigger(EventTriggerId id) {
    m_triggered.fetch_and(~id);
    for (unsigned i = 0; i < kTriggers; ++i) {
        if (id >> i & 1) m_triggers[i].proc = nullptr;
    }
}

void BasicTaskScheduler::triggerEvent(EventTriggerId id, void* clientData) {
    for (unsigned i = 0; i < kTriggers; ++i) {
        if (id >> i & 1) m_triggers[i].clientData.store(clientData, std::memory_order_relaxed);
    }
    m_triggered.fetch_or(id, std::memory_order_release);
}
