#include "render/snapshot/SnapshotThread.h"

#include <utility>

#include "render/snapshot/SnapshotFiles.h"
#include "render/snapshot/SnapshotWork.h"
#include "util/Log.h"

namespace norix {
namespace {

void LogLoss() {
    NORIX_LOG("CDecoder::SaveSnapShot", 1, "a snapshot was lost: no thread or no memory");
}

}  // namespace

struct SnapshotThread::Shared {
    explicit Shared(std::size_t bytes) : bufferSize(bytes) {}

    const std::size_t bufferSize;
    SnapshotQueue saving;
    SnapshotQueue sending;
};

SnapshotThread::SnapshotThread(std::size_t bufferSize) : m_shared(std::make_shared<Shared>(bufferSize)) {}

SnapshotThread::~SnapshotThread() {
    Stop();
}

bool SnapshotThread::HasRoom(Snapshot kind) {
    return (kind == Snapshot::kFile ? m_shared->saving : m_shared->sending).HasRoom();
}

void SnapshotThread::SaveJpeg(SnapshotRequests::File file, const std::uint8_t* jpeg, std::size_t size) {
    if (!Start(Snapshot::kFile) || !m_shared->saving.PutJpeg(std::move(file), jpeg, size)) LogLoss();
}

void SnapshotThread::TakePicture(SnapshotOrder order, DisplayFrame& frame,
                                 const std::shared_ptr<CCtrlParam>& param) {
    if (order.file && !Start(Snapshot::kFile)) return LogLoss();
    if (!order.format) {
        if (!m_shared->saving.PutPicture(std::move(order), frame, param)) LogLoss();
        return;
    }
    SnapshotJob* const next = order.file ? m_shared->saving.Reserve() : nullptr;
    if (order.file && !next) LogLoss();
    if (Start(Snapshot::kData) && m_shared->sending.PutPicture(std::move(order), frame, param, next)) return;
    LogLoss();
    if (next) m_shared->saving.Release(next);
}

bool SnapshotThread::Start(Snapshot kind) {
    const std::lock_guard lock(m_lock);
    util::GenericThread& thread = kind == Snapshot::kFile ? m_saving : m_sending;
    if (m_stopped || thread.Started()) return !m_stopped;
    // Below the threads that play: a picture may be saved a little later, but not shown later.
    return thread.Start(THREAD_PRIORITY_BELOW_NORMAL, [shared = m_shared, kind](util::StopToken&) {
        SnapshotFiles files;
        if (kind == Snapshot::kFile) {
            SnapshotSaving(shared->saving, files, shared->bufferSize).Run();
        } else {
            SnapshotSending(shared->sending, shared->saving, shared->bufferSize).Run();
        }
    });
}

bool SnapshotThread::Stop() {
    m_shared->sending.Close();
    {
        const std::lock_guard lock(m_lock);
        if (std::exchange(m_stopped, true)) return m_ended;
    }
    // From here on nobody else touches the threads. Without the lock: while this waits, a thread may send to
    // the window, and whoever handles that may ask for another snapshot.
    const bool sent = m_sending.Stop();
    m_shared->saving.Close();  // only now: what was sent may have to be saved as well
    const bool saved = m_saving.Stop();
    const std::lock_guard lock(m_lock);
    m_ended = sent && saved;
    return m_ended;
}

}  // namespace norix
