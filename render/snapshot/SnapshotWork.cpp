#include "render/snapshot/SnapshotWork.h"

#include <new>
#include <utility>

#include "util/Log.h"

namespace norix {

void SnapshotWork::Run() {
    while (SnapshotJob* const job = m_queue.Take()) {
        try {
            Serve(*job);
        } catch (const std::bad_alloc&) {
            NORIX_LOG("CDecoder::SaveSnapShot", 1, "a snapshot of %d x %d was lost: no memory",
                      job->frame.size.width, job->frame.size.height);
        }
        m_queue.Release(job);
    }
}

void SnapshotSaving::Serve(SnapshotJob& job) {
    if (!job.order.file) return;
    const SnapshotShaper::Bytes jpeg =
        job.isJpeg ? SnapshotShaper::Bytes{job.jpeg.data(), job.jpeg.size()} : Shaper().Jpeg(job.frame);
    if (!jpeg.empty()) m_store.Save(*job.order.file, jpeg);
}

void SnapshotSending::Serve(SnapshotJob& job) {
    try {
        if (job.order.format && job.param) Send(job);
    } catch (const std::bad_alloc&) {
        PassOn(job);
        throw;
    }
    PassOn(job);
}

void SnapshotSending::PassOn(SnapshotJob& job) {
    SnapshotJob* const next = std::exchange(job.next, nullptr);
    if (!next) return;
    next->isJpeg = false;
    next->order = {std::move(job.order.file), std::nullopt};
    std::swap(next->frame, job.frame);
    m_saving.Put(next);
}

void SnapshotSending::Send(SnapshotJob& job) {
    const std::shared_ptr<CCtrlParam> param = std::exchange(job.param, nullptr);
    const SnapshotShaper::Bytes bytes = Shaper().InFormat(*job.order.format, job.frame);
    if (bytes.empty()) return;
    const SnapshotDescription description{static_cast<std::uint32_t>(job.frame.size.width),
                                          static_cast<std::uint32_t>(job.frame.size.height),
                                          static_cast<std::uint32_t>(bytes.size()), *job.order.format};
    param->window.Send(WM_OnSnapshotData, bytes.data(), &description);
}

}  // namespace norix
