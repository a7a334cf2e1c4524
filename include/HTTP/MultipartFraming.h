#pragma once

// multipart/x-mixed-replace: each part is one picture. Cameras differ in how they write the boundary and in
// whether they tell a part's length, and some tell a wrong one.

#include <optional>
#include <string>
#include <string_view>

#include "include/HTTP/Framing.h"
#include "include/HTTP/JpegWalker.h"

namespace norix::http {

class MultipartFraming : public Framing {
  public:
    /// `boundary` as the content type states it; may be empty. What stands in the stream takes precedence.
    MultipartFraming(std::size_t limit, std::string_view boundary);
    Step Next(ByteWindow& window, Found& found) override;

  private:
    enum class Part { Start, Search, Headers, CountedBody, Body };

    struct Delimiter {
        bool found = false;
        bool closing = false;
        std::size_t begin = 0;  // where the part before it ends
        std::size_t end = 0;    // where the headers behind it begin
    };

    Step Begin(ByteWindow& window);
    Step SkipToDelimiter(ByteWindow& window);
    Step ReadHeaders(ByteWindow& window);
    Step TakeCounted(ByteWindow& window, Found& found);
    Step TakeUpToDelimiter(ByteWindow& window, Found& found);
    Delimiter FindDelimiter(std::string_view text);
    std::size_t FindPictureEnd(Bytes data);
    void StartPart(Part part);

    const std::size_t m_limit;
    const std::string m_stated;
    std::string m_delimiter;  // as it stands in the stream, dashes included; empty: not known
    Part m_part = Part::Start;
    std::size_t m_scanned = 0;  // so far into the window, there is no delimiter
    std::size_t m_length = 0;   // of a counted body
    JpegWalker m_walker;        // over an uncounted one
    bool m_wanted = false;      // the part is a picture
    bool m_lengthComplaint = false;
    Junk m_junk;
};

}  // namespace norix::http
