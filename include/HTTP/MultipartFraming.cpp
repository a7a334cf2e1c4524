#include "include/HTTP/MultipartFraming.h"

#include <algorithm>

#include "include/HTTP/CameraHeader.h"
#include "media/FrameInfoParser.h"
#include "protocol/Text.h"
#include "util/Log.h"

namespace norix::http {
namespace {

constexpr std::size_t kLineLimit = 256;
constexpr std::size_t kHeadersLimit = 8 * 1024;
constexpr std::size_t kTailLimit = 64;  // blanks behind a delimiter
constexpr std::uint32_t kLongestPart = 64 * 1024 * 1024;

std::string_view TextOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The length of the header lines in front with the empty line that ends them; 0: not all here.
std::size_t HeadersLength(std::string_view text) {
    for (std::size_t begin = 0;;) {
        const std::size_t end = text.find('\n', begin);
        if (end == std::string_view::npos) return 0;
        if (end == begin || (end == begin + 1 && text[begin] == '\r')) return end + 1;
        begin = end + 1;
    }
}

// A picture that begins as one and doesn't end as one: its length may have been wrong.
bool IsCutPicture(Bytes part) {
    const std::size_t header = ParseFrameInfo(VideoCodec::Mjpeg, part.data(), part.size()).headerLength;
    return IsPicture(part.subspan(header)) && !TextOf(part).ends_with("\xFF\xD9");
}

}  // namespace

MultipartFraming::MultipartFraming(std::size_t limit, std::string_view boundary)
    : m_limit(limit), m_stated(boundary) {
    if (!m_stated.empty()) m_delimiter = m_stated.starts_with("--") ? m_stated : "--" + m_stated;
}

Framing::Step MultipartFraming::Next(ByteWindow& window, Found& found) {
    switch (m_part) {
        case Part::Start:
            return Begin(window);
        case Part::Search:
            return SkipToDelimiter(window);
        case Part::Headers:
            return ReadHeaders(window);
        case Part::CountedBody:
            return TakeCounted(window, found);
        case Part::Body:
            return TakeUpToDelimiter(window, found);
    }
    return Step::Broken;
}

void MultipartFraming::StartPart(Part part) {
    m_part = part;
    m_scanned = 0;
    m_walker.Reset();
}

// Learns from the first line how this camera writes its boundary.
Framing::Step MultipartFraming::Begin(ByteWindow& window) {
    const std::string_view text = TextOf(window.Data());
    const std::size_t begin = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    std::string_view line = text.substr(begin, kLineLimit);
    const bool cut = line.size() == kLineLimit;
    const std::size_t end = line.find('\n');
    if (end == std::string_view::npos && !cut) {
        window.Consume(begin);
        return m_junk.Add(begin) ? Step::More : Step::Broken;
    }
    line = protocol::trim(line.substr(0, end));
    if (end == std::string_view::npos || line.starts_with('\xFF')) {
        StartPart(Part::Search);
    } else if ((line.starts_with("--") && line.size() > 2) || (!line.empty() && line == m_stated)) {
        m_delimiter = line;
        window.Consume(begin + end + 1);
        StartPart(Part::Headers);
        return Step::Again;
    } else {
        StartPart(protocol::startsWithIgnoringCase(line, "Content-") ? Part::Headers : Part::Search);
        window.Consume(begin);
    }
    return m_delimiter.empty() ? Step::Broken : Step::Again;
}

// The first delimiter of the text from m_scanned on: alone on a line, or directly behind a picture.
MultipartFraming::Delimiter MultipartFraming::FindDelimiter(std::string_view text) {
    for (;;) {
        const std::size_t at = text.find(m_delimiter, m_scanned);
        if (at == std::string_view::npos) {
            const std::size_t overlap = m_delimiter.size() - 1;
            m_scanned = std::max(m_scanned, text.size() - std::min(overlap, text.size()));
            return {};
        }
        m_scanned = at;
        const std::string_view before = text.substr(0, at);
        if (before.empty() || before.ends_with('\n') || before.ends_with("\xFF\xD9")) {
            std::string_view tail = text.substr(at + m_delimiter.size(), kTailLimit);
            const bool closing = tail.starts_with("--");
            const std::size_t lineEnd = closing ? 1 : tail.find('\n');
            if (lineEnd == std::string_view::npos && tail.size() < kTailLimit &&
                protocol::trim(tail == "-" ? "" : tail).empty()) {
                return {};  // can't be told yet
            }
            if (lineEnd != std::string_view::npos &&
                (closing || protocol::trim(tail.substr(0, lineEnd)).empty())) {
                std::size_t partEnd = at;
                if (before.ends_with('\n')) partEnd -= before.ends_with("\r\n") ? 2 : 1;
                return {true, closing, partEnd, at + m_delimiter.size() + lineEnd + 1};
            }
        }
        ++m_scanned;
    }
}

Framing::Step MultipartFraming::SkipToDelimiter(ByteWindow& window) {
    const Delimiter delimiter = FindDelimiter(TextOf(window.Data()));
    if (!delimiter.found) {
        // The line end in front of a delimiter stays, to recognise it.
        const std::size_t skipped = m_scanned > 2 ? m_scanned - 2 : 0;
        window.Consume(skipped);
        m_scanned -= skipped;
        return m_junk.Add(skipped) ? Step::More : Step::Broken;
    }
    if (delimiter.closing) return Step::End;
    window.Consume(delimiter.end);
    StartPart(Part::Headers);
    return m_junk.Add(delimiter.begin) ? Step::Again : Step::Broken;
}

Framing::Step MultipartFraming::ReadHeaders(ByteWindow& window) {
    const std::string_view text = TextOf(window.Data());
    const std::size_t length = HeadersLength(text.substr(0, kHeadersLimit));
    if (length == 0) {
        if (text.size() < kHeadersLimit) return Step::More;
        StartPart(Part::Search);
        return m_delimiter.empty() ? Step::Broken : Step::Again;
    }
    m_wanted = true;
    StartPart(Part::Body);
    std::string_view lines = text.substr(0, length);
    while (!lines.empty()) {
        std::string_view value = protocol::takeLine(lines);
        const std::string_view name = protocol::trim(protocol::take(value, ':'));
        value = protocol::trim(value);
        if (protocol::equalsIgnoringCase(name, "Content-Type")) {
            m_wanted = !protocol::startsWithIgnoringCase(value, "text/") &&
                       !protocol::startsWithIgnoringCase(value, "audio/");
        } else if (protocol::equalsIgnoringCase(name, "Content-Length")) {
            const auto stated = protocol::parseNumber(value, kLongestPart);
            if (stated && *stated != 0) {
                m_length = *stated;
                m_part = Part::CountedBody;
            }
        }
    }
    window.Consume(length);
    // A part that nothing ends.
    return m_delimiter.empty() && m_part == Part::Body ? Step::Broken : Step::Again;
}

Framing::Step MultipartFraming::TakeCounted(ByteWindow& window, Found& found) {
    if (m_length > m_limit) {
        LogLongFrame("picture", m_limit);
        window.Consume(m_length);
        StartPart(Part::Search);
        return Step::Again;
    }
    const Bytes data = window.Data();
    if (data.size() < m_length) return Step::More;
    const Bytes part = data.first(m_length);
    if (m_wanted && !m_delimiter.empty() && IsCutPicture(part)) {
        if (!m_lengthComplaint) {
            NORIX_LOG("MultipartFraming::TakeCounted", 0,
                      "A part of %u bytes doesn't end as a picture: looking for the boundary",
                      static_cast<unsigned>(m_length));
        }
        m_lengthComplaint = true;
        m_part = Part::Body;
        return Step::Again;
    }
    StartPart(Part::Search);
    m_junk.Forget();
    found = {m_wanted ? part : Bytes(), m_length};
    return Step::Frame;
}

// Where the picture that begins here ends by its own markers; 0: not seen, or it is none.
std::size_t MultipartFraming::FindPictureEnd(Bytes data) {
    if (data.size() < kCameraHeaderBegin) return 0;
    const std::size_t header = MayBePictureHeader(data) ? ReadPictureHeader(data).length : 0;
    if (data.size() < header || !IsPicture(data.subspan(header))) return 0;
    const bool ended = m_walker.Walk(data.subspan(header)) == JpegWalker::State::End;
    return ended ? header + m_walker.Position() : 0;
}

Framing::Step MultipartFraming::TakeUpToDelimiter(ByteWindow& window, Found& found) {
    const Bytes data = window.Data();
    const Delimiter delimiter = FindDelimiter(TextOf(data));
    // Many cameras send the boundary together with the next picture: this one need not wait for it. What is
    // complete first counts, in whatever pieces it comes.
    const std::size_t end = m_wanted ? FindPictureEnd(data) : 0;
    if (end != 0 && end <= m_limit && (!delimiter.found || end < delimiter.end)) {
        found = {data.first(end), end};
        StartPart(Part::Search);
        m_junk.Forget();
        return Step::Frame;
    }
    const std::size_t length = delimiter.found ? delimiter.begin : m_scanned;
    const std::size_t lineEnd = delimiter.found ? 0 : 2;  // may turn out to be the delimiter's
    if (length > m_limit + lineEnd) {
        LogLongFrame("picture", m_limit);
        m_junk.ExpectLongFrame();
        m_part = Part::Search;
        return Step::Again;
    }
    if (!delimiter.found) return Step::More;
    found = {m_wanted ? data.first(length) : Bytes(), length};
    StartPart(Part::Search);
    m_junk.Forget();
    return Step::Frame;
}

}  // namespace norix::http
