#pragma once

// Pictures one after the other with nothing around them but, perhaps, the camera's header: an HTTP stream
// that isn't multipart.

#include "include/HTTP/CameraHeader.h"
#include "include/HTTP/Framing.h"
#include "include/HTTP/JpegWalker.h"

namespace norix::http {

class RawFraming : public Framing {
  public:
    explicit RawFraming(std::size_t limit) : m_limit(limit) {}
    Step Next(ByteWindow& window, Found& found) override;

  private:
    Step Search(ByteWindow& window);
    Step TakeByHeader(ByteWindow& window, Found& found);
    Step TakeByMarkers(ByteWindow& window, Found& found);
    Step GiveUp(ByteWindow& window, std::size_t bytes);
    Step DropLong(ByteWindow& window, std::size_t bytes);

    const std::size_t m_limit;
    JpegWalker m_walker;
    bool m_walking = false;
    std::size_t m_headerLength = 0;  // of the picture that is being walked
    Junk m_junk;
};

}  // namespace norix::http
