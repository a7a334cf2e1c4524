#include "media/CtrlParam.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "media/FrameInfoParser.h"
#include "media/PtsMonitor.h"
#include "util/Log.h"

namespace norix {
namespace {

RecordMedia MediaOf(VideoCodec codec) {
    if (codec == VideoCodec::H264) return RecordMedia::VideoH264;
    return codec == VideoCodec::H265 ? RecordMedia::VideoH265 : RecordMedia::VideoMpeg4OrMjpeg;
}

}  // namespace

// Marks an insert operation as under way, for WaitForInserts.
class CCtrlParam::InsertScope {
  public:
    explicit InsertScope(std::atomic<int>& underWay) : m_underWay(underWay) { ++m_underWay; }
    ~InsertScope() { --m_underWay; }
    InsertScope(const InsertScope&) = delete;
    InsertScope& operator=(const InsertScope&) = delete;

  private:
    std::atomic<int>& m_underWay;
};

CCtrlParam::CCtrlParam() : CCtrlParam(platform::ReadMediaSettings()) {}

CCtrlParam::CCtrlParam(const MediaSettings& settings)
    : m_settings(settings),
      m_videoRecords(settings.videoBufferNum),
      m_audioRecords(settings.audioBufferNum),
      m_videoEmpty(settings.videoBufferNum),
      m_videoFilled(settings.videoBufferNum),
      m_audioEmpty(settings.audioBufferNum),
      m_audioFilled(settings.audioBufferNum) {
    constexpr std::uint32_t kKilobyte = 1024;
    NORIX_LOG("CCtrlParam::CCtrlParam", 0, "VideoBufferNum = %u, VideoBufferSize = %u (KB)",
              settings.videoBufferNum,
              settings.videoBufferSize.value_or(kDefaultVideoBufferSize) / kKilobyte);
    NORIX_LOG("CCtrlParam::CCtrlParam", 0, "AudioBufferNum = %u, AudioBufferSize = %u (KB)",
              settings.audioBufferNum, settings.audioBufferSize / kKilobyte);
    // Video records get their memory with the frames that need it.
    for (AudioFrameRecord& record : m_audioRecords) {
        record.data = std::make_unique_for_overwrite<std::uint8_t[]>(settings.audioBufferSize);
    }
    FillPools();
}

CCtrlParam::~CCtrlParam() = default;

void CCtrlParam::FillPools() {
    m_videoFilled.Clear();
    m_audioFilled.Clear();
    m_videoEmpty.Clear();
    m_audioEmpty.Clear();
    for (VideoFrameRecord& record : m_videoRecords)
        m_videoEmpty.PutTail(&record);
    for (AudioFrameRecord& record : m_audioRecords)
        m_audioEmpty.PutTail(&record);
}

void CCtrlParam::ResetForNewStream() {
    FillPools();
    m_counters.Count(FrameCounters::kResetAll);
    m_skipToKeyFrame = false;
    m_damaged = false;
    m_roomPerRecord = m_largestFrame = m_framesSeen = 0;
    m_keyFrameWished.Set(false);
    m_events.Reset();
    window.ForgetEvents();
    m_trace.Stop();
    m_trace.Start();
    videoCodec.Set(VideoCodec::None);
    audioCodec.Set(AudioCodec::None);
    audioSampleRate.Set(0);
    aacConfig.Set({});
    streamProblem.Set({});
    soundPlayed.Set(true);
    streamForm.Set(StreamForm::Unknown);
    refusal.Set(0);
    groupsRefused.Set(false);
    failure.Set({});
    for (auto& level : regionLevel)
        level.Set(0);
    m_pictureWidth.Set(0);
    m_pictureHeight.Set(0);
    displayChanged.Set(false);
    obstacle.Set({});
    m_closing.store(false);
}

void CCtrlParam::SetPictureSize(int width, int height) {
    const bool changed = m_pictureWidth.Exchange(width) != width;
    if (m_pictureHeight.Exchange(height) != height || changed) {
        window.Post(WM_OnResolutionChanged, static_cast<std::uintptr_t>(width), height);
    }
}

bool CCtrlParam::WaitForInserts(std::uint32_t milliseconds) const {
    constexpr std::uint32_t kStepMs = 5;
    const std::uint32_t begin = platform::TimerMs();
    while (m_insertsUnderWay.load() != 0) {
        if (platform::TimerMs() - begin >= milliseconds) return false;
        platform::AnswerSentMessages(kStepMs);
    }
    return true;
}

void CCtrlParam::SendNewFrame(const std::uint8_t* data, std::size_t size, int frameType, bool signal) {
    const NewFrameDescription description{static_cast<std::uint32_t>(frameType), signal ? 1u : 0u,
                                          static_cast<std::uint32_t>(size)};
    window.Send(WM_OnNewFrame, &description, data);
}

std::uint32_t CCtrlParam::LargestVideoFrame() const {
    return m_settings.videoBufferSize.value_or(kLargestVideoFrame);
}

// All records get what the largest frame of late took, so that growing ends soon, and a single giant does not
// make giants of all of them for ever.
bool CCtrlParam::MakeRoom(VideoFrameRecord& record, std::uint32_t length) try {
    constexpr std::uint32_t kStep = 64 * 1024;
    constexpr std::uint32_t kOfLate = 2000;  // frames: several groups of pictures
    constexpr std::uint32_t kMuch = 4;
    const auto roomFor = [&](std::uint32_t size) {
        return std::min((size / kStep + 1) * kStep, LargestVideoFrame());
    };
    m_largestFrame = std::max(m_largestFrame, length);
    m_roomPerRecord = std::max(m_roomPerRecord, roomFor(length));
    if (++m_framesSeen == kOfLate) {
        m_roomPerRecord = roomFor(std::exchange(m_largestFrame, 0));
        m_framesSeen = 0;
    }
    if (length <= record.capacity && record.capacity / kMuch <= m_roomPerRecord) return true;
    record.capacity = 0;
    record.data.reset();
    record.data = std::make_unique_for_overwrite<std::uint8_t[]>(m_roomPerRecord);
    record.capacity = m_roomPerRecord;
    return true;
} catch (const std::bad_alloc&) {
    NORIX_LOG("CCtrlParam::InsertFrameToVideoBuffer", 1, "no memory for a frame of %u bytes", length);
    return false;
}

VideoFrameRecord* CCtrlParam::WaitForEmptyVideo(std::uint32_t pts, bool keyFrame) {
    VideoFrameRecord* record = nullptr;
    while (GetEmptyVideoFrame(&record) != kResultOk) {
        if (m_closing.load()) return nullptr;
        if (m_settings.enableDecodeFrameDrop && !keyFrame) {
            m_skipToKeyFrame = true;
            WishKeyFrame();
            NORIX_LOG("CCtrlParam::InsertFrameToVideoBuffer", 0,
                      "InsertFrameToVideoBuffer(pts=%u) drop video frame (%c)", pts, 'p');
            return nullptr;
        }
    }
    return record;
}

AudioFrameRecord* CCtrlParam::WaitForEmptyAudio(std::uint32_t pts) {
    AudioFrameRecord* record = nullptr;
    while (GetEmptyAudioFrame(&record) != kResultOk) {
        if (m_closing.load()) return nullptr;
        if (m_settings.enableDecodeFrameDrop) {
            NORIX_LOG("CCtrlParam::InsertFrameToAudioBuffer", 0,
                      "InsertFrameToAudioBuffer(pts=%u) drop audio frame", pts);
            return nullptr;
        }
    }
    return record;
}

int CCtrlParam::InsertFrameToVideoBuffer(const std::uint8_t* data, std::size_t size, std::uint32_t pts,
                                         int isPFrame, bool damagedBefore) {
    const InsertScope scope(m_insertsUnderWay);
    if (!data || m_closing.load()) return -1;
    m_damaged = m_damaged || damagedBefore;

    m_trace.Record(pts, FrameTimingTrace::kReceived, platform::Ticks100ns());
    m_counters.Count(FrameCounters::kReceived);
    if (util::Switches().ptsDiff) ShowPTSDiff(pts, frameRate.Get());

    const VideoCodec codec = videoCodec.Get();
    const ParsedFrameInfo parsed = ParseFrameInfo(codec, data, size);
    const std::uint8_t* const payload = data + parsed.headerLength;
    const std::size_t payloadSize = size - parsed.headerLength;
    streamForm.Set(parsed.headerLength != 0 ? StreamForm::WithHeader : StreamForm::Bare);

    if (const auto recorder = m_recorder.Get()) {
        recorder->RecMedia(MediaOf(codec), data, size, pts);
    }
    m_events.Report(parsed, window);
    if (notifyVideoData.Get()) SendNewFrame(payload, payloadSize, isPFrame, parsed.signal);

    const bool keyFrame = isPFrame == 0;
    if (keyFrame) {
        m_skipToKeyFrame = false;
        m_keyFrameWished.Set(false);
    }
    if (m_skipToKeyFrame) {
        WishKeyFrame();
        NORIX_LOG("CCtrlParam::InsertFrameToVideoBuffer", 0,
                  "InsertFrameToVideoBuffer(pts=%u) drop video frame (%c), skip GOP", pts, 'p');
        return -1;
    }
    VideoFrameRecord* const record = WaitForEmptyVideo(pts, keyFrame);
    if (!record) return -1;

    const std::uint32_t length =
        static_cast<std::uint32_t>(std::min<std::size_t>(payloadSize, LargestVideoFrame()));
    if (!MakeRoom(*record, length)) {
        PutEmptyVideoFrame(record);
        m_damaged = true;
        WishKeyFrame();
        return -1;
    }
    if (length != 0) std::memcpy(record->data.get(), payload, length);
    record->frameType = static_cast<std::uint8_t>(isPFrame);
    record->storedLength = length;
    record->payloadLength = length;
    record->headerLength = static_cast<std::uint32_t>(parsed.headerLength);
    record->pts = pts;
    // A frame that was cut can't be decoded whole, nor can those that refer to it.
    const bool cut = length < payloadSize && codec != VideoCodec::Mjpeg;
    if (cut) WishKeyFrame();
    record->damagedBefore = std::exchange(m_damaged, cut);
    record->info = parsed.info;
    // Before the frame is handed on: afterwards its later stages may already be under way.
    m_trace.Record(pts, FrameTimingTrace::kInserted, platform::Ticks100ns());
    PutFilledVideoFrame(record);
    return 1;
}

int CCtrlParam::InsertFrameToAudioBuffer(const std::uint8_t* data, std::size_t size, std::uint32_t pts) {
    const InsertScope scope(m_insertsUnderWay);
    if (!data || m_closing.load()) return -1;

    const std::uint32_t length =
        static_cast<std::uint32_t>(std::min<std::size_t>(size, m_settings.audioBufferSize));
    if (const auto recorder = m_recorder.Get(); recorder && recorder->IsRecordingRequested()) {
        recorder->RecMedia(RecordMedia::Audio, data, length, pts);
    }
    if (!soundPlayed.Get()) return -1;
    AudioFrameRecord* const record = WaitForEmptyAudio(pts);
    if (!record) return -1;

    std::memcpy(record->data.get(), data, length);
    record->storedLength = length;
    record->receivedLength = static_cast<std::uint32_t>(size);
    record->pts = pts;
    PutFilledAudioFrame(record, 1);
    return 1;
}

}  // namespace norix
