#include "RiffCheck.h"

#include <algorithm>
#include <stdexcept>

namespace norix::tests {
namespace {

using Bytes = std::span<const std::uint8_t>;

class Reader {
  public:
    Reader(Bytes bytes, std::size_t at, std::size_t end) : m_bytes(bytes), m_at(at), m_end(end) {}

    std::size_t At() const { return m_at; }
    bool Done() const { return m_at == m_end; }
    std::uint32_t U16() {
        Need(2);
        m_at += 2;
        return m_bytes[m_at - 2] | m_bytes[m_at - 1] << 8;
    }
    std::uint32_t U32() {
        const std::uint32_t low = U16();
        return low | U16() << 16;
    }
    std::string Id() {
        Need(4);
        m_at += 4;
        return std::string(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at) - 4,
                           m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at));
    }
    void Skip(std::size_t count) {
        Need(count);
        m_at += count;
    }
    // The inside of a chunk whose size stands here; moves behind it and its padding.
    Reader Inside() {
        const std::uint32_t size = U32();
        Need(size);
        const Reader inside(m_bytes, m_at, m_at + size);
        m_at += size;
        if (size % 2 != 0) {
            Need(1);
            if (m_bytes[m_at] != 0) throw std::runtime_error("padding is not zero");
            ++m_at;
        }
        return inside;
    }
    Reader Chunk(const std::string& id) {
        if (const std::string found = Id(); found != id)
            throw std::runtime_error("expected " + id + ", found " + found);
        return Inside();
    }
    Bytes Rest() const { return m_bytes.subspan(m_at, m_end - m_at); }

  private:
    void Need(std::size_t count) const {
        if (count > m_end - m_at) throw std::runtime_error("cut off at " + std::to_string(m_at));
    }

    Bytes m_bytes;
    std::size_t m_at;
    std::size_t m_end;
};

void Expect(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

struct Header {
    std::uint32_t frames = 0;
    std::uint32_t streams = 0;
    bool video = false;
    bool audio = false;
    std::uint32_t audioSampleSize = 0;
};

void ReadStream(Reader list, Header& header, AviContents& out) {
    Expect(list.Id() == "strl", "no strl");
    Reader strh = list.Chunk("strh");
    const std::string type = strh.Id();
    strh.Skip(16);
    const std::uint32_t scale = strh.U32();
    const std::uint32_t rate = strh.U32();
    Expect(scale != 0 && rate != 0, "rate or scale is 0");
    strh.Skip(4);
    const std::uint32_t length = strh.U32();
    strh.Skip(8);
    const std::uint32_t sampleSize = strh.U32();
    strh.Skip(8);
    Expect(strh.Done(), "strh is not of 56 bytes");
    Reader strf = list.Chunk("strf");
    if (type == "vids") {
        Expect(!header.video && !header.audio, "video is not the first stream");
        header.video = true;
        Expect(strf.U32() == 40, "bitmap header");
        Expect(strf.U32() == out.width && strf.U32() == out.height, "sizes differ");
        out.videoLength = length;
    } else {
        Expect(type == "auds" && !header.audio, "a stream of an unknown kind");
        header.audio = true;
        header.audioSampleSize = sampleSize;
        out.audioTag = strf.U16();
        strf.Skip(14);
        Expect(strf.U16() == strf.Rest().size(), "extra size of the wave format");
        out.audioLength = length;
    }
    if (type == "vids" || !header.video) {
        out.rate = rate;
        out.scale = scale;
    }
    Expect(list.Done(), "bytes behind strf");
}

Header ReadHeader(Reader list, AviContents& out) {
    Header header;
    Expect(list.Id() == "hdrl", "no hdrl");
    Reader avih = list.Chunk("avih");
    out.microsecondsPerFrame = avih.U32();
    avih.Skip(8);
    out.flags = avih.U32();
    header.frames = avih.U32();
    avih.Skip(4);
    header.streams = avih.U32();
    avih.Skip(4);
    out.width = avih.U32();
    out.height = avih.U32();
    avih.Skip(16);
    Expect(avih.Done(), "avih is not of 56 bytes");
    std::uint32_t streams = 0;
    for (; !list.Done(); ++streams)
        ReadStream(list.Chunk("LIST"), header, out);
    Expect(streams == header.streams, "number of streams");
    return header;
}

void Read(Bytes file, bool complete, bool keepData, AviContents& out) {
    Reader whole(file, 0, file.size());
    Expect(whole.Id() == "RIFF", "no RIFF");
    const std::uint32_t size = whole.U32();
    Expect(complete ? size + 8 == file.size() : size + 8 <= file.size(), "RIFF size");
    Reader riff(file, whole.At(), size + 8);
    Expect(riff.Id() == "AVI ", "no AVI");
    const Header header = ReadHeader(riff.Chunk("LIST"), out);

    Reader movi = riff.Chunk("LIST");
    const std::size_t base = movi.At();
    Expect(movi.Id() == "movi", "no movi");
    std::vector<std::size_t> starts;
    std::uint32_t audioBytes = 0;
    std::uint32_t audioChunks = 0;
    while (!movi.Done()) {
        starts.push_back(movi.At() - base);
        AviContents::Chunk chunk;
        chunk.id = movi.Id();
        const Bytes data = movi.Inside().Rest();
        chunk.size = data.size();
        if (keepData) chunk.data.assign(data.begin(), data.end());
        const std::string audioId = header.video ? "01wb" : "00wb";
        Expect((header.video && chunk.id == "00dc") || (header.audio && chunk.id == audioId),
               "strange chunk");
        if (chunk.id == audioId) {
            audioBytes += static_cast<std::uint32_t>(chunk.size);
            ++audioChunks;
        }
        out.chunks.push_back(std::move(chunk));
    }
    Expect(out.Video().size() == (header.video ? out.videoLength : 0), "number of pictures");
    Expect(!header.video || header.frames == out.videoLength, "total frames");
    Expect(out.audioLength == (header.audioSampleSize == 1 ? audioBytes : audioChunks),
           "length of the sound");

    if (riff.Done() && !complete) return;
    Reader idx1 = riff.Chunk("idx1");
    Expect(riff.Done(), "bytes behind idx1");
    for (std::size_t i = 0; i < out.chunks.size(); ++i) {
        AviContents::Chunk& chunk = out.chunks[i];
        Expect(idx1.Id() == chunk.id, "index: id");
        const std::uint32_t flags = idx1.U32();
        Expect(flags == 0 || flags == 0x10, "index: flags");
        chunk.key = flags != 0;
        Expect(idx1.U32() == starts[i], "index: offset");
        Expect(idx1.U32() == chunk.size, "index: size");
    }
    Expect(idx1.Done(), "index: too many entries");
    out.indexed = true;
}

}  // namespace

std::vector<AviContents::Chunk> AviContents::Of(const std::string& id) const {
    std::vector<Chunk> found;
    std::copy_if(chunks.begin(), chunks.end(), std::back_inserter(found),
                 [&](const Chunk& chunk) { return chunk.id == id; });
    return found;
}

std::vector<AviContents::Chunk> AviContents::Audio() const {
    std::vector<Chunk> sound = Of("01wb");
    return sound.empty() ? Of("00wb") : sound;
}

AviContents ReadAvi(Bytes file, bool complete, bool keepData) {
    AviContents out;
    try {
        Read(file, complete, keepData, out);
    } catch (const std::exception& error) {
        out.fault = error.what();
    }
    return out;
}

}  // namespace norix::tests
