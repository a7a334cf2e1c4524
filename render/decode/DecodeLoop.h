#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "render/decode/CodecAdapter.h"
#include "render/decode/FramesUnderWay.h"
#include "render/decode/Pipeline.h"

namespace norix {

/// The decode thread's work: takes compressed frames from the parameter block, has them decoded and queues
/// the pictures. Belongs to that thread.
class DecodeLoop final : private DecodeHost {
  public:
    /// The pipeline has its parameter block.
    explicit DecodeLoop(Pipeline& pipeline);

    /// Until decodeRunning is cleared.
    void Run();

    /// One round: waits at most 10 ms for a frame and deals with it.
    void Step();

  private:
    bool IsRunning() const override { return m_pipeline.decodeRunning.load(); }
    bool Admits(PixelSize size) override;
    std::int64_t MostPixels() const override;
    bool PrepareFor(PixelSize size) override;
    PixelSize Size() const override { return m_size; }
    bool IsReady() const override { return m_ready; }
    codec::OutputPicture Work() override { return Describe(m_work); }
    codec::OutputPicture Scratch() override { return Describe(m_scratch); }
    void SwapWorkAndScratch() override { m_work.Swap(m_scratch); }
    bool IsPictureWanted() const override { return m_wanted; }
    bool DeInterlace() const override { return m_param->deInterlace.Get(); }
    bool SuppressDeinterlace() const override { return m_param->suppressDeinterlace.Get(); }
    int DecodeSpeed() const override { return m_param->decodeSpeed.Get(); }
    void WishKeyFrame() override { m_param->WishKeyFrame(); }

    codec::OutputPicture Describe(PictureBuffer& buffer) const;
    bool Fits(PixelSize size) const;
    void ReleasePictures();
    bool IsWanted(const VideoFrameRecord& record);
    bool IsPictureDue();
    void AdoptOfferedSink();
    void ReplaceFailedSink();
    void Adopt(std::shared_ptr<PictureSink> sink);
    bool PrepareSink();
    void DecodeRecord(const VideoFrameRecord& record);
    void SaveJpegOnRequest(const VideoFrameRecord& record);
    DisplayFrame* WaitForFreeFrame(std::uint32_t pts);
    void PushBackToDisplayQueue(const FramesUnderWay::Frame& source);
    void ReportRegionsOnce();

    Pipeline& m_pipeline;
    CCtrlParam* const m_param;
    const std::unique_ptr<CodecAdapter> m_adapter;  // null: frames are passed on undecoded
    FramesUnderWay m_underWay;
    PictureBuffer m_work;     // the codec writes here; swapped with a display frame's
    PictureBuffer m_scratch;  // for filters
    PixelSize m_size;
    bool m_ready = false;                       // the sink is prepared for m_size
    bool m_leftOut = false;                     // frames were, since the last key frame
    PixelSize m_refused;                        // the size that was refused last, since one was admitted
    bool m_tooLarge = false;                    // the frame in hand, to be shown
    bool m_wanted = true;                       // the picture of the frame in hand
    std::optional<std::uint32_t> m_lastWanted;  // when there was one that was, by the multimedia timer
    bool m_regionsReported = false;
};

}  // namespace norix
