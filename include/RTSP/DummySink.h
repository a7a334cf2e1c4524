#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "liveMedia.hh"

#include "include/RTSP/AccessUnitAssembler.h"
#include "include/RTSP/LinkFacts.h"

namespace norix {

class CCtrlParam;

/// Takes the frames of one subsession, gives them the form that decoders expect, and inserts them into the
/// pools of the parameter block. Everything on the session's thread. Ended with Medium::close; outlived by
/// the subsession, the parameter block and the stop flag. Makes its two buffers once and allocates nothing
/// per frame.
class DummySink : public MediaSink {
  public:
    /// No frame is inserted once `stop` is non-zero: the pools may belong to another connection then.
    static DummySink* createNew(UsageEnvironment& env, MediaSubsession& subsession,
                                unsigned receiveBufferSize, CCtrlParam& param,
                                EventLoopWatchVariable const& stop);

    /// What frames of that codec are inserted as, whatever medium the description calls them.
    static bool IsVideo(char const* codecName);
    static bool IsSound(char const* codecName);

    /// Whether a frame has come since setConnected(0).
    int isConnected() const { return m_connected; }
    void setConnected(int value) { m_connected = value; }

    /// Since the beginning.
    std::uint64_t Frames() const { return m_frames; }
    std::uint64_t Bytes() const { return m_bytes; }

    /// Logs what the link did, when it did anything worth it since the last time.
    void LogLink();

  protected:
    DummySink(UsageEnvironment& env, MediaSubsession& subsession, unsigned receiveBufferSize,
              CCtrlParam& param, EventLoopWatchVariable const& stop);
    ~DummySink() override = default;

  private:
    enum class Kind { Other, H264, H265, Mpeg4, Jpeg, G711, Aac };

    static Kind KindOf(char const* codecName);
    static bool IsParameterSet(Kind kind, std::uint8_t header);
    static void afterGettingFrame(void* clientData, unsigned frameSize, unsigned numTruncatedBytes,
                                  struct timeval presentationTime, unsigned durationInMicroseconds);
    void afterGettingFrame(unsigned frameSize, unsigned truncated, std::uint32_t pts);
    Boolean continuePlaying() override;

    void PrependParameterSets();
    void TakeNalUnit(ByteView nal, std::uint32_t pts);
    void TakeH265Unit(ByteView nal, std::uint32_t pts, bool damagedBefore);
    void Give(AccessUnitAssembler::Outcome outcome, std::uint32_t pts);
    bool IsNal() const { return m_kind == Kind::H264 || m_kind == Kind::H265; }
    void TakeMpeg4(ByteView frame, std::uint32_t pts);
    void FillAacConfig();
    void InsertVideo(ByteView frame, std::uint32_t pts, int frameType);

    MediaSubsession& m_subsession;
    CCtrlParam& m_param;
    EventLoopWatchVariable const& m_stop;
    const Kind m_kind;
    const unsigned m_bufferSize;
    const std::vector<std::uint8_t> m_header;        // MPEG-4 only: the description's
    const std::unique_ptr<std::uint8_t[]> m_buffer;  // the header, and behind it what is received
    AccessUnitAssembler m_assembler;                 // H.264 and H.265: without memory for others

    // H.265: the picture that is being put together, and the one before.
    std::uint32_t m_picturePts = 0;
    bool m_endedByMarker = false;
    bool m_markersLie = false;  // they stand behind slices that others follow

    int m_connected = 0;
    bool m_aacConfigFilled = false;
    bool m_damaged = false;  // since the video frame that was inserted last
    LinkFacts m_logged;
    std::uint64_t m_frames = 0;
    std::uint64_t m_bytes = 0;
};

}  // namespace norix
