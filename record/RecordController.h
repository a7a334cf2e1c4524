#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "media/CtrlParam.h"
#include "media/MediaRecorder.h"
#include "record/RecordClock.h"
#include "record/RecordEnvironment.h"
#include "record/RecordQueue.h"
#include "record/RecordWriter.h"
#include "record/VideoFacts.h"

namespace norix {

/// When a file is ended and the next one begun; 0 is no limit.
struct RecordLimits {
    std::uint64_t bytes = 0;
    std::uint32_t seconds = 0;
};

/// Decides what becomes of each received frame: where a file begins, which frames it gets, when it ends. The
/// receiving threads are never kept waiting: what has to be done with files is queued for the writer.
///
/// Lives as long as anybody may call it; the parameter block, environment, queue and writer outlive it.
class RecordController final : public MediaRecorder {
  public:
    RecordController(const CCtrlParam& param, RecordEnvironment& environment, RecordQueue& queue,
                     RecordWriter& writer);
    RecordController(const RecordController&) = delete;
    RecordController& operator=(const RecordController&) = delete;

    // ---- Window thread

    /// The wish for a recording, which outlives connections. The next suitable frame opens a file.
    void Start(RecordFormat format);
    /// Ends the wish; the writer finishes the file and reports that.
    void Stop(RecordFormat format);
    void SetLimits(const RecordLimits& limits);

    /// A connection begins: the streams are new.
    void Resume();
    /// A connection ends: no further frame is taken, the file is finished without a report. True when one was
    /// being recorded.
    bool Suspend();

    // ---- Receiving threads

    bool IsRecordingRequested() const override { return m_requested.load(); }
    void RecMedia(RecordMedia type, const std::uint8_t* data, std::size_t size, std::uint32_t pts) override;

  private:
    void TakeVideo(RecordBytes whole, std::uint32_t pts);
    void TakeAudio(RecordBytes whole, std::uint32_t pts);
    bool CanStart(const VideoFacts& facts) const;
    bool IsTimeToTry();
    void Open(std::int64_t time);
    void Close(bool report);
    AviDescription Describe() const;
    void NoteFailure();
    void NoteProgress(std::size_t bytes);
    bool Push(RecordEntry entry, RecordBytes head, RecordBytes body);
    bool IsForVideo() const;
    void WishKeyFrame();

    const CCtrlParam& m_param;
    RecordEnvironment& m_environment;
    RecordQueue& m_queue;
    RecordWriter& m_writer;

    std::atomic<bool> m_requested{false};

    std::mutex m_lock;  // the recording lock; all below is guarded by it. Held for decisions and a copy only
    RecordFormat m_format = RecordFormat::Avi;
    RecordLimits m_limits;
    bool m_suspended = true;
    std::uint32_t m_now = 0;  // of the frame being decided on

    // the streams
    RecordClock m_clock;
    RateEstimate m_rate;
    ParameterSets m_parameters;
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::optional<std::uint32_t> m_lastPts;
    // Pictures come in another order than they are shown, as their timestamps say: for so many more that is
    // believed, and the timestamps say little.
    int m_reordered = 0;

    // the file
    bool m_open = false;
    bool m_begun = false;  // its first frame is there
    std::uint32_t m_file = 0;
    RecordFormat m_fileFormat = RecordFormat::Avi;  // another one may be wished for already
    bool m_changed = false;                         // the stream is not what the file's header says
    bool m_rotate = false;                          // the next frame that can start a file does so
    bool m_waitForKey = false;  // frames were lost for want of room: no others before a key frame
    bool m_roomReported = false;
    std::uint64_t m_bytes = 0;     // as the limit counts them
    std::uint64_t m_overhead = 0;  // of chunks and index
    std::uint32_t m_openedAt = 0;
    AviDescription m_description;
    std::optional<FrameRate> m_fileRate;
    std::optional<std::uint32_t> m_nextTry;   // after a failure
    std::optional<std::uint32_t> m_wishedAt;  // a key frame
    std::vector<std::uint8_t> m_head;         // what goes before a frame
};

}  // namespace norix
