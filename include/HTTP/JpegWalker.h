#pragma once

// Finds where a JPEG picture ends by walking its markers, so that a thumbnail inside doesn't end it. Pure;
// safe for any bytes.

#include <cstddef>

#include "include/HTTP/ReplyHead.h"

namespace norix::http {

class JpegWalker {
  public:
    enum class State {
        More,
        End,     // Position() is behind the picture
        Broken,  // Position() is where something stands that can't: another picture's start, as a rule
    };

    /// `picture` begins with SOI and is what it was the time before, or longer: nothing is looked at twice.
    State Walk(Bytes picture);
    std::size_t Position() const { return m_at; }
    void Reset() { *this = {}; }

  private:
    std::size_t m_at = 0;
    bool m_inScan = false;
};

}  // namespace norix::http
