#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "render/snapshot/SnapshotTaker.h"

namespace norix {

/// A picture that waits to be packed, saved or sent. Belongs to whoever took it from the queue.
struct SnapshotJob {
    SnapshotOrder order;
    bool isJpeg = false;
    std::vector<std::uint8_t> jpeg;     // a Motion JPEG frame as received...
    DisplayFrame frame;                 // ...or a decoded picture
    std::shared_ptr<CCtrlParam> param;  // whose window gets the data; null when there is no such order
    SnapshotJob* next = nullptr;        // of the queue to be saved from: the picture goes on to there
};

/// Pictures on their way from the threads that have them to one that deals with them. Bounded: each takes
/// megabytes. Memory that a picture came in stays here for the next one. Any thread.
class SnapshotQueue {
  public:
    static constexpr std::size_t kCapacity = 2;

    bool HasRoom();

    /// A job to be filled, or null; put or released afterwards.
    SnapshotJob* Reserve();
    void Put(SnapshotJob* job);

    /// False when there is no room or memory; the frame keeps its picture then.
    bool PutJpeg(SnapshotRequests::File file, const std::uint8_t* jpeg, std::size_t size);
    /// Swaps buffers with the frame.
    bool PutPicture(SnapshotOrder order, DisplayFrame& frame, const std::shared_ptr<CCtrlParam>& param,
                    SnapshotJob* next = nullptr);

    /// Waits for a picture; null after Close, once all that waited have been taken.
    SnapshotJob* Take();
    void Release(SnapshotJob* job);

    /// Nothing is put in any more.
    void Close();

  private:
    std::mutex m_lock;
    std::condition_variable m_filledOrClosed;
    // guarded by m_lock
    std::array<SnapshotJob, kCapacity> m_jobs;
    std::vector<SnapshotJob*> m_free = {&m_jobs[0], &m_jobs[1]};
    std::array<SnapshotJob*, kCapacity> m_filled{};  // oldest first
    std::size_t m_filledCount = 0;
    bool m_closed = false;
};

}  // namespace norix
