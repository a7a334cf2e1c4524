#include "render/present/DisplayLoop.h"

#include <utility>

#include "util/Log.h"

namespace norix {
namespace {

constexpr std::uint32_t kEarlyPollMs = 1;

}  // namespace

DisplayLoop::DisplayLoop(Pipeline& pipeline)
    : m_pipeline(pipeline),
      m_sync(DisplayTimeRules(pipeline.settings.enableTimeSync), platform::TimerMs()),
      m_maxDiffMs(static_cast<std::int32_t>(DisplayTimeRules(true).maxDiffMs)) {}

void DisplayLoop::Run() {
    const platform::FineTimer fine;
    PauseGate::Worker worker(m_pipeline.gate);
    while (m_pipeline.displayRunning.load()) {
        worker.Pass();
        Step();
    }
}

void DisplayLoop::Log(std::uint32_t pts, const CTimeSync::Verdict& verdict) const {
    if (!util::Switches().timeSync) return;
    NORIX_LOG("CDecoder::DisplayVideo", 0,
              "DisplayVideo(pts=%u) sys_time = %u, cur_diff = %d, prev_diff = %d (ms)", pts, verdict.sysTime,
              verdict.curDiff, verdict.prevDiff);
    if (verdict.action == CTimeSync::Action::Rebase) {
        NORIX_LOG("CDecoder::DisplayVideo", 0,
                  "DisplayVideo(pts=%u) prev_diff = %d > max_diff = %d (ms), reset time sync", pts,
                  verdict.prevDiff, m_maxDiffMs);
    }
    if (verdict.late) {
        NORIX_LOG("CDecoder::DisplayVideo", 0,
                  "DisplayVideo(pts=%u) cur_diff = %d > max_diff = %d (ms), reset time sync", pts,
                  verdict.curDiff, m_maxDiffMs);
    }
}

void DisplayLoop::Step() {
    DisplayFrame* frame = nullptr;
    if (m_pipeline.pool.TakeDisplayable(&frame) != kResultOk) return;
    const CTimeSync::Verdict verdict = m_sync.Decide(frame->pts, platform::TimerMs());
    Log(frame->pts, verdict);
    if (verdict.action != CTimeSync::Action::Show) {
        m_pipeline.pool.PutDisplayable(frame, 0);
        if (verdict.action == CTimeSync::Action::Hold) platform::SleepMs(kEarlyPollMs);
        return;
    }

    CCtrlParam& param = *m_pipeline.param;
    if (frame->converted && !frame->size.IsEmpty()) {
        Show(*frame, param);
    } else {
        Count(*frame, param);
    }
    m_pipeline.pool.Release(frame);
}

void DisplayLoop::Count(const DisplayFrame& frame, CCtrlParam& param) {
    param.CountFrame(FrameCounters::kDisplayed);
    param.Trace().Record(frame.pts, FrameTimingTrace::kDisplayed, platform::Ticks100ns());
    param.Trace().Close(frame.pts);
}

void DisplayLoop::Show(DisplayFrame& frame, CCtrlParam& param) {
    std::array<bool, kRegionCount> drawn{};
    for (std::size_t i = 0; i < kRegionCount; ++i) {
        drawn[i] = frame.used[i] && param.showRegions.Get() && param.regionShown[i].Get();
    }
    const bool displayed = param.display.Get();
    if (displayed) {
        if (param.displayChanged.Exchange(false)) m_pipeline.sink->DisplayChanged();
        m_pipeline.sink->Show(frame, drawn);
        m_pipeline.shownAt.store(platform::TimerMs(), std::memory_order_relaxed);
    }
    Count(frame, param);
    SnapshotOrder order = TakeOrder();
    const bool taken = order.file || order.format;
    if (taken) {
        if (displayed) m_pipeline.kept.KeepCopy(frame, drawn);
        m_pipeline.snapshots->TakePicture(std::move(order), frame, m_pipeline.param);
    } else if (displayed) {
        m_pipeline.kept.Keep(frame, drawn);
    }
}

// What is wanted of this picture.
SnapshotOrder DisplayLoop::TakeOrder() {
    SnapshotOrder order;
    SnapshotTaker* const taker = m_pipeline.snapshots.get();
    SnapshotRequests& requests = m_pipeline.param->snapshots;
    if (!taker) return order;
    const bool decoded = m_pipeline.kind == VideoCodec::Mpeg4 || m_pipeline.kind == VideoCodec::H264 ||
                         m_pipeline.kind == VideoCodec::H265;
    if (!decoded) {
        // Pictures of a Motion JPEG stream are not delivered: the request just ends.
        if (requests.DataWanted()) requests.TakeData();
        return order;
    }
    if (requests.FileWanted() && taker->HasRoom(Snapshot::kFile)) order.file = requests.TakeFile();
    if (requests.DataWanted() && taker->HasRoom(Snapshot::kData)) order.format = requests.TakeData();
    return order;
}

}  // namespace norix
