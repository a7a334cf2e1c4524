#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "media/CountingSemaphore.h"
#include "record/RecordFile.h"

namespace norix {

struct FileRequest;

/// What the receiving threads hand to the writer.
struct RecordEntry {
    enum class Kind : std::uint8_t { Open, Video, Audio, Close };

    Kind kind = Kind::Close;
    bool keyFrame = false;
    bool continues = false;                      // Video: a further part of the picture before
    bool report = false;                         // Close: the host is told by the writer
    std::uint32_t file = 0;                      // which file it belongs to, counted from 1
    std::int64_t time = 0;                       // ms, by RecordClock
    std::uint32_t size = 0;                      // of the bytes
    std::size_t offset = 0;                      // where they are: the queue's affair
    std::shared_ptr<const FileRequest> request;  // Open
};

/// A bounded queue of frames between receiving threads and the writer's. The bytes lie in one ring that is
/// made once. One producer at a time, one consumer; neither waits while the other copies or writes.
class RecordQueue {
  public:
    /// Makes the ring. Not while anything is queued. Throws std::bad_alloc.
    void Reserve(std::size_t bytes);
    std::size_t Capacity() const { return m_bytes; }

    /// Copies the frame, which is `head` followed by `body`. False when there is no room: nothing is queued.
    /// Entries without bytes always find room.
    bool Push(RecordEntry entry, RecordBytes head, RecordBytes body);

    /// The oldest entry, whose bytes stay where they are until Pop; false when none came in time.
    bool Wait(std::uint32_t milliseconds, RecordEntry& entry);
    RecordBytes Bytes(const RecordEntry& entry) const { return {m_ring.get() + entry.offset, entry.size}; }
    void Pop();

    /// Ends a wait that is under way, or the next one.
    void Wake();
    bool Empty() const;

  private:
    bool FindRoom(std::size_t size, std::size_t& offset) const;

    std::unique_ptr<std::uint8_t[]>
        m_ring;  // constant after Reserve; its bytes belong to whoever holds the entry
    std::size_t m_bytes = 0;

    CountingSemaphore m_signal{1};  // something was queued since the consumer last looked
    mutable std::mutex m_lock;
    std::vector<RecordEntry> m_entries;  // a ring; guarded by m_lock, like all below
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    std::size_t m_begin = 0;  // of the oldest bytes in m_ring
    std::size_t m_end = 0;    // behind the newest
    std::size_t m_used = 0;   // entries that have bytes
};

}  // namespace norix
