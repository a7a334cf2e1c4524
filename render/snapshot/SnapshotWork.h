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

/// The work of a decoder's snapshot thread: packs what the queue gives, has it saved, and sends it to the
/// control's window. Belongs to that thread.
class SnapshotWork {
  public:
    /// `bufferSize`: bytes of the largest picture. Queue and store outlive it.
    SnapshotWork(SnapshotQueue& queue, SnapshotStore& store, std::size_t bufferSize)
        : m_queue(queue), m_store(store), m_packer(bufferSize) {}

    /// Until the queue is closed and empty.
    void Run();

  private:
    void Serve(SnapshotJob& job);
    void Send(SnapshotJob& job);

    SnapshotQueue& m_queue;
    SnapshotStore& m_store;
    CIntelJpegPacker m_packer;
    SnapshotShaper m_shaper{m_packer};
};

}  // namespace norix
