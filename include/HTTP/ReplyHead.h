#pragma once

// The head of an HTTP reply: status line and header fields. Pure; safe for any bytes.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace norix::http {

using Bytes = std::span<const std::uint8_t>;

inline constexpr std::size_t kHeadLimit = 32 * 1024;

/// What matters of it for a stream. Of fields that may come once only, the first counts.
struct ReplyHead {
    unsigned status = 0;
    bool chunked = false;
    bool encoded = false;  // a coding that isn't known here lies over the body
    std::optional<std::uint64_t> contentLength;
    std::string contentType;
    std::string location;
    std::string sessionCookie;
    std::vector<std::string> challenges;  // WWW-Authenticate, in their order
};

/// Collects a head from pieces. One object per reply.
class HeadReader {
  public:
    enum class State { More, Done, Bad };

    /// Takes bytes up to the head's end and leaves the rest in `bytes`. Interim replies (1xx) are passed
    /// over. Bad: not HTTP/1.x, or longer than kHeadLimit.
    State Feed(Bytes& bytes);

    const ReplyHead& Head() const { return m_head; }

  private:
    std::string m_text;
    std::size_t m_taken = 0;  // all heads together
    ReplyHead m_head;
};

/// Nothing when the text is not a reply's head.
std::optional<ReplyHead> ParseHead(std::string_view text);

}  // namespace norix::http
