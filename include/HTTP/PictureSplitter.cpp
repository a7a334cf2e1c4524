#include <algorithm>

#include "include/HTTP/CameraHeader.h"
#include "include/HTTP/MultipartFraming.h"
#include "include/HTTP/RawFraming.h"
#include "include/HTTP/Splitter.h"
#include "util/Log.h"

namespace norix::http {
namespace {

// Beyond the longest picture, for headers of parts and for moving bytes rarely.
constexpr std::size_t kSlack = 64 * 1024;

// Memory for more is taken when more comes.
constexpr std::size_t kUsualPicture = 512'000;

}  // namespace

void LogLongFrame(const char* what, std::size_t limit) {
    NORIX_LOG("HttpStreamReceiver::Receive", 0, "A %s is longer than %u bytes, dropped", what,
              static_cast<unsigned>(limit));
}

PictureSplitter::PictureSplitter(std::size_t limit, const ContentType& type)
    : m_limit(limit), m_type(type), m_window(std::min(limit, kUsualPicture) + kSlack, limit + kSlack) {}

// False while there are too few bytes to tell.
bool PictureSplitter::ChooseFraming() {
    constexpr std::size_t kEnough = 4;
    if (m_window.Data().size() < kEnough) return false;
    const Bytes data = m_window.Data().first(kEnough);
    const bool raw = MayBePicture(data) || MayBePictureHeader(data);
    const bool dashes = data[0] == '-' || data[0] == '\r' || data[0] == '\n';
    if (!raw && (dashes || m_type.content == Content::Multipart)) {
        m_framing = std::make_unique<MultipartFraming>(m_limit, m_type.boundary);
    } else {
        m_framing = std::make_unique<RawFraming>(m_limit);
    }
    return true;
}

Splitter::State PictureSplitter::Feed(Bytes bytes, FrameSink& sink) {
    while (!bytes.empty()) {
        const std::size_t before = bytes.size();
        m_window.Append(bytes);
        if (bytes.size() == before) return State::Broken;  // no framing lets the window fill up
        if (!m_framing && !ChooseFraming()) continue;
        for (bool more = false; !more;) {
            Framing::Found found;
            switch (m_framing->Next(m_window, found)) {
                case Framing::Step::More:
                    more = true;
                    break;
                case Framing::Step::Again:
                    break;
                case Framing::Step::Frame:
                    if (!found.frame.empty()) sink.OnFrame(found.frame);
                    m_window.Consume(found.consume);
                    break;
                case Framing::Step::End:
                    return State::End;
                case Framing::Step::Broken:
                    return State::Broken;
            }
        }
    }
    return State::GoOn;
}

}  // namespace norix::http
