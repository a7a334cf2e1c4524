#include "record/AviLayout.h"

namespace norix {
namespace {

constexpr std::uint32_t kHasIndex = 0x10;         // AVIF_HASINDEX
constexpr std::uint32_t kInterleaved = 0x100;     // AVIF_ISINTERLEAVED
constexpr std::uint32_t kTrustChunkType = 0x800;  // AVIF_TRUSTCKTYPE
constexpr std::uint16_t kFormatMuLaw = 7;         // WAVE_FORMAT_MULAW
constexpr std::uint16_t kFormatAac = 0xFF;        // WAVE_FORMAT_RAW_AAC1
constexpr std::uint32_t kQuality = 10000;
constexpr std::uint32_t kSoundBuffer = 26880;

struct VideoTags {
    std::uint32_t handler;
    std::uint32_t compression;
};

VideoTags TagsOf(VideoCodec codec) {
    switch (codec) {
        case VideoCodec::Mpeg4:
            return {FourCc("xvid"), FourCc("XVID")};
        case VideoCodec::Mjpeg:
            return {FourCc("MJPG"), FourCc("MJPG")};
        case VideoCodec::H264:
            return {FourCc("H264"), FourCc("H264")};
        case VideoCodec::H265:
            return {FourCc("HEVC"), FourCc("HEVC")};
        case VideoCodec::None:
            break;
    }
    return {FourCc("MPEG"), FourCc("MPEG")};
}

// Appends to a buffer; lists and chunks get their sizes when they end.
class Writer {
  public:
    explicit Writer(std::vector<std::uint8_t>& bytes) : m_bytes(bytes) { m_bytes.clear(); }

    void U16(std::uint32_t value) {
        m_bytes.push_back(static_cast<std::uint8_t>(value));
        m_bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    }
    void U32(std::uint32_t value) { Append32(m_bytes, value); }
    void Zeros(int words) {
        for (int i = 0; i < words; ++i)
            U32(0);
    }
    void Bytes(const std::vector<std::uint8_t>& data) {
        m_bytes.insert(m_bytes.end(), data.begin(), data.end());
    }

    std::size_t Begin(std::uint32_t id) {
        U32(id);
        U32(0);
        return m_bytes.size();
    }
    std::size_t BeginList(std::uint32_t type) {
        const std::size_t start = Begin(FourCc("LIST"));
        U32(type);
        return start;
    }
    void End(std::size_t start) {
        const std::size_t size = m_bytes.size() - start;
        for (std::size_t i = 0; i < 4; ++i)
            m_bytes[start - 4 + i] = static_cast<std::uint8_t>(size >> 8 * i);
        if (size % 2 != 0) m_bytes.push_back(0);
    }

  private:
    std::vector<std::uint8_t>& m_bytes;
};

void WriteMainHeader(Writer& out, const AviDescription& file, const AviCounts& counts) {
    const std::size_t start = out.Begin(FourCc("avih"));
    if (file.video) {
        constexpr double kMicrosecond = 1000000;
        out.U32(static_cast<std::uint32_t>(kMicrosecond / counts.rate.PerSecond() + 0.99));
        out.Zeros(2);  // bytes per second, padding
        out.U32(kHasIndex | kInterleaved);
        out.U32(counts.videoChunks);
        out.U32(0);
        out.U32(file.audio ? 2 : 1);
        out.U32(0);
        out.U32(file.video->width);
        out.U32(file.video->height);
    } else {
        const bool muLaw = file.audio && file.audio->codec != AudioCodec::Aac;
        out.U32(muLaw ? 1000 : 62992);
        out.U32(8000);
        out.U32(0);
        out.U32(kHasIndex | kTrustChunkType);
        out.Zeros(2);
        out.U32(1);
        out.U32(muLaw ? kSoundBuffer : 32768);
        out.Zeros(2);
    }
    out.Zeros(4);
    out.End(start);
}

void WriteVideoStream(Writer& out, const AviVideo& video, const AviCounts& counts) {
    const VideoTags tags = TagsOf(video.codec);
    const std::size_t list = out.BeginList(FourCc("strl"));
    const std::size_t header = out.Begin(FourCc("strh"));
    out.U32(FourCc("vids"));
    out.U32(tags.handler);
    out.Zeros(3);  // flags, priority and language, initial frames
    out.U32(counts.rate.scale);
    out.U32(counts.rate.rate);
    out.U32(0);
    out.U32(counts.videoChunks);
    out.U32(0);
    out.U32(kQuality);
    out.U32(0);
    out.Zeros(1);  // left, top
    out.U16(video.width);
    out.U16(video.height);
    out.End(header);

    const std::size_t format = out.Begin(FourCc("strf"));  // BITMAPINFOHEADER
    constexpr std::uint32_t kFormatSize = 40;
    constexpr std::uint32_t kBits = 24;
    out.U32(kFormatSize);
    out.U32(video.width);
    out.U32(video.height);
    out.U16(1);
    out.U16(kBits);
    out.U32(tags.compression);
    out.U32(video.width * video.height * (kBits / 8));
    out.Zeros(4);
    out.End(format);
    out.End(list);
}

void WriteAudioStream(Writer& out, const AviAudio& audio, const AviCounts& counts) {
    const bool aac = audio.codec == AudioCodec::Aac;
    const std::size_t list = out.BeginList(FourCc("strl"));
    const std::size_t header = out.Begin(FourCc("strh"));
    out.U32(FourCc("auds"));
    out.Zeros(4);
    out.U32(aac ? kAacFrameSamples : 1);
    out.U32(audio.sampleRate);
    out.U32(0);
    out.U32(counts.audioLength);
    out.U32(kSoundBuffer);
    out.U32(0);
    out.U32(aac ? 0 : 1);
    out.Zeros(2);
    out.End(header);

    const std::size_t format = out.Begin(FourCc("strf"));  // WAVEFORMATEX
    if (aac) {
        // Blocks of varying size, a frame each: readers count one for what is no longer than a block.
        constexpr std::uint32_t kNominalBytesPerSecond = 8000;
        out.U16(kFormatAac);
        out.U16(audio.channels);
        out.U32(audio.sampleRate);
        out.U32(kNominalBytesPerSecond * audio.channels);
        out.U16(kAacFrameBytesPerChannel * audio.channels);
        out.U16(16);
        out.U16(static_cast<std::uint32_t>(audio.config.size()));
        out.Bytes(audio.config);
    } else {
        out.U16(kFormatMuLaw);
        out.U16(1);
        out.U32(audio.sampleRate);
        out.U32(audio.sampleRate);
        out.U16(1);
        out.U16(8);
        out.U16(0);
    }
    out.End(format);
    out.End(list);
}

}  // namespace

void Append32(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

void WriteAviHeader(const AviDescription& file, const AviCounts& counts, std::vector<std::uint8_t>& header) {
    Writer out(header);
    out.U32(FourCc("RIFF"));
    out.U32(counts.riffSize);
    out.U32(FourCc("AVI "));
    const std::size_t list = out.BeginList(FourCc("hdrl"));
    WriteMainHeader(out, file, counts);
    if (file.video) WriteVideoStream(out, *file.video, counts);
    if (file.audio) WriteAudioStream(out, *file.audio, counts);
    out.End(list);
    out.U32(FourCc("LIST"));
    out.U32(counts.moviSize);
    out.U32(FourCc("movi"));
}

}  // namespace norix
