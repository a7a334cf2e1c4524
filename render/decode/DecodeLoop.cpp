#include "render/decode/DecodeLoop.h"

#include <string>
#include <utility>

#include "util/Log.h"

namespace norix {
namespace {

// However many pictures nobody sees, one in so many milliseconds is there for the window's next repaint.
constexpr std::uint32_t kLongestUnwanted = 1000;

}  // namespace

DecodeLoop::DecodeLoop(Pipeline& pipeline)
    : m_pipeline(pipeline), m_param(pipeline.param.get()), m_adapter(CreateCodecAdapter(pipeline.kind)) {}

void DecodeLoop::Run() {
    while (IsRunning())
        Step();
}

void DecodeLoop::Step() {
    VideoFrameRecord* record = nullptr;
    if (m_param->GetFilledVideoFrame(&record) != kResultOk) return;

    AdoptOfferedSink();
    ReplaceFailedSink();
    if (IsWanted(*record)) {
        DecodeRecord(*record);
        m_param->CountFrame(FrameCounters::kDecoded);
    }
    record->storedLength = 0;
    record->payloadLength = 0;
    m_param->PutEmptyVideoFrame(record);
}

bool DecodeLoop::IsWanted(const VideoFrameRecord& record) {
    const bool keyFrame = record.frameType == kKeyFrame || m_pipeline.kind == VideoCodec::Mjpeg;
    if (!m_param->decodeAV.Get() || (m_param->iFrameOnly.Get() && record.frameType != kKeyFrame)) {
        m_leftOut = true;
        return false;
    }
    if (!m_leftOut || keyFrame) return true;
    // It refers to frames that were left out.
    m_param->WishKeyFrame();
    return false;
}

void DecodeLoop::DecodeRecord(const VideoFrameRecord& record) {
    CompressedFrame frame{
        record.data.get(), record.payloadLength, {m_underWay.Add(record), record.damagedBefore}};
    // While key frames alone are decoded, nothing that they need is missing between them.
    if (m_leftOut && !m_param->iFrameOnly.Get()) {
        m_leftOut = false;
        frame.info.damagedBefore = true;
    }
    m_wanted = IsPictureDue();
    m_tooLarge = false;
    const std::optional<std::int64_t> picture = m_adapter ? m_adapter->Decode(frame, *this) : frame.info.tag;
    // Here rather than behind the queue, where the display thread may already be ahead of it.
    m_param->Trace().Record(record.pts, FrameTimingTrace::kDecoded, platform::Ticks100ns());
    if (picture && m_wanted) m_lastWanted = platform::TimerMs();
    if (picture) PushBackToDisplayQueue(m_underWay.Of(*picture));
    // What can't be shown can still be saved, but no damaged frame.
    if ((picture || m_tooLarge) && m_pipeline.kind == VideoCodec::Mjpeg) SaveJpegOnRequest(record);
}

bool DecodeLoop::IsPictureDue() {
    const SnapshotRequests& requests = m_param->snapshots;
    const bool seen = m_param->display.Get() && m_pipeline.sink->IsSeen();
    const bool due = !m_lastWanted || platform::TimerMs() - *m_lastWanted >= kLongestUnwanted;
    return seen || due || requests.FileWanted() || requests.DataWanted();
}

void DecodeLoop::SaveJpegOnRequest(const VideoFrameRecord& record) {
    SnapshotTaker* const taker = m_pipeline.snapshots.get();
    if (!taker || !m_param->snapshots.FileWanted() || !taker->HasRoom(Snapshot::kFile)) return;
    if (auto file = m_param->snapshots.TakeFile()) {
        taker->SaveJpeg(std::move(*file), record.data.get(), record.payloadLength);
    }
}

// A buffer gets its memory when it is about to be written, so that no more of them have any than there are
// pictures on their way.
codec::OutputPicture DecodeLoop::Describe(PictureBuffer& buffer) const {
    const codec::PixelFormat format = m_pipeline.sink->Format();
    const std::size_t bytes = Fits(m_size) ? PictureSizeBytes(format, m_size) : 0;
    if (buffer.Capacity() != bytes) {
        buffer = PictureBuffer();
        if (bytes != 0) buffer = PictureBuffer(bytes);
    }
    return {format, buffer.Data(), buffer.Capacity(), PictureStride(format, m_size.width)};
}

bool DecodeLoop::Fits(PixelSize size) const {
    return size.width <= codec::kMaxDimension && size.height <= codec::kMaxDimension &&
           PictureSizeBytes(m_pipeline.sink->Format(), size) <= LargestPicture(m_pipeline.settings);
}

std::int64_t DecodeLoop::MostPixels() const {
    return static_cast<std::int64_t>(LargestPicture(m_pipeline.settings)) /
           codec::BytesPerPixel(m_pipeline.sink->Format());
}

bool DecodeLoop::Admits(PixelSize size) {
    if (Fits(size)) {
        if (!m_refused.IsEmpty()) m_param->obstacle.Set({});
        m_refused = {};
        return true;
    }
    m_ready = false;
    m_tooLarge = true;
    if (size == m_refused) return false;
    m_refused = size;
    m_param->SetPictureSize(size.width, size.height);
    const auto limit = static_cast<unsigned>(LargestPicture(m_pipeline.settings));
    NORIX_LOG("CDecoder::DecThread", 1,
              "a picture of %d x %d takes %u bytes, more than DisplayBufferSize = %u", size.width,
              size.height, static_cast<unsigned>(PictureSizeBytes(m_pipeline.sink->Format(), size)), limit);
    m_param->obstacle.Set(std::to_wstring(size.width) + L" x " + std::to_wstring(size.height) +
                          L": too large to be shown");
    return false;
}

// The display thread is held: all frames are in the pool.
void DecodeLoop::ReleasePictures() {
    m_pipeline.pool.ReleaseAllDisplayable();
    m_pipeline.pool.FreeBuffers();
}

void DecodeLoop::AdoptOfferedSink() {
    if (std::shared_ptr<PictureSink> offered = m_pipeline.TakeOfferedSink()) Adopt(std::move(offered));
}

void DecodeLoop::ReplaceFailedSink() {
    if (!m_pipeline.sink->HasFailed()) return;
    if (std::shared_ptr<PictureSink> substitute = m_pipeline.sink->Substitute()) Adopt(std::move(substitute));
}

void DecodeLoop::Adopt(std::shared_ptr<PictureSink> sink) {
    const PauseGate::Pause pause(m_pipeline.gate);
    if (!pause) return;
    ReleasePictures();  // they are in the old one's format
    m_pipeline.sink = std::move(sink);
    if (!m_size.IsEmpty()) m_ready = PrepareSink();
}

bool DecodeLoop::PrepareFor(PixelSize size) {
    m_size = size;
    m_ready = false;
    m_param->SetPictureSize(size.width, size.height);
    if (!Admits(size)) return false;
    const PauseGate::Pause pause(m_pipeline.gate);
    if (!pause) return false;
    ReleasePictures();  // they have the old size
    m_ready = PrepareSink();
    return m_ready;
}

// The display thread is held.
bool DecodeLoop::PrepareSink() {
    if (!Admits(m_size)) return false;
    m_pipeline.view->SetPictureSize(m_size);
    if (m_pipeline.sink->Prepare(m_size)) return true;
    std::shared_ptr<PictureSink> substitute = m_pipeline.sink->Substitute();
    if (!substitute) return false;
    m_pipeline.sink = std::move(substitute);
    return Admits(m_size) && m_pipeline.sink->Prepare(m_size);
}

DisplayFrame* DecodeLoop::WaitForFreeFrame(std::uint32_t pts) {
    DisplayFrame* frame = nullptr;
    while (m_pipeline.pool.TakeFree(&frame) != kResultOk) {
        if (!IsRunning()) return nullptr;
        if (m_param->Settings().enableDisplayFrameDrop) {
            NORIX_LOG("CDecoder::PushBackToDisplayQueue", 0, "DecodePicture(pts=%u) drop video frame", pts);
            return nullptr;
        }
    }
    return frame;
}

void DecodeLoop::PushBackToDisplayQueue(const FramesUnderWay::Frame& source) {
    DisplayFrame* const frame = WaitForFreeFrame(source.pts);
    if (!frame) return;
    if (m_wanted) frame->picture.Swap(m_work);
    frame->pts = source.pts;
    frame->size = m_size;
    frame->format = m_pipeline.sink->Format();
    frame->converted = m_wanted;

    const PixelSize reference{source.info.ReferenceWidth(), source.info.ReferenceHeight()};
    for (std::size_t i = 0; i < kRegionCount; ++i) {
        const RegionRecord& region = source.info.regions[i];
        const bool enabled = region.enabled == 1;
        frame->used[i] = enabled;
        frame->alarms[i] = region.InAlarm();
        frame->levels[i] = region.level;
        if (!enabled) continue;
        frame->regions[i] = RegionToPicture(region, reference, m_size);
        if (!m_param->regionLevelsFrozen.Get()) m_param->regionLevel[i].Set(region.level);
    }
    ReportRegionsOnce();
    m_pipeline.pool.PutDisplayable(frame, 1);
}

void DecodeLoop::ReportRegionsOnce() {
    if (std::exchange(m_regionsReported, true)) return;
    for (std::size_t i = 0; i < kRegionCount; ++i)
        m_param->window.Post(WM_OnMotionWindowUpdate, i, 0);
}

}  // namespace norix
