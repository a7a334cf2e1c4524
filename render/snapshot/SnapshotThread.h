#pragma once

#include <memory>
#include <mutex>

#include "render/snapshot/SnapshotTaker.h"
#include "util/GenericThread.h"

namespace norix {

/// Takes snapshots on two threads of its own, so that neither packing nor a slow disk costs a picture, and a
/// disk that hangs no data for the host either. Each begins with the first request.
class SnapshotThread final : public SnapshotTaker {
  public:
    /// `bufferSize`: bytes of the largest picture.
    explicit SnapshotThread(std::size_t bufferSize);
    /// Stops.
    ~SnapshotThread() override;

    bool HasRoom(Snapshot kind) override;
    void SaveJpeg(SnapshotRequests::File file, const std::uint8_t* jpeg, std::size_t size) override;
    void TakePicture(SnapshotOrder order, DisplayFrame& frame,
                     const std::shared_ptr<CCtrlParam>& param) override;

    /// Takes no more pictures, and waits by the one stop rule until those that it has are dealt with; false
    /// when a thread had to be left alone with them, also when called again. The owner's thread.
    bool Stop();

  private:
    struct Shared;

    bool Start(Snapshot kind);

    const std::shared_ptr<Shared> m_shared;  // with the threads

    std::mutex m_lock;
    // guarded by m_lock
    util::GenericThread m_saving{"SnapshotFile"};
    util::GenericThread m_sending{"SnapshotData"};
    bool m_stopped = false;
    bool m_ended = true;
};

}  // namespace norix
