#include <algorithm>
#include <array>

#include "include/HTTP/CameraHeader.h"
#include "include/HTTP/Splitter.h"

namespace norix::http {
namespace {

// Of bare sound: 64 ms. All blocks are alike, as those of a camera are, because the player's buffers are.
constexpr std::size_t kBlock = 512;
constexpr std::size_t kSlack = 4096;

}  // namespace

SoundSplitter::SoundSplitter(std::size_t limit) : m_limit(limit), m_window(limit + kSlack) {}

Splitter::State SoundSplitter::Feed(Bytes bytes, FrameSink& sink) {
    while (!bytes.empty()) {
        const std::size_t before = bytes.size();
        m_window.Append(bytes);
        if (bytes.size() == before) return State::Broken;  // can't be: Next lets the window never fill up
        Step step = Step::Again;
        while (step == Step::Again)
            step = Next(sink);
        if (step == Step::Broken) return State::Broken;
    }
    return State::GoOn;
}

void SoundSplitter::Finish(FrameSink& sink) {
    const Bytes rest = m_window.Data();
    if (m_form == Form::Bare && !rest.empty()) sink.OnFrame(rest);
}

SoundSplitter::Step SoundSplitter::Next(FrameSink& sink) {
    const Bytes data = m_window.Data();
    constexpr std::size_t kHeaderBegin = 6;
    if (m_form == Form::WithHeader) return NextWithHeader(data, sink);
    if (m_form == Form::Unknown) {
        if (data.size() < kHeaderBegin) return Step::More;
        m_form = MayBeSoundHeader(data) ? Form::WithHeader : Form::Bare;
        return Step::Again;
    }
    const std::size_t block = std::min(kBlock, m_limit);
    if (data.size() < block) return Step::More;
    sink.OnFrame(data.first(block));
    m_window.Consume(block);
    return Step::Again;
}

SoundSplitter::Step SoundSplitter::NextWithHeader(Bytes data, FrameSink& sink) {
    std::size_t junk = 0;
    while (junk < data.size() && !MayBeSoundHeader(data.subspan(junk)))
        ++junk;
    if (junk != 0) {
        m_window.Consume(junk);
        return m_junk.Add(junk) ? Step::Again : Step::Broken;
    }
    if (data.size() < kSoundHeaderLength) return Step::More;
    const std::size_t stated = ReadSoundHeader(data).total;
    const std::size_t total = stated != 0 ? stated : FindEnd(data);
    if (std::max(total, m_scanned) > m_limit) {
        LogLongFrame("block of sound", m_limit);
        m_window.Consume(std::max(total, m_scanned));
        m_scanned = 0;
        m_junk.ExpectLongFrame();
        return Step::Again;
    }
    if (total == 0 || data.size() < total) return Step::More;
    sink.OnFrame(data.first(total));
    m_window.Consume(total);
    m_scanned = 0;
    m_junk.Forget();
    return Step::Again;
}

// Where the next block's header begins; 0: not here yet.
std::size_t SoundSplitter::FindEnd(Bytes data) {
    constexpr std::array<std::uint8_t, 4> kStart = {0, 0, 1, 0xC0};
    m_scanned = std::max(m_scanned, kSoundHeaderLength);
    const auto from = data.begin() + static_cast<std::ptrdiff_t>(m_scanned);
    const auto at = std::search(from, data.end(), kStart.begin(), kStart.end());
    if (at != data.end()) return static_cast<std::size_t>(at - data.begin());
    constexpr std::size_t kOverlap = kStart.size() - 1;
    if (data.size() >= m_scanned + kOverlap) m_scanned = data.size() - kOverlap;
    return 0;
}

}  // namespace norix::http
