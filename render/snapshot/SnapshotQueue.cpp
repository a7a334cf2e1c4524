#include "render/snapshot/SnapshotQueue.h"

#include <algorithm>
#include <new>
#include <utility>

namespace norix {

bool SnapshotQueue::HasRoom() {
    const std::lock_guard lock(m_lock);
    return !m_closed && !m_free.empty();
}

SnapshotJob* SnapshotQueue::Reserve() {
    const std::lock_guard lock(m_lock);
    if (m_closed || m_free.empty()) return nullptr;
    SnapshotJob* const job = m_free.back();
    m_free.pop_back();
    return job;
}

void SnapshotQueue::Put(SnapshotJob* job) {
    const std::lock_guard lock(m_lock);
    m_filled[m_filledCount++] = job;
    m_filledOrClosed.notify_one();
}

bool SnapshotQueue::PutJpeg(SnapshotRequests::File file, const std::uint8_t* jpeg, std::size_t size) {
    SnapshotJob* const job = Reserve();
    if (!job) return false;
    try {
        job->jpeg.assign(jpeg, jpeg + size);
    } catch (const std::bad_alloc&) {
        Release(job);
        return false;
    }
    job->isJpeg = true;
    job->order = {std::move(file), std::nullopt};
    Put(job);
    return true;
}

bool SnapshotQueue::PutPicture(SnapshotOrder order, DisplayFrame& frame,
                               const std::shared_ptr<CCtrlParam>& param, SnapshotJob* next) {
    SnapshotJob* const job = Reserve();
    if (!job) return false;
    const std::size_t capacity = frame.picture.Capacity();
    if (job->frame.picture.Capacity() != capacity) job->frame.picture = PictureBuffer(capacity);
    if (!job->frame.picture) {
        Release(job);
        return false;
    }
    job->isJpeg = false;
    job->frame.picture.Swap(frame.picture);
    job->frame.size = frame.size;
    job->frame.format = frame.format;
    if (order.format) job->param = param;
    job->order = std::move(order);
    job->next = next;
    Put(job);
    return true;
}

SnapshotJob* SnapshotQueue::Take() {
    std::unique_lock lock(m_lock);
    m_filledOrClosed.wait(lock, [this] { return m_closed || m_filledCount > 0; });
    if (m_filledCount == 0) return nullptr;
    SnapshotJob* const job = m_filled.front();
    std::move(m_filled.begin() + 1, m_filled.end(), m_filled.begin());
    --m_filledCount;
    return job;
}

void SnapshotQueue::Release(SnapshotJob* job) {
    job->param.reset();
    job->next = nullptr;
    const std::lock_guard lock(m_lock);
    m_free.push_back(job);
}

void SnapshotQueue::Close() {
    const std::lock_guard lock(m_lock);
    m_closed = true;
    m_filledOrClosed.notify_all();
}

}  // namespace norix
