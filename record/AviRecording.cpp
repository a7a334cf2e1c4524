#include "record/AviRecording.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace norix {
namespace {

constexpr std::uint8_t kMuLawSilence = 0xFF;
constexpr std::size_t kSilenceBlock = 8000;

// A picture that comes so late has empty ones before it. Below a whole one, or the sound would be seen to
// lead; above a half, or every tremble of the timestamps would leave one.
constexpr double kLateFrames = 0.75;
// Sound in frames is put to the nearer place: it can't be cut.
constexpr double kLateSoundFrames = 0.5;
constexpr double kLateSoundMs = 10;
constexpr double kEarlySoundMs = 40;
constexpr double kBehindMs = 1000;

// Writes bits, most significant first.
class BitWriter {
  public:
    void Put(unsigned value, int count) {
        for (int i = count - 1; i >= 0; --i) {
            if (m_bits % 8 == 0) m_bytes.push_back(0);
            if (value >> i & 1u) m_bytes.back() |= static_cast<std::uint8_t>(0x80u >> m_bits % 8);
            ++m_bits;
        }
    }
    std::vector<std::uint8_t> Take() { return std::move(m_bytes); }

  private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_bits = 0;
};

}  // namespace

// ISO/IEC 14496-3, 4.4.2.1: channel elements whose streams have no band with anything in it.
std::vector<std::uint8_t> SilentAacFrame(std::uint32_t channels) {
    if (channels != 1 && channels != 2) return {};
    BitWriter bits;
    bits.Put(channels == 2 ? 1 : 0, 3);  // channel pair or single channel
    bits.Put(0, 4);                      // instance
    if (channels == 2) bits.Put(0, 1);   // no common window
    for (std::uint32_t i = 0; i < channels; ++i) {
        bits.Put(0, 8);  // global gain
        bits.Put(0, 4);  // reserved, long window, its shape
        bits.Put(0, 6);  // bands in use
        bits.Put(0, 4);  // no prediction, pulses, noise shaping, gain control
    }
    bits.Put(7, 3);  // end
    return bits.Take();
}

FileResult AviRecording::Create(std::unique_ptr<RecordFile> file, AviDescription description,
                                std::optional<FrameRate> rate, std::int64_t start) {
    m_description = std::move(description);
    m_rate = rate;
    m_start = start;
    m_lastPicture = 0;
    m_soundStart = 0;
    m_full = false;
    m_measured.Reset();
    if (m_description.video && rate) m_description.video->rate = *rate;
    m_silence.clear();
    if (m_description.audio && m_description.audio->codec == AudioCodec::Aac) {
        m_silence = SilentAacFrame(m_description.audio->channels);
    } else if (m_description.audio) {
        m_silence.assign(kSilenceBlock, kMuLawSilence);
    }
    return m_writer.Create(std::move(file), m_description);
}

FileResult AviRecording::FillPictures(std::int64_t time) {
    if (!m_rate) return FileResult::Ok;
    const double interval = m_rate->IntervalMs();
    double late = static_cast<double>(time) - m_writer.VideoChunks() * interval;
    while (late >= kLateFrames * interval) {
        if (!m_writer.HasRoom(0)) {
            m_full = true;
            return FileResult::Ok;
        }
        if (const FileResult result = m_writer.WriteVideo({}, false); result != FileResult::Ok) return result;
        late -= interval;
    }
    return FileResult::Ok;
}

FileResult AviRecording::PutVideo(RecordBytes frame, bool keyFrame, bool continues, std::int64_t time) {
    if (!m_writer.HasRoom(frame.size())) m_full = true;
    if (m_full) return FileResult::Ok;
    if (continues && m_writer.CanContinueVideo()) return m_writer.ContinueVideo(frame);
    const std::int64_t since = std::max<std::int64_t>(time - m_start, 0);
    if (!m_rate) {
        m_measured.Add(since);
        m_rate = m_measured.Rate();
    }
    if (m_writer.VideoChunks() != 0) {
        if (const FileResult result = FillPictures(since); result != FileResult::Ok || m_full) return result;
    }
    m_lastPicture = std::max(m_lastPicture, since);
    return m_writer.WriteVideo(frame, keyFrame);
}

double AviRecording::SoundMs() const {
    const AviAudio& audio = *m_description.audio;
    const double unit = audio.codec == AudioCodec::Aac ? kAacFrameSamples : 1;
    return m_soundStart + m_writer.AudioLength() * unit * 1000.0 / audio.sampleRate;
}

FileResult AviRecording::WriteSilence(std::uint64_t length) {
    const bool aac = m_description.audio->codec == AudioCodec::Aac;
    while (length != 0 && !m_silence.empty()) {
        const auto part =
            static_cast<std::uint32_t>(aac ? 1 : std::min<std::uint64_t>(length, m_silence.size()));
        const RecordBytes bytes = RecordBytes(m_silence).first(aac ? m_silence.size() : part);
        if (!m_writer.HasRoom(bytes.size())) {
            m_full = true;
            return FileResult::Ok;
        }
        if (const FileResult result = m_writer.WriteAudio(bytes, part); result != FileResult::Ok)
            return result;
        length -= part;
    }
    return FileResult::Ok;
}

FileResult AviRecording::FillSound(std::int64_t time) {
    const AviAudio& audio = *m_description.audio;
    const double late = static_cast<double>(time) - SoundMs();
    if (audio.codec == AudioCodec::Aac) {
        const double frameMs = kAacFrameSamples * 1000.0 / audio.sampleRate;
        if (late < kLateSoundFrames * frameMs) return FileResult::Ok;
        return WriteSilence(static_cast<std::uint64_t>(late / frameMs + 1 - kLateSoundFrames));
    }
    if (late < kLateSoundMs) return FileResult::Ok;
    return WriteSilence(static_cast<std::uint64_t>(late * audio.sampleRate / 1000.0));
}

FileResult AviRecording::PutAudio(RecordBytes frame, std::int64_t time) {
    if (!m_description.audio || frame.empty()) return FileResult::Ok;
    if (!m_writer.HasRoom(frame.size())) m_full = true;
    if (m_full) return FileResult::Ok;
    const AviAudio& audio = *m_description.audio;
    std::int64_t since = time - m_start;
    if (m_writer.AudioLength() == 0 && since < 0) {
        m_soundStart = std::max(static_cast<double>(since), -kEarlySoundMs);
    }
    if (const FileResult result = FillSound(since); result != FileResult::Ok || m_full) return result;
    // More sound than time: what is too much goes, or it would stay behind the picture from now on.
    const double early = SoundMs() - static_cast<double>(since);
    if (audio.codec == AudioCodec::Aac) {
        const double frameMs = kAacFrameSamples * 1000.0 / audio.sampleRate;
        if (early > std::max(kEarlySoundMs, (1 - kLateSoundFrames) * frameMs)) return FileResult::Ok;
        return m_writer.WriteAudio(frame, 1);
    }
    if (early > kEarlySoundMs) {
        const auto cut = static_cast<std::size_t>(early * audio.sampleRate / 1000.0);
        if (cut >= frame.size()) return FileResult::Ok;
        frame = frame.subspan(cut);
    }
    return m_writer.WriteAudio(frame, static_cast<std::uint32_t>(frame.size()));
}

FrameRate AviRecording::Rate() const {
    const std::uint32_t chunks = m_writer.VideoChunks();
    const auto last = static_cast<double>(m_lastPicture);
    const FrameRate assumed = m_rate.value_or(FrameRate());
    if (chunks < 2) return assumed;
    const double expected = (chunks - 1) * assumed.IntervalMs();
    if (std::abs(expected - last) <= assumed.IntervalMs()) return assumed;
    const double whole = last * chunks / (chunks - 1);
    return RateOf(chunks, static_cast<std::uint64_t>(std::llround(whole)));
}

bool AviRecording::IsBehind() const {
    if (!m_rate) return false;
    return m_writer.VideoChunks() * m_rate->IntervalMs() - static_cast<double>(m_lastPicture) > kBehindMs;
}

FileResult AviRecording::SafePoint() {
    m_writer.SetRate(Rate());
    return m_writer.SafePoint();
}

FileResult AviRecording::Finish() {
    m_writer.SetRate(Rate());
    return m_writer.Finish();
}

}  // namespace norix
