#include "render/snapshot/SnapshotThread.h"

#include <utility>

#include "render/snapshot/SnapshotFiles.h"
#include "render/snapshot/SnapshotWork.h"
#include "util/Log.h"

namespace norix {

struct SnapshotThread::Shared {
    explicit Shared(std::size_t bytes) : bufferSize(bytes) {}

    const std::size_t bufferSize;
    SnapshotQueue queue;
};

SnapshotThread::SnapshotThread(std::size_t bufferSize) : m_shared(std::make_shared<Shared>(bufferSize)) {}

SnapshotThread::~SnapshotThread() {
    Stop();
}

bool SnapshotThread::HasRoom() {
    return m_shared->queue.HasRoom();
}

void SnapshotThread::SaveJpeg(SnapshotRequests::File file, const std::uint8_t* jpeg, std::size_t size) {
    if (!Start() || !m_shared->queue.PutJpeg(std::move(file), jpeg, size))
        NORIX_LOG("CDecoder::SaveSnapShot", 1, "a snapshot was lost: no thread or no memory");
}

void SnapshotThread::TakePicture(SnapshotOrder order, DisplayFrame& frame,
                                 const std::shared_ptr<CCtrlParam>& param) {
    if (!Start() || !m_shared->queue.PutPicture(std::move(order), frame, param))
        NORIX_LOG("CDecoder::SaveSnapShot", 1, "a snapshot was lost: no thread or no memory");
}

bool SnapshotThread::Start() {
    const std::lock_guard lock(m_lock);
    if (m_stopped || m_thread.Started()) return !m_stopped;
    // Below the threads that play: a picture may be saved a little later, but not shown later.
    return m_thread.Start(THREAD_PRIORITY_BELOW_NORMAL, [shared = m_shared](util::StopToken&) {
        SnapshotFiles files;
        SnapshotWork(shared->queue, files, shared->bufferSize).Run();
    });
}

bool SnapshotThread::Stop() {
    m_shared->queue.Close();
    {
        const std::lock_guard lock(m_lock);
        if (std::exchange(m_stopped, true)) return m_ended;
    }
    // From here on nobody else touches the thread. Without the lock: while this waits, the thread may send
    // to the window, and whoever handles that may ask for another snapshot.
    const bool ended = m_thread.Stop();
    const std::lock_guard lock(m_lock);
    m_ended = ended;
    return m_ended;
}

}  // namespace norix
