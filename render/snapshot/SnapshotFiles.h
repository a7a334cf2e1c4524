#pragma once

#include "render/snapshot/SnapshotWork.h"

namespace norix {

/// Snapshots as files. One that can't be written is logged and forgotten: the host is told nothing.
class SnapshotFiles final : public SnapshotStore {
  public:
    void Save(const SnapshotRequests::File& file, SnapshotShaper::Bytes jpeg) override;
};

}  // namespace norix
