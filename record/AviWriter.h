#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "record/AviLayout.h"
#include "record/RecordFile.h"

namespace norix {

/// Writes one AVI file with a video stream, an audio stream or both, as the frames come. Frames are collected
/// and written some hundred kilobytes at a time.
///
/// The file can be played at any time: a safe point brings the sizes in its header up to date and, while that
/// is cheap, puts an index behind the frames, which the next frames overwrite. What comes after the last safe
/// point is lost when the process or the power fails, and nothing else.
///
/// One thread. After any result but Ok the file takes no more frames: Abandon is what is left to do.
/// Throws std::bad_alloc.
class AviWriter {
  public:
    /// Half of what the size fields can say: readers that take them for signed are still about, the system's
    /// own among them.
    static constexpr std::uint64_t kMaxFileSize = 0x7FFF0000;
    static constexpr std::size_t kStagingSize = 524288;

    AviWriter() = default;
    AviWriter(const AviWriter&) = delete;
    AviWriter& operator=(const AviWriter&) = delete;

    /// Takes the empty file and writes the header.
    FileResult Create(std::unique_ptr<RecordFile> file, const AviDescription& description);

    /// Whether a chunk of so many bytes can still be written without a size field overflowing.
    bool HasRoom(std::size_t bytes) const;

    /// One chunk each. An empty video chunk stands for a picture that is missing: the one before is shown on.
    FileResult WriteVideo(RecordBytes frame, bool keyFrame);
    /// The frame is the next part of the picture before it, which must be the last chunk written.
    FileResult ContinueVideo(RecordBytes frame);
    bool CanContinueVideo() const { return m_lastIsVideo; }
    /// `length` is the sound's, in samples (G.711) or frames (AAC).
    FileResult WriteAudio(RecordBytes frame, std::uint32_t length);

    /// Pictures per second as the header will say from the next safe point on.
    void SetRate(FrameRate rate) { m_counts.rate = rate; }

    FileResult SafePoint();
    /// The last safe point, with the index; then the file is closed.
    FileResult Finish();
    /// Closes the file after an error so that what was written plays; one in which nothing was written goes.
    /// Errors are ignored.
    void Abandon();

    bool IsOpen() const { return m_file != nullptr; }
    std::uint32_t VideoChunks() const { return m_counts.videoChunks; }
    std::uint32_t AudioLength() const { return m_counts.audioLength; }
    std::uint64_t Size() const { return m_written + m_staging.size(); }

  private:
    FileResult WriteChunk(std::uint32_t id, std::uint32_t flags, RecordBytes data);
    FileResult Append(RecordBytes bytes);
    FileResult WriteOut();
    FileResult WriteHeader();
    FileResult WriteIndex();
    void SetSizes(std::uint64_t moviEnd, std::uint64_t fileEnd);

    std::unique_ptr<RecordFile> m_file;
    AviDescription m_description;
    AviCounts m_counts;
    std::vector<std::uint8_t> m_header;
    std::vector<std::uint8_t> m_staging;  // what comes behind the written part
    std::vector<std::uint8_t> m_index;    // the whole chunk "idx1", but for its size
    std::uint64_t m_written = 0;          // bytes of header and chunks in the file
    std::uint64_t m_indexedUpTo = 0;      // what was written when the index last was
    std::uint64_t m_chunkStart = 0;       // of the last chunk
    bool m_lastIsVideo = false;           // so is that chunk
};

}  // namespace norix
