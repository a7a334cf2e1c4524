#pragma once

#include "media/TimeSync.h"
#include "render/decode/Pipeline.h"

namespace norix {

/// The display thread's work: takes decoded pictures from the display queue, waits until each is due and
/// shows it. Belongs to that thread; its clock starts anew with each object.
class DisplayLoop {
  public:
    explicit DisplayLoop(Pipeline& pipeline);

    /// Until displayRunning is cleared.
    void Run();

    /// One round: waits at most 10 ms for a picture, shows it or gives it back because it is early.
    void Step();

  private:
    void Log(std::uint32_t pts, const CTimeSync::Verdict& verdict) const;
    void Show(DisplayFrame& frame, CCtrlParam& param);
    void Count(const DisplayFrame& frame, CCtrlParam& param);
    SnapshotOrder TakeOrder();

    Pipeline& m_pipeline;
    CTimeSync m_sync;
    const std::int32_t m_maxDiffMs;
};

}  // namespace norix
