#include "include/HTTP/FrameDelivery.h"

#include "include/HTTP/CameraHeader.h"
#include "media/FrameInfoParser.h"

namespace norix::http {

FrameDelivery::FrameDelivery(Kind kind, CCtrlParam& param, MediaPlayers* players)
    : m_kind(kind), m_param(param), m_players(players) {
    // With sound alone too: by it player and recorder know that blocks may have the camera's header.
    m_param.videoCodec.Set(VideoCodec::Mjpeg);
    if (kind == Kind::Pictures) return;
    constexpr std::uint32_t kSampleRate = 8000;
    m_param.audioCodec.Set(AudioCodec::Pcmu);
    m_param.audioSampleRate.Set(kSampleRate);
}

void FrameDelivery::StartPlayers() {
    if (MediaPlayers* const players = std::exchange(m_players, nullptr)) players->Start();
}

void FrameDelivery::OnFrame(Bytes frame) {
    StartPlayers();
    if (m_kind == Kind::Pictures) {
        OnPicture(frame);
    } else {
        OnSound(frame);
    }
}

void FrameDelivery::OnPicture(Bytes frame) {
    const ParsedFrameInfo info = ParseFrameInfo(VideoCodec::Mjpeg, frame.data(), frame.size());
    constexpr int kKeyFrame = 0;  // each picture stands for itself
    m_param.InsertFrameToVideoBuffer(frame.data(), frame.size(),
                                     m_pictureClock.Stamp(m_arrivalMs, info.timeStampMs), kKeyFrame);
}

void FrameDelivery::OnSound(Bytes block) {
    const bool header = block.size() > kSoundHeaderLength && MayBeSoundHeader(block);
    const std::size_t samples = block.size() - (header ? kSoundHeaderLength : 0);
    m_param.InsertFrameToAudioBuffer(block.data(), block.size(),
                                     m_soundClock.Stamp(m_arrivalMs, static_cast<std::uint32_t>(samples)));
}

}  // namespace norix::http
