#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "media/ControlWindow.h"
#include "media/FrameCounters.h"
#include "media/FrameEventReporter.h"
#include "media/FrameQueue.h"
#include "media/FrameRecord.h"
#include "media/FrameTimingTrace.h"
#include "media/MediaRecorder.h"
#include "media/MediaSettings.h"
#include "media/MediaTypes.h"
#include "media/MulticastInfo.h"
#include "media/Shared.h"
#include "media/SnapshotRequests.h"

namespace norix {

inline constexpr std::int32_t kDefaultFrameRate = 30;
/// The volume while the host has chosen none: sound is played as it was recorded.
inline constexpr std::int32_t kVolumeAsRecorded = -1;

/// The parameter block that the threads of one connection share: settings and requests of the host, what is
/// known of the stream, the frame pools and the frame counters.
///
/// Shared by the control and everything that uses it: receivers, decoder, audio player and their threads. The
/// public values below are atomic or locked one by one; who writes each is said at the head of its band.
///
/// Frames: a receiver calls an insert operation, which copies the frame into a free record and queues it; the
/// decode thread and the audio thread take filled records and give them back. Records are made once; those
/// for video take memory as the stream's frames grow, which ends after the first key frames, and give it back
/// some time after the frames have become much smaller.
class CCtrlParam {
  public:
    /// Reads the machine-wide settings.
    CCtrlParam();
    explicit CCtrlParam(const MediaSettings& settings);
    ~CCtrlParam();
    CCtrlParam(const CCtrlParam&) = delete;
    CCtrlParam& operator=(const CCtrlParam&) = delete;

    /// Makes the block fit for another connection: counters, stream facts and queues as after construction,
    /// the closing flag cleared; the host's settings and requests stay. No other thread may use the block
    /// meanwhile. Records that an ended thread never gave back return to their pool.
    void ResetForNewStream();

    // ---- Written by the window thread, read by all

    ControlWindow window;  // where messages go
    Guarded<std::wstring> captionText;
    Shared<bool> displayChanged{false};  // the display mode changed; cleared by the display thread
    Shared<bool> notifyVideoData{false};
    Shared<bool> notifyNewPacket{false};
    Shared<MediaType> mediaType{MediaType::AudioVideo};
    Guarded<MulticastInfo> multicast;

    Shared<bool> decodeAV{true};
    Shared<bool> display{true};
    Shared<bool> iFrameOnly{false};
    Shared<bool> deInterlace{false};
    Shared<bool> suppressDeinterlace{false};  // H.264 only: deinterlacing is off whatever deInterlace says
    Shared<bool> forceGDI{false};
    Shared<bool> directDrawAvailable{false};
    Shared<std::int32_t> decodeSpeed{0};  // 0 to 7
    Shared<bool> voiceMute{false};
    Shared<std::int32_t> voiceVolume{kVolumeAsRecorded};  // else 0 to 100

    /// While there are talkers, sound is played so many dB lower.
    Shared<std::int32_t> talkAttenuation{0};

    Shared<bool> showRegions{false};  // regions are drawn over the picture...
    std::array<Shared<bool>, kRegionCount> regionShown{Shared<bool>(true), Shared<bool>(true),
                                                       Shared<bool>(true)};  // ...those that are shown
    Shared<bool> regionLevelsFrozen{false};                                  // regionLevel keeps its values

    SnapshotRequests snapshots;

    // ---- Written by the window thread while connecting, later by the receiving thread

    Shared<VideoCodec> videoCodec{VideoCodec::None};
    Shared<AudioCodec> audioCodec{AudioCodec::None};
    Shared<std::int32_t> frameRate{kDefaultFrameRate};
    Shared<std::int32_t> serverFrameRate{0};   // as the camera states it; 0 = unknown
    Shared<std::uint32_t> audioSampleRate{0};  // Hz; 0 = not known, 8000 is assumed
    Guarded<std::vector<std::uint8_t>> aacConfig;

    // ---- Written by the receiving threads

    Shared<bool> soundPlayed{true};  // false: nobody takes sound out of the queue, so none is put in

    /// What was asked for and can't be shown or played, by name, for the user; "" when there is nothing.
    Guarded<std::string> streamProblem;

    Shared<StreamForm> streamForm{StreamForm::Unknown};

    /// The status (RTSP, HTTP) with which the stream's server has refused it; 0: it has not.
    Shared<std::int32_t> refusal{0};
    /// The server has named multicast groups that the host's page was not allowed to join.
    Shared<bool> groupsRefused{false};
    /// Why the stream does not come, or no longer, for the user (net/Failure.h); empty: nothing known.
    Guarded<std::string> failure;

    // ---- Written by the decode thread

    std::array<Shared<std::uint8_t>, kRegionCount> regionLevel;

    Guarded<std::wstring> obstacle;  // why there are no pictures, for the user to read; empty: nothing known

    /// Stores the size of the pictures; a change is reported to the control's window.
    void SetPictureSize(int width, int height);
    int PictureWidth() const { return m_pictureWidth.Get(); }
    int PictureHeight() const { return m_pictureHeight.Get(); }

    // ---- Written by the snapshot thread

    // ---- Any thread

    /// How many voices are on their way from this computer's microphone; each counts itself in and out.
    std::atomic<std::int32_t> talkers{0};

    /// Frames can't be shown before the next key frame, so the camera should send one soon. The receiver asks
    /// it, at most once a second; a key frame that comes before takes the wish back.
    void WishKeyFrame() { m_keyFrameWished.Set(true); }
    bool TakeKeyFrameWish() { return m_keyFrameWished.Exchange(false); }

    const MediaSettings& Settings() const { return m_settings; }
    FrameTimingTrace& Trace() { return m_trace; }

    /// While closing, insert operations refuse every frame and give up waiting for a record.
    void SetClosing(bool closing) { m_closing.store(closing); }
    bool IsClosing() const { return m_closing.load(); }

    /// Waits until no insert operation is under way; false when one still is after that time. After
    /// SetClosing(true) and a true answer, no receiver touches the queues any more. Meant for the window's
    /// thread: messages that an insert operation is sending to it are answered meanwhile.
    bool WaitForInserts(std::uint32_t milliseconds) const;

    /// The recorder that the insert operations feed; null for none. One that is taken away may still be
    /// inside a call, which keeps it alive.
    void SetRecorder(std::shared_ptr<MediaRecorder> recorder) { m_recorder.Set(std::move(recorder)); }

    void CountFrame(std::uint32_t which) { m_counters.Count(which); }  // FrameCounters::Which
    std::uint32_t GetFrameCount(std::uint32_t which) const { return m_counters.Get(which); }
    FrameCounts TakeFrameCounts() { return m_counters.Take(); }

    /// Queues, any thread. A get waits at most 10 ms; kResultFail when nothing came, kResultInvalidArgument
    /// for a missing argument.
    Result GetEmptyVideoFrame(VideoFrameRecord** record) { return Get(m_videoEmpty, record); }
    Result GetFilledVideoFrame(VideoFrameRecord** record) { return Get(m_videoFilled, record); }
    Result PutEmptyVideoFrame(VideoFrameRecord* record) { return Put(m_videoEmpty, record, true); }
    Result PutFilledVideoFrame(VideoFrameRecord* record) { return Put(m_videoFilled, record, true); }
    Result GetEmptyAudioFrame(AudioFrameRecord** record) { return Get(m_audioEmpty, record); }
    Result GetFilledAudioFrame(AudioFrameRecord** record) { return Get(m_audioFilled, record); }
    Result PutEmptyAudioFrame(AudioFrameRecord* record) { return Put(m_audioEmpty, record, true); }
    /// Without one, the next audio frame that is received waits, or is dropped.
    bool HasEmptyAudioFrame() const { return m_audioEmpty.Size() != 0; }
    /// With atTail 0 the record becomes the next one taken: for a consumer that could not use it yet.
    Result PutFilledAudioFrame(AudioFrameRecord* record, int atTail) {
        return Put(m_audioFilled, record, atTail != 0);
    }

    // ---- Receiving threads, one for video and one for audio (or one for both)

    /// Hands on one received frame: 1 when it was stored, -1 when it was dropped. `isPFrame` 0 is a key
    /// frame. A frame longer than a record is cut. When all records are taken, a frame other than a key frame
    /// is dropped with the rest of its group of pictures, if EnableDecodeFrameDrop is on; else the call
    /// waits. `damagedBefore`: the receiver knows that something is missing between the frame before and this
    /// one; the record that follows the gap says so, also where this frame is dropped.
    int InsertFrameToVideoBuffer(const std::uint8_t* data, std::size_t size, std::uint32_t pts, int isPFrame,
                                 bool damagedBefore = false);
    int InsertFrameToAudioBuffer(const std::uint8_t* data, std::size_t size, std::uint32_t pts);

  private:
    class InsertScope;

    template <class T>
    static Result Get(FrameQueue<T>& queue, T** record) {
        if (!record) return kResultInvalidArgument;
        *record = queue.Take();
        return *record ? kResultOk : kResultFail;
    }
    template <class T>
    static Result Put(FrameQueue<T>& queue, T* record, bool atTail) {
        if (!record) return kResultInvalidArgument;
        return (atTail ? queue.PutTail(record) : queue.PutHead(record)) ? kResultOk : kResultFail;
    }

    void FillPools();
    void SendNewFrame(const std::uint8_t* data, std::size_t size, int frameType, bool signal);
    VideoFrameRecord* WaitForEmptyVideo(std::uint32_t pts, bool keyFrame);
    std::uint32_t LargestVideoFrame() const;
    bool MakeRoom(VideoFrameRecord& record, std::uint32_t length);
    AudioFrameRecord* WaitForEmptyAudio(std::uint32_t pts);

    const MediaSettings m_settings;

    // constant after construction
    std::vector<VideoFrameRecord> m_videoRecords;
    std::vector<AudioFrameRecord> m_audioRecords;

    // any thread
    FrameQueue<VideoFrameRecord> m_videoEmpty;
    FrameQueue<VideoFrameRecord> m_videoFilled;
    FrameQueue<AudioFrameRecord> m_audioEmpty;
    FrameQueue<AudioFrameRecord> m_audioFilled;
    FrameCounters m_counters;
    FrameTimingTrace m_trace;
    std::atomic<bool> m_closing{false};
    Shared<bool> m_keyFrameWished{false};
    std::atomic<int> m_insertsUnderWay{0};
    Guarded<std::shared_ptr<MediaRecorder>> m_recorder;

    // written by the decode thread
    Shared<int> m_pictureWidth{0};
    Shared<int> m_pictureHeight{0};

    // video receiving thread only
    bool m_skipToKeyFrame = false;
    bool m_damaged = false;             // since the frame that was stored last
    std::uint32_t m_roomPerRecord = 0;  // bytes that a video record gets when it needs other memory
    std::uint32_t m_largestFrame = 0;   // of the latest m_framesSeen
    std::uint32_t m_framesSeen = 0;
    FrameEventReporter m_events;
};

}  // namespace norix
