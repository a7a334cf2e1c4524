#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/Libav.h"
#include "codec/Mpeg4Headers.h"
#include "codec/Picture.h"
#include "codec/Status.h"

namespace codec {

/// MPEG-4 part 2 decoder, one picture from each call. What xvid_decore is made of; internal to codec/.
///
/// An instance belongs to one thread at a time; no allocations of its own per picture in the steady state.
class Mpeg4Decoder {
  public:
    /// What a call to Decode came upon.
    struct Result {
        std::size_t consumed = 0;  ///< bytes of the input that are done with
        bool header = false;       ///< a layer header, described by `vol`; no picture
        Mpeg4Vol vol;
        PlanarPicture picture;  ///< the decoder's own planes, valid until the next call
        PictureInfo info;
        Mpeg4VopType type = Mpeg4VopType::kI;
    };

    /// kOk or kOutOfMemory.
    Status Open();

    /// Decodes what comes first in the packet: a layer header by itself, or else the whole rest of the
    /// packet. kOk with a header or a picture in `*result`; kNoPicture, or a failure, when the whole packet
    /// is done with. `tag` comes back in the PictureInfo of the picture that the packet holds.
    Status Decode(const std::uint8_t* data, std::size_t size, std::int64_t tag, Result* result);

    /// Ends the stream: delivers the picture that waits for its turn, then kNoPicture.
    Status Drain(Result* result);

    /// Forgets what was decoded so far and waits for an intra picture.
    void Reset();

    /// Leaves out B-VOPs.
    void SkipBVops(bool skip);

  private:
    Status Take(Status status, Result* result);

    AvPtr<AVCodecContext> m_context;
    AvPtr<AVFrame> m_frame;
    InputPacket m_input;
    std::vector<std::uint8_t> m_headers;  ///< go in front of the next picture
    Mpeg4Vol m_vol;
    bool m_haveVol = false;
    bool m_waitingForIntra = true;
    bool m_draining = false;
    int m_libraryError = 0;
};

}  // namespace codec
