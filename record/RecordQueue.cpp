#include "record/RecordQueue.h"

#include <cstring>
#include <utility>

namespace norix {
namespace {

// Over a minute of pictures and sound; entries that open and close files come on top.
constexpr std::size_t kFrames = 8192;

}  // namespace

void RecordQueue::Reserve(std::size_t bytes) {
    if (m_bytes == bytes) return;
    m_ring = std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
    m_bytes = bytes;
    m_entries.resize(kFrames);
}

// The used bytes are [begin, end), or [begin, capacity) and [0, end) when they go round.
bool RecordQueue::FindRoom(std::size_t size, std::size_t& offset) const {
    if (m_used == 0) {
        offset = 0;
        return size <= m_bytes;
    }
    if (m_begin < m_end) {
        if (size <= m_bytes - m_end) {
            offset = m_end;
            return true;
        }
        offset = 0;
        return size < m_begin;
    }
    offset = m_end;
    return size < m_begin - m_end;
}

bool RecordQueue::Push(RecordEntry entry, RecordBytes head, RecordBytes body) {
    entry.size = static_cast<std::uint32_t>(head.size() + body.size());
    const bool hasBytes = entry.size != 0;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (hasBytes && (m_used >= kFrames || !FindRoom(entry.size, entry.offset))) return false;
    }
    // Nobody else has these bytes: the only producer is here, and the consumer's side can only grow the room.
    if (!head.empty()) std::memcpy(m_ring.get() + entry.offset, head.data(), head.size());
    if (!body.empty()) std::memcpy(m_ring.get() + entry.offset + head.size(), body.data(), body.size());

    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_count == m_entries.size()) {  // entries without bytes only
            std::vector<RecordEntry> larger(m_entries.size() * 2 + 1);
            for (std::size_t i = 0; i < m_count; ++i)
                larger[i] = std::move(m_entries[(m_first + i) % m_entries.size()]);
            m_entries.swap(larger);
            m_first = 0;
        }
        if (hasBytes) {
            if (m_used == 0) m_begin = entry.offset;
            m_end = entry.offset + entry.size;
            ++m_used;
        }
        m_entries[(m_first + m_count++) % m_entries.size()] = std::move(entry);
    }
    m_signal.Release();
    return true;
}

bool RecordQueue::Wait(std::uint32_t milliseconds, RecordEntry& entry) {
    const auto take = [&] {
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_count == 0) return false;
        entry = m_entries[m_first];
        return true;
    };
    if (take()) return true;
    m_signal.Acquire(milliseconds);
    return take();
}

void RecordQueue::Pop() {
    std::lock_guard<std::mutex> lock(m_lock);
    RecordEntry& entry = m_entries[m_first];
    if (entry.size != 0) {
        --m_used;
        m_begin = entry.offset + entry.size;
    }
    entry.request.reset();
    m_first = (m_first + 1) % m_entries.size();
    --m_count;
}

void RecordQueue::Wake() {
    m_signal.Release();
}

bool RecordQueue::Empty() const {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_count == 0;
}

}  // namespace norix
