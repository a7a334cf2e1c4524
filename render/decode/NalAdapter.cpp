#include "render/decode/NalAdapter.h"

namespace norix {

// Pictures that can't be shown are not decoded either: the decoder takes its memory with the first one.
bool NalAdapter::IsAdmitted(const CompressedFrame& frame, DecodeHost& host) {
    PixelSize announced;
    const codec::Status status =
        codec::NalDecoder::Announced(m_codec, frame.data, frame.size, &announced.width, &announced.height);
    if (status != codec::Status::kOk && status != codec::Status::kUnsupported) return !m_refused;
    m_refused = !host.Admits(announced);
    if (m_refused) m_decoder.Close();
    return !m_refused;
}

bool NalAdapter::Open(const CompressedFrame& frame, DecodeHost& host) {
    const codec::Status status = m_decoder.Initialise(frame.data, frame.size);
    if (status != codec::Status::kOk) {
        // Only a key frame brings what it begins with. No other one would help where it isn't supported.
        if (status != codec::Status::kUnsupported) host.WishKeyFrame();
        return false;
    }
    m_decoder.SetSpeed(m_speed);
    return host.PrepareFor({m_decoder.Width(), m_decoder.Height()});
}

// Asks once with the frame and, where that gives nothing, once more for a picture that is already due. A new
// size prepares the presenter first and then asks for the picture that brought it.
bool NalAdapter::GetPicture(const CompressedFrame& frame, DecodeHost& host) {
    if (!host.IsPictureWanted()) return GetUnwanted(frame, host);
    codec::Status status = m_decoder.Decode(frame.data, frame.size, host.Work(), frame.info);
    if (status == codec::Status::kSizeChanged) {
        if (!host.PrepareFor({m_decoder.Width(), m_decoder.Height()})) return false;
    }
    if (status != codec::Status::kOk) status = m_decoder.Decode(nullptr, 0, host.Work());
    return status == codec::Status::kOk;
}

// Others refer to it, but nobody gets to see it: it stays where it was decoded.
bool NalAdapter::GetUnwanted(const CompressedFrame& frame, DecodeHost& host) {
    codec::PlanarPicture picture;
    if (m_decoder.DecodePlanar(frame.data, frame.size, &picture, frame.info) != codec::Status::kOk)
        return false;
    const PixelSize size{picture.width, picture.height};
    return size == host.Size() || host.PrepareFor(size);
}

std::optional<std::int64_t> NalAdapter::Decode(const CompressedFrame& frame, DecodeHost& host) {
    if (!host.IsRunning()) return std::nullopt;
    if (host.DecodeSpeed() != m_speed) {
        // It knows the parameter sets still, but none of the pictures that others refer to.
        if (m_decoder.IsInitialised()) host.WishKeyFrame();
        m_decoder.Close();
        m_speed = host.DecodeSpeed();
    }
    if (!IsAdmitted(frame, host)) return std::nullopt;
    m_decoder.SetMostPixels(host.MostPixels());
    // It also closes itself when memory runs out.
    if (!m_decoder.IsInitialised() && !Open(frame, host)) return std::nullopt;
    if (!GetPicture(frame, host)) {
        if (!m_decoder.IsInitialised()) host.WishKeyFrame();
        return std::nullopt;
    }
    if (host.IsPictureWanted() && host.DeInterlace() && !host.SuppressDeinterlace() &&
        FilterInterlaced(host.Work(), host.Scratch(), host.Size())) {
        host.SwapWorkAndScratch();
    }
    return m_decoder.Info().tag;
}

}  // namespace norix
