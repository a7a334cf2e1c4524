#include "media/FrameTimingTrace.h"

#include "util/Log.h"

namespace norix {

double FrameTimingTrace::Times::Between(Stage from, Stage to) const {
    const std::uint64_t begin = at[from - 1];
    const std::uint64_t end = at[to - 1];
    if (begin == 0 || end == 0) return -1;
    return static_cast<double>(static_cast<std::int64_t>(end - begin)) / 10000.0;
}

bool FrameTimingTrace::IsEnabled() const {
    return util::Switches().frameTimeInfo && !m_stopped.load(std::memory_order_relaxed);
}

void FrameTimingTrace::Start() {
    m_stopped.store(false);
}

void FrameTimingTrace::Stop() {
    m_stopped.store(true);
    std::lock_guard<std::mutex> lock(m_lock);
    for (Slot& slot : m_slots)
        slot.used = false;
}

FrameTimingTrace::Slot* FrameTimingTrace::Find(std::uint32_t pts) {
    for (std::size_t back = 1; back <= kFrames; ++back) {
        Slot& slot = m_slots[(m_next + kFrames - back) % kFrames];
        if (slot.used && slot.times.pts == pts) return &slot;
    }
    return nullptr;
}

void FrameTimingTrace::Record(std::uint32_t pts, Stage stage, std::uint64_t now) {
    if (!IsEnabled() || stage < kReceived || stage > kDisplayed) return;
    std::lock_guard<std::mutex> lock(m_lock);
    Slot* slot = stage == kReceived ? nullptr : Find(pts);
    if (!slot) {
        slot = &m_slots[m_next];
        m_next = (m_next + 1) % kFrames;
        *slot = Slot{true, Times{pts, {}}};
    }
    slot->times.at[stage - 1] = now;
}

bool FrameTimingTrace::Close(std::uint32_t pts, Times* times) {
    if (!IsEnabled()) return false;
    Times closed;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        Slot* const slot = Find(pts);
        if (!slot) return false;
        closed = slot->times;
        slot->used = false;
    }
    if (times) *times = closed;
    NORIX_LOG("FrameTimingTrace::Close", 0,
              "FrameTimeInfo(pts=%u) received-inserted = %.2f, inserted-decoded = %.2f, "
              "decoded-displayed = %.2f, received-displayed = %.2f (ms)",
              pts, closed.Between(kReceived, kInserted), closed.Between(kInserted, kDecoded),
              closed.Between(kDecoded, kDisplayed), closed.Between(kReceived, kDisplayed));
    return true;
}

}  // namespace norix
