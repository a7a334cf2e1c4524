#include "render/decode/DecodeLoop.h"

#include <utility>

#include "util/Log.h"

namespace norix {

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
    const bool wanted = !m_param->iFrameOnly.Get() || record->frameType == kKeyFrame;
    if (wanted && m_param->decodeAV.Get() && EnsureBuffer(m_work)) {
        DecodeRecord(*record);
        m_param->CountFrame(FrameCounters::kDecoded);
    }
    record->storedLength = 0;
    record->payloadLength = 0;
    m_param->PutEmptyVideoFrame(record);
}

void DecodeLoop::DecodeRecord(const VideoFrameRecord& record) {
    const bool picture = !m_adapter || m_adapter->Decode(record.data.get(), record.payloadLength, *this);
    // Here rather than behind the queue, where the display thread may already be ahead of it.
    m_param->Trace().Record(record.pts, FrameTimingTrace::kDecoded, platform::Ticks100ns());
    if (picture) PushBackToDisplayQueue(record);
    if (m_pipeline.kind == VideoCodec::Mjpeg) SaveJpegOnRequest(record);
}

void DecodeLoop::SaveJpegOnRequest(const VideoFrameRecord& record) {
    SnapshotTaker* const taker = m_pipeline.snapshots.get();
    if (!taker || !m_param->snapshots.FileWanted() || !taker->HasRoom()) return;
    if (auto file = m_param->snapshots.TakeFile()) {
        taker->SaveJpeg(std::move(*file), record.data.get(), record.payloadLength);
    }
}

bool DecodeLoop::EnsureBuffer(PictureBuffer& buffer) const {
    if (!buffer) buffer = PictureBuffer(m_pipeline.settings.displayBufferSize);
    return static_cast<bool>(buffer);
}

codec::OutputPicture DecodeLoop::Describe(const PictureBuffer& buffer) const {
    const codec::PixelFormat format = m_pipeline.sink->Format();
    return {format, buffer.Data(), buffer.Capacity(), PictureStride(format, m_size.width)};
}

codec::OutputPicture DecodeLoop::Scratch() {
    EnsureBuffer(m_scratch);
    return Describe(m_scratch);
}

void DecodeLoop::AdoptOfferedSink() {
    std::shared_ptr<PictureSink> offered = m_pipeline.TakeOfferedSink();
    if (!offered) return;
    const PauseGate::Pause pause(m_pipeline.gate);
    if (!pause) return;
    m_pipeline.pool.ReleaseAllDisplayable();  // they are in the old one's format
    m_pipeline.sink = std::move(offered);
    if (!m_size.IsEmpty()) m_ready = PrepareSink();
}

bool DecodeLoop::PrepareFor(PixelSize size) {
    m_size = size;
    m_ready = false;
    m_param->SetPictureSize(size.width, size.height);
    const PauseGate::Pause pause(m_pipeline.gate);
    if (!pause) return false;
    m_pipeline.pool.ReleaseAllDisplayable();  // they have the old size
    m_ready = PrepareSink();
    return m_ready;
}

bool DecodeLoop::PrepareSink() {
    const std::size_t bytes = PictureSizeBytes(m_pipeline.sink->Format(), m_size);
    if (bytes > m_pipeline.settings.displayBufferSize) {
        NORIX_LOG("CDecoder::DecThread", 1,
                  "a picture of %d x %d takes %u bytes, more than DisplayBufferSize = %u", m_size.width,
                  m_size.height, static_cast<unsigned>(bytes), m_pipeline.settings.displayBufferSize);
        return false;
    }
    m_pipeline.view->SetPictureSize(m_size);
    return m_pipeline.sink->Prepare(m_size);
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

void DecodeLoop::PushBackToDisplayQueue(const VideoFrameRecord& record) {
    DisplayFrame* const frame = WaitForFreeFrame(record.pts);
    if (!frame) return;
    frame->picture.Swap(m_work);
    frame->pts = record.pts;
    frame->size = m_size;
    frame->format = m_pipeline.sink->Format();

    const PixelSize reference{record.info.ReferenceWidth(), record.info.ReferenceHeight()};
    for (std::size_t i = 0; i < kRegionCount; ++i) {
        const RegionRecord& region = record.info.regions[i];
        const bool enabled = region.enabled == 1;
        frame->alarms[i] = region.InAlarm();
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
