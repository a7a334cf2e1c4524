#pragma once

// Cuts the bytes of an RTSP connection into messages and interleaved packets. Pure and without memory: it
// looks at what has arrived and says what stands at its beginning.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "live/rtp/ByteReader.h"

namespace live::rtsp {

/// A reply or a request; all text points into the bytes it was read from.
struct Message {
    bool isReply = false;
    bool isHttp = false;
    unsigned status = 0;
    std::string_view reason;
    std::string_view method;
    std::string_view uri;
    std::vector<std::pair<std::string_view, std::string_view>> headers;
    std::string_view body;

    /// Keeps the headers' memory.
    void clear();
    /// The first header of that name, "" when there is none.
    std::string_view header(std::string_view name) const;
};

class Framer {
  public:
    enum class Item {
        NeedMore,  // nothing complete yet
        Message,   // message()
        Packet,    // channel(), packet()
        Garbage,   // neither; size() bytes can be skipped to look further
        Error,     // error(): the stream can't be followed any more
    };

    static constexpr std::size_t kMaxHeaders = 100;
    static constexpr std::size_t kMaxPacket = 4 + 65535;

    /// A message may be `maxMessage` bytes long, all of it.
    explicit Framer(std::size_t maxMessage) : m_maxMessage(maxMessage) {}

    Item next(rtp::Bytes received);

    /// Where the item is: at the beginning, but for packets that a server wrote into the middle of a reply.
    std::size_t offset() const { return m_offset; }
    std::size_t size() const { return m_size; }
    const Message& message() const { return m_message; }
    unsigned channel() const { return m_channel; }
    rtp::Bytes packet() const { return m_packet; }
    const std::string& error() const { return m_error; }

  private:
    Item garbage(std::string_view text, std::size_t start);
    Item packetAt(rtp::Bytes received, std::size_t at);
    Item messageAt(std::string_view text, std::size_t at);
    bool parseStartLine(std::string_view line);
    Item fail(std::string why);
    Item tooLong();

    const std::size_t m_maxMessage;
    std::size_t m_offset = 0;
    std::size_t m_size = 0;
    Message m_message;
    unsigned m_channel = 0;
    rtp::Bytes m_packet;
    std::string m_error;
};

}  // namespace live::rtsp
