#include "include/HTTP/RawFraming.h"

namespace norix::http {
namespace {

bool MayBegin(Bytes bytes) {
    return MayBePicture(bytes) || MayBePictureHeader(bytes);
}

// Where the header begins that ends at `end`, or `end`.
std::size_t FindHeaderBefore(Bytes data, std::size_t end) {
    constexpr std::size_t kLongest = kCameraHeaderBegin + 255;
    for (std::size_t length = kCameraHeaderBegin; length <= kLongest && length < end; ++length) {
        const Bytes header = data.subspan(end - length, length);
        if (MayBePictureHeader(header) && ReadPictureHeader(header).length == length) return end - length;
    }
    return end;
}

}  // namespace

Framing::Step RawFraming::Next(ByteWindow& window, Found& found) {
    if (m_walking) return TakeByMarkers(window, found);
    const Bytes data = window.Data();
    if (data.empty()) return Step::More;
    if (!MayBegin(data)) return Search(window);
    if (data.size() < 2) return Step::More;
    if (!MayBePicture(data)) return TakeByHeader(window, found);
    m_walking = true;
    m_headerLength = 0;
    return Step::Again;
}

// Drops bytes that neither a picture nor a header can begin with.
Framing::Step RawFraming::Search(ByteWindow& window) {
    const Bytes data = window.Data();
    std::size_t at = 1;
    while (at < data.size() && !MayBegin(data.subspan(at)))
        ++at;
    return GiveUp(window, at);
}

Framing::Step RawFraming::GiveUp(ByteWindow& window, std::size_t bytes) {
    m_walking = false;
    m_walker.Reset();
    window.Consume(bytes);
    return m_junk.Add(bytes) ? Step::Again : Step::Broken;
}

Framing::Step RawFraming::DropLong(ByteWindow& window, std::size_t bytes) {
    LogLongFrame("picture", m_limit);
    m_walking = false;
    m_walker.Reset();
    window.Consume(bytes);
    m_junk.ExpectLongFrame();
    return Step::Again;
}

Framing::Step RawFraming::TakeByHeader(ByteWindow& window, Found& found) {
    const Bytes data = window.Data();
    if (data.size() < kCameraHeaderBegin) return Step::More;
    const CameraHeader header = ReadPictureHeader(data);
    // A header that isn't followed by a picture is none, or its camera is out of step.
    if (data.size() > header.length && !MayBePicture(data.subspan(header.length))) return GiveUp(window, 1);
    if (data.size() < header.length + 2) return Step::More;
    if (header.total == 0) {
        m_walking = true;
        m_headerLength = header.length;
        return Step::Again;
    }
    if (header.total < header.length + 2) return GiveUp(window, 1);
    if (header.total > m_limit) return DropLong(window, header.total);
    if (data.size() < header.total) return Step::More;
    found = {data.first(header.total), header.total};
    m_junk.Forget();
    return Step::Frame;
}

Framing::Step RawFraming::TakeByMarkers(ByteWindow& window, Found& found) {
    const Bytes data = window.Data();
    const JpegWalker::State state = m_walker.Walk(data.subspan(m_headerLength));
    const std::size_t end = m_headerLength + m_walker.Position();
    // Whatever is behind the limit: it makes no difference in which pieces it comes.
    if (end > m_limit) return DropLong(window, m_limit);
    switch (state) {
        case JpegWalker::State::End:
            found = {data.first(end), end};
            m_walking = false;
            m_walker.Reset();
            m_junk.Forget();
            return Step::Frame;
        case JpegWalker::State::Broken:
            // The picture was cut off and the next one has begun, or it never was one.
            return GiveUp(window, FindHeaderBefore(data, end));
        case JpegWalker::State::More:
            break;
    }
    return Step::More;
}

}  // namespace norix::http
