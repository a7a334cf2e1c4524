#pragma once

#include "render/snapshot/IntelJpegPacker.h"
#include "render/snapshot/SnapshotQueue.h"
#include "render/snapshot/SnapshotShaper.h"

namespace norix {

/// Where finished snapshots are kept.
class SnapshotStore {
  public:
    virtual ~SnapshotStore() = default;
    /// May take as long as the disk or share does. May throw std::bad_alloc. Any thread.
    virtual void Save(const SnapshotRequests::File& file, SnapshotShaper::Bytes jpeg) = 0;
};

/// The work of one of a decoder's snapshot threads: deals with what its queue gives. Belongs to that thread.
class SnapshotWork {
  public:
    virtual ~SnapshotWork() = default;
    SnapshotWork(const SnapshotWork&) = delete;
    SnapshotWork& operator=(const SnapshotWork&) = delete;

    /// Until the queue is closed and empty.
    void Run();

  protected:
    /// `bufferSize`: bytes of the largest picture. The queue outlives it.
    SnapshotWork(SnapshotQueue& queue, std::size_t bufferSize) : m_queue(queue), m_packer(bufferSize) {}

    virtual void Serve(SnapshotJob& job) = 0;
    SnapshotShaper& Shaper() { return m_shaper; }

  private:
    SnapshotQueue& m_queue;
    CIntelJpegPacker m_packer;
    SnapshotShaper m_shaper{m_packer};
};

/// Has pictures saved.
class SnapshotSaving final : public SnapshotWork {
  public:
    SnapshotSaving(SnapshotQueue& queue, SnapshotStore& store, std::size_t bufferSize)
        : SnapshotWork(queue, bufferSize), m_store(store) {}

  private:
    void Serve(SnapshotJob& job) override;

    SnapshotStore& m_store;
};

/// Sends pictures to the control's window; those that are to be saved as well go on to the queue of their
/// next job.
class SnapshotSending final : public SnapshotWork {
  public:
    SnapshotSending(SnapshotQueue& queue, SnapshotQueue& saving, std::size_t bufferSize)
        : SnapshotWork(queue, bufferSize), m_saving(saving) {}

  private:
    void Serve(SnapshotJob& job) override;
    void Send(SnapshotJob& job);
    void PassOn(SnapshotJob& job);

    SnapshotQueue& m_saving;
};

}  // namespace norix
