#pragma once

// Cuts a stream's bytes into frames, whatever pieces they come in. Memory is allocated at construction, and
// once more where a picture is larger than usual. Pure; safe for any bytes.

#include <cstddef>
#include <memory>
#include <string>

#include "include/HTTP/ByteWindow.h"
#include "include/HTTP/ContentType.h"
#include "include/HTTP/Framing.h"

namespace norix::http {

/// Takes the frames. The bytes are valid during the call only.
class FrameSink {
  public:
    virtual void OnFrame(Bytes frame) = 0;

  protected:
    ~FrameSink() = default;
};

class Splitter {
  public:
    enum class State {
        GoOn,
        End,     // the stream said that it ends
        Broken,  // this is no media
    };

    virtual ~Splitter() = default;
    virtual State Feed(Bytes bytes, FrameSink& sink) = 0;
    /// Nothing more comes: what is left may be a frame.
    virtual void Finish(FrameSink&) {}
};

/// Pictures with the camera's header where they have one. The form of the stream is told from its first bytes
/// rather than from its content type.
class PictureSplitter : public Splitter {
  public:
    /// Longer pictures are left out, with a log line.
    PictureSplitter(std::size_t limit, const ContentType& type);
    State Feed(Bytes bytes, FrameSink& sink) override;

  private:
    bool ChooseFraming();

    const std::size_t m_limit;
    const ContentType m_type;
    ByteWindow m_window;
    std::unique_ptr<Framing> m_framing;  // from the first bytes on
};

/// G.711: blocks with the camera's header, or bare sound, which is cut into blocks of one length.
class SoundSplitter : public Splitter {
  public:
    /// Longer blocks with a header are left out, with a log line.
    explicit SoundSplitter(std::size_t limit);
    State Feed(Bytes bytes, FrameSink& sink) override;
    void Finish(FrameSink& sink) override;

  private:
    enum class Form { Unknown, Bare, WithHeader };
    enum class Step { More, Again, Broken };

    Step Next(FrameSink& sink);
    Step NextWithHeader(Bytes data, FrameSink& sink);
    std::size_t FindEnd(Bytes data);

    const std::size_t m_limit;
    ByteWindow m_window;
    Form m_form = Form::Unknown;
    std::size_t m_scanned = 0;  // of a block whose header doesn't tell its length
    Junk m_junk;
};

}  // namespace norix::http
