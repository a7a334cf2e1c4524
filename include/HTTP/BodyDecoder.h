#pragma once

// Takes the transfer coding off a reply's body: chunked, counted, or neither. Pure; safe for any bytes.

#include <cstdint>
#include <optional>
#include <string>

#include "include/HTTP/ReplyHead.h"

namespace norix::http {

class BodyDecoder {
  public:
    enum class State {
        More,  // all taken; more has to come
        Data,  // `body` is the next piece; call again
        End,
        Bad,
    };

    BodyDecoder(bool chunked, std::optional<std::uint64_t> length);

    /// Takes one piece off the front of `bytes`; `body` lies inside of them.
    State Next(Bytes& bytes, Bytes& body);

  private:
    enum class Part { Counted, Unbounded, SizeLine, AfterChunk, Trailer, End };

    State TakeData(Bytes& bytes, Bytes& body);
    bool TakeLine(Bytes& bytes);
    bool EndLine();

    Part m_part;
    const bool m_chunked;
    std::uint64_t m_left = 0;  // of the chunk, or of a counted body
    std::string m_line;        // so far; its beginning where it is long
    std::size_t m_lineLength = 0;
};

}  // namespace norix::http
