#include "render/decode/H264Adapter.h"

namespace norix {

bool H264Adapter::Open(const std::uint8_t* data, std::size_t size, DecodeHost& host) {
    if (m_decoder.Initialise(data, size) != codec::Status::kOk) return false;
    m_decoder.SetSpeed(m_speed);
    return host.PrepareFor({m_decoder.Width(), m_decoder.Height()});
}

// Asks once with the frame and, where that gives nothing, once more for a picture that is already due. A new
// size prepares the presenter first and then asks for the picture that brought it.
bool H264Adapter::GetPicture(const std::uint8_t* data, std::size_t size, DecodeHost& host) {
    codec::Status status = m_decoder.Decode(data, size, host.Work());
    if (status == codec::Status::kSizeChanged) {
        if (!host.PrepareFor({m_decoder.Width(), m_decoder.Height()})) return false;
    }
    if (status != codec::Status::kOk) status = m_decoder.Decode(nullptr, 0, host.Work());
    return status == codec::Status::kOk;
}

bool H264Adapter::Decode(const std::uint8_t* data, std::size_t size, DecodeHost& host) {
    if (!host.IsRunning()) return false;
    if (host.DecodeSpeed() != m_speed) {
        m_decoder.Close();
        m_speed = host.DecodeSpeed();
    }
    // It also closes itself when memory runs out.
    if (!m_decoder.IsInitialised() && !Open(data, size, host)) return false;
    if (!GetPicture(data, size, host)) return false;
    if (host.DeInterlace() && !host.SuppressDeinterlace() &&
        FilterInterlaced(host.Work(), host.Scratch(), host.Size())) {
        host.SwapWorkAndScratch();
    }
    return true;
}

}  // namespace norix
