#include "live/rtp/FrameQueue.h"

namespace live::rtp {

void FrameQueue::append(Bytes bytes) {
    if (m_overflow || bytes.size() > kMaxBytes - m_bytes.size()) {
        m_overflow = true;
        return;
    }
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
}

void FrameQueue::discard() {
    if (openSize() > 0 || m_overflow) m_missing = true;
    m_bytes.resize(m_openStart);
    m_overflow = false;
}

void FrameQueue::commit(const FrameInfo& info) {
    if (m_overflow || openSize() == 0 || m_frames.size() == kMaxFrames) {
        discard();
        return;
    }
    add(openSize(), info);
}

bool FrameQueue::commitFront(std::size_t size, const FrameInfo& info) {
    if (m_overflow || size == 0 || size > openSize() || m_frames.size() == kMaxFrames) return false;
    add(size, info);
    return true;
}

void FrameQueue::add(std::size_t size, const FrameInfo& info) {
    m_frames.push_back({m_openStart, size, info});
    m_frames.back().info.damagedBefore = std::exchange(m_missing, false);
    m_openStart += size;
}

FrameQueue::Frame FrameQueue::front() const {
    const Entry& entry = m_frames[m_firstFrame];
    return {Bytes(m_bytes).subspan(entry.start, entry.size), entry.info};
}

void FrameQueue::pop() {
    ++m_firstFrame;
    if (empty()) dropFetched();
}

// All finished frames are gone: what is open moves to the front.
void FrameQueue::dropFetched() {
    m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_openStart));
    m_openStart = 0;
    m_frames.clear();
    m_firstFrame = 0;
}

void FrameQueue::clear() {
    m_bytes.clear();
    m_frames.clear();
    m_firstFrame = m_openStart = 0;
    m_overflow = m_missing = false;
}

}  // namespace live::rtp
