#pragma once

// Where one frame ends and the next begins. Each implementation knows one form of stream.

#include <cstddef>
#include <optional>

#include "include/HTTP/ByteWindow.h"

namespace norix::http {

class Framing {
  public:
    enum class Step {
        More,    // more bytes are needed
        Again,   // something was consumed: look again
        Frame,   // `frame` is one; the caller uses it, consumes `consume` bytes and looks again
        End,     // the stream said that it ends
        Broken,  // nothing of this form
    };

    struct Found {
        Bytes frame;
        std::size_t consume = 0;
    };

    virtual ~Framing() = default;
    virtual Step Next(ByteWindow& window, Found& found) = 0;
};

/// Bytes that belong to no frame. Some are a nuisance, many in a row mean that the stream is something else.
class Junk {
  public:
    /// False when it is too much.
    bool Add(std::size_t bytes) {
        m_bytes += bytes;
        return m_bytes <= m_allowed;
    }
    void Forget() {
        m_bytes = 0;
        m_allowed = kUsual;
    }
    /// A frame that is too long for the buffer was begun: its rest is to be expected.
    void ExpectLongFrame() {
        m_bytes = 0;
        m_allowed = kLongestFrame;
    }

  private:
    static constexpr std::size_t kUsual = 1024 * 1024;
    static constexpr std::size_t kLongestFrame = 64 * 1024 * 1024;

    std::size_t m_bytes = 0;
    std::size_t m_allowed = kUsual;
};

/// "<what> is longer than <limit> bytes, dropped"
void LogLongFrame(const char* what, std::size_t limit);

}  // namespace norix::http
