#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "record/AviWriter.h"
#include "record/RecordClock.h"

namespace norix {

/// One AVI file as a recording fills it: frames with times become chunks whose place in the file says when
/// they play. Pictures that are missing leave empty chunks, sound that is missing is filled with silence, so
/// that what follows plays when it was taken.
///
/// One thread. Times are milliseconds of RecordClock.
class AviRecording {
  public:
    /// `rate`: of the stream so far; nothing when it is not known yet, then it is measured.
    FileResult Create(std::unique_ptr<RecordFile> file, AviDescription description,
                      std::optional<FrameRate> rate, std::int64_t start);

    FileResult PutVideo(RecordBytes frame, bool keyFrame, bool continues, std::int64_t time);
    FileResult PutAudio(RecordBytes frame, std::int64_t time);
    FileResult SafePoint();
    FileResult Finish();
    void Abandon() { m_writer.Abandon(); }

    /// The file can't take more: its sizes would overflow.
    bool IsFull() const { return m_full; }
    /// The pictures come faster than the file's rate allows for; only another file can follow.
    bool IsBehind() const;
    const AviWriter& Writer() const { return m_writer; }
    FrameRate Rate() const;

  private:
    FileResult FillPictures(std::int64_t time);
    FileResult FillSound(std::int64_t time);
    FileResult WriteSilence(std::uint64_t length);
    double SoundMs() const;

    AviWriter m_writer;
    AviDescription m_description;
    std::optional<FrameRate> m_rate;  // of the grid that pictures are put on
    RateEstimate m_measured;
    std::int64_t m_start = 0;
    std::int64_t m_lastPicture = 0;  // since the start
    double m_soundStart = 0;         // what the first sound was early by, ms, 0 or less
    std::vector<std::uint8_t> m_silence;
    bool m_full = false;
};

/// A frame of AAC-LC silence for one or two channels; empty for more.
std::vector<std::uint8_t> SilentAacFrame(std::uint32_t channels);

}  // namespace norix
