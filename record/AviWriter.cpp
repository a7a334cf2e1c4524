#include "record/AviWriter.h"

#include <algorithm>
#include <utility>

namespace norix {
namespace {

constexpr std::uint32_t kVideoChunk = FourCc("00dc");
constexpr std::uint32_t kAudioChunk = FourCc("01wb");
constexpr std::uint32_t kOnlyAudioChunk = FourCc("00wb");
constexpr std::size_t kChunkHeader = 8;
constexpr std::size_t kIndexHead = 8;

// A small index is written at every safe point; a larger one not oftener than as much has been recorded.
constexpr std::uint64_t kCheapIndex = 65536;
constexpr std::size_t kIndexReserve = 16384 * kAviIndexEntrySize;

void Put32(std::uint8_t* at, std::uint64_t value) {
    for (int i = 0; i < 4; ++i)
        at[i] = static_cast<std::uint8_t>(value >> 8 * i);
}

std::uint32_t Get32(const std::uint8_t* at) {
    return at[0] | at[1] << 8 | at[2] << 16 | static_cast<std::uint32_t>(at[3]) << 24;
}

}  // namespace

FileResult AviWriter::Create(std::unique_ptr<RecordFile> file, const AviDescription& description) {
    m_staging.clear();
    m_staging.reserve(kStagingSize);
    m_index.clear();
    m_index.reserve(kIndexReserve);
    Append32(m_index, FourCc("idx1"));
    Append32(m_index, 0);
    m_description = description;
    m_counts = AviCounts();
    if (description.video) m_counts.rate = description.video->rate;
    WriteAviHeader(m_description, m_counts, m_header);
    m_written = m_header.size();
    m_indexedUpTo = 0;
    m_lastIsVideo = false;
    m_file = std::move(file);  // last: there is nothing to abandon if there is no memory
    SetSizes(m_written, m_written);
    return WriteHeader();
}

bool AviWriter::HasRoom(std::size_t bytes) const {
    const std::uint64_t rest = m_index.size() + kAviIndexEntrySize + kChunkHeader + 1;
    return bytes < kMaxFileSize && Size() + rest + bytes <= kMaxFileSize;
}

FileResult AviWriter::WriteVideo(RecordBytes frame, bool keyFrame) {
    const FileResult result = WriteChunk(kVideoChunk, keyFrame ? kAviKeyFrame : 0, frame);
    if (result != FileResult::Ok) return result;
    ++m_counts.videoChunks;
    m_lastIsVideo = true;
    return FileResult::Ok;
}

FileResult AviWriter::ContinueVideo(RecordBytes frame) {
    std::uint8_t* const entry = m_index.data() + m_index.size() - kAviIndexEntrySize;
    const std::uint32_t before = Get32(entry + 12);
    // The padding of an odd size is taken back.
    if (before % 2 != 0) {
        if (m_staging.empty()) {
            --m_written;
        } else {
            m_staging.pop_back();
        }
    }
    const std::uint32_t size = before + static_cast<std::uint32_t>(frame.size());
    Put32(entry + 12, size);
    std::uint8_t field[4];
    Put32(field, size);
    const std::uint64_t at = m_chunkStart + 4;
    if (at >= m_written) {
        std::copy_n(field, sizeof(field), m_staging.data() + (at - m_written));
    } else {
        const FileResult result = WriteOut();  // the field may lie on both sides
        if (result != FileResult::Ok) return result;
        const FileResult patched = m_file->Write(at, field);
        if (patched != FileResult::Ok) return patched;
    }
    const FileResult result = Append(frame);
    if (result == FileResult::Ok && size % 2 != 0) m_staging.push_back(0);
    return result;
}

FileResult AviWriter::WriteAudio(RecordBytes frame, std::uint32_t length) {
    const std::uint32_t id = m_description.video ? kAudioChunk : kOnlyAudioChunk;
    const FileResult result = WriteChunk(id, kAviKeyFrame, frame);
    if (result != FileResult::Ok) return result;
    m_counts.audioLength += length;
    m_lastIsVideo = false;
    return FileResult::Ok;
}

FileResult AviWriter::WriteChunk(std::uint32_t id, std::uint32_t flags, RecordBytes data) {
    // First: no chunk is without its entry, nor an entry incomplete, if there is no memory.
    if (m_index.capacity() - m_index.size() < kAviIndexEntrySize) m_index.reserve(m_index.capacity() * 2);
    if (m_staging.size() + kChunkHeader > kStagingSize) {
        if (const FileResult result = WriteOut(); result != FileResult::Ok) return result;
    }
    const auto size = static_cast<std::uint32_t>(data.size());
    m_chunkStart = Size();
    Append32(m_staging, id);
    Append32(m_staging, size);
    if (const FileResult result = Append(data); result != FileResult::Ok) return result;
    if (size % 2 != 0) m_staging.push_back(0);

    constexpr std::size_t kMoviTag = 4;  // offsets count from the four characters "movi"
    Append32(m_index, id);
    Append32(m_index, flags);
    Append32(m_index, static_cast<std::uint32_t>(m_chunkStart - (m_header.size() - kMoviTag)));
    Append32(m_index, size);
    return FileResult::Ok;
}

FileResult AviWriter::Append(RecordBytes bytes) {
    constexpr std::size_t kPadding = 1;
    if (m_staging.size() + bytes.size() + kPadding > kStagingSize) {
        if (const FileResult result = WriteOut(); result != FileResult::Ok) return result;
        if (bytes.size() + kPadding > kStagingSize) {
            const FileResult result = m_file->Write(m_written, bytes);
            if (result == FileResult::Ok) m_written += bytes.size();
            return result;
        }
    }
    m_staging.insert(m_staging.end(), bytes.begin(), bytes.end());
    return FileResult::Ok;
}

FileResult AviWriter::WriteOut() {
    if (m_staging.empty()) return FileResult::Ok;
    const FileResult result = m_file->Write(m_written, m_staging);
    if (result != FileResult::Ok) return result;
    m_written += m_staging.size();
    m_staging.clear();
    return FileResult::Ok;
}

void AviWriter::SetSizes(std::uint64_t moviEnd, std::uint64_t fileEnd) {
    constexpr std::size_t kMoviTag = 4;
    constexpr std::size_t kRiffHead = 8;
    m_counts.moviSize = static_cast<std::uint32_t>(moviEnd - (m_header.size() - kMoviTag));
    m_counts.riffSize = static_cast<std::uint32_t>(fileEnd - kRiffHead);
}

FileResult AviWriter::WriteHeader() {
    WriteAviHeader(m_description, m_counts, m_header);
    return m_file->Write(0, m_header);
}

FileResult AviWriter::WriteIndex() {
    Put32(m_index.data() + 4, m_index.size() - kIndexHead);
    const FileResult result = m_file->Write(m_written, m_index);
    if (result == FileResult::Ok) m_indexedUpTo = m_written;
    return result;
}

// The header follows the frames and the index to the disk, never the other way round.
FileResult AviWriter::SafePoint() {
    if (const FileResult result = WriteOut(); result != FileResult::Ok) return result;
    std::uint64_t end = m_written;
    if (m_index.size() <= std::max(kCheapIndex, m_written - m_indexedUpTo)) {
        if (const FileResult result = WriteIndex(); result != FileResult::Ok) return result;
        end += m_index.size();
    }
    if (const FileResult result = m_file->Flush(); result != FileResult::Ok) return result;
    SetSizes(m_written, end);
    return WriteHeader();
}

FileResult AviWriter::Finish() {
    FileResult result = WriteOut();
    if (result == FileResult::Ok) result = WriteIndex();
    if (result == FileResult::Ok) {
        SetSizes(m_written, m_written + m_index.size());
        result = WriteHeader();
    }
    if (result == FileResult::Ok) result = m_file->Flush();
    if (result != FileResult::Ok) {
        Abandon();
        return result;
    }
    result = m_file->Close();
    m_file.reset();
    return result;
}

// Only what is known to be in the file counts: chunks that were still being collected leave the index.
void AviWriter::Abandon() {
    if (!m_file) return;
    while (m_index.size() > kIndexHead) {
        const std::uint8_t* const entry = m_index.data() + m_index.size() - kAviIndexEntrySize;
        constexpr std::size_t kMoviTag = 4;
        const std::uint64_t start = Get32(entry + 8) + m_header.size() - kMoviTag;
        const std::uint32_t size = Get32(entry + 12);
        const std::uint64_t end = start + kChunkHeader + size + size % 2;
        if (end <= m_written) {
            m_written = end;
            break;
        }
        const bool video = Get32(entry) == kVideoChunk;
        if (video) --m_counts.videoChunks;
        if (!video) m_counts.audioLength -= m_description.audio->codec == AudioCodec::Aac ? 1 : size;
        m_index.resize(m_index.size() - kAviIndexEntrySize);
        if (m_index.size() == kIndexHead) m_written = m_header.size();
    }
    m_staging.clear();
    if (m_index.size() == kIndexHead) {
        m_file->Discard();
        m_file.reset();
        return;
    }
    const bool indexed = WriteIndex() == FileResult::Ok;
    SetSizes(m_written, m_written + (indexed ? m_index.size() : 0));
    WriteHeader();
    m_file->Close();
    m_file.reset();
}

}  // namespace norix
