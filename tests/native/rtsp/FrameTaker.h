#pragma once

#include "media/CtrlParam.h"

namespace fuzz {

/// Empties the pools as frames come, since nobody decodes: as their recorder it is told of each before it
/// needs a record.
class FrameTaker final : public norix::MediaRecorder {
  public:
    explicit FrameTaker(norix::CCtrlParam& param) : m_param(param) {}
    bool IsRecordingRequested() const override { return true; }
    void RecMedia(norix::RecordMedia, const std::uint8_t*, std::size_t, std::uint32_t) override {
        norix::VideoFrameRecord* video = nullptr;
        while (m_param.GetFilledVideoFrame(&video) == norix::kResultOk)
            m_param.PutEmptyVideoFrame(video);
        norix::AudioFrameRecord* audio = nullptr;
        while (m_param.GetFilledAudioFrame(&audio) == norix::kResultOk)
            m_param.PutEmptyAudioFrame(audio);
    }

  private:
    norix::CCtrlParam& m_param;
};

}  // namespace fuzz
