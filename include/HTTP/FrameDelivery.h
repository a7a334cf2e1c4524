#pragma once

#include <cstdint>
#include <memory>

#include "include/HTTP/MediaClock.h"
#include "include/HTTP/Splitter.h"
#include "media/CtrlParam.h"
#include "media/MediaPlayers.h"

namespace norix::http {

/// Hands the frames of one stream on to the connection: times them and inserts them into the parameter block.
/// Receiving thread only.
class FrameDelivery : public FrameSink {
  public:
    enum class Kind { Pictures, Sound };

    /// Says in the parameter block what is coming. Both outlive this; players may be null.
    FrameDelivery(Kind kind, CCtrlParam& param, MediaPlayers* players);

    /// Once the stream is known to be media; with the first frame at the latest. Further calls do nothing.
    void StartPlayers();
    /// When the bytes came that are being split.
    void SetArrival(std::uint32_t milliseconds) { m_arrivalMs = milliseconds; }

    void OnFrame(Bytes frame) override;

  private:
    void OnPicture(Bytes frame);
    void OnSound(Bytes block);

    const Kind m_kind;
    CCtrlParam& m_param;
    MediaPlayers* m_players;  // null once they are started
    std::uint32_t m_arrivalMs = 0;
    PictureClock m_pictureClock;
    SoundClock m_soundClock;
};

}  // namespace norix::http
