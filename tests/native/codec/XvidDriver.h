#pragma once

#include <vector>

#include "codec/xvid.h"
#include "tests/native/codec/Corpus.h"

namespace codec::test {

using DecoreFunction = int (*)(void*, int, void*, void*);

/// Decodes packets as the interface's users do: a packet is handed in until it gives a picture or is used up.
class XvidDriver {
  public:
    explicit XvidDriver(DecoreFunction decore = xvid_decore);
    ~XvidDriver();
    XvidDriver(const XvidDriver&) = delete;
    XvidDriver& operator=(const XvidDriver&) = delete;

    struct Output {
        int type = XVID_TYPE_NOTHING;
        int result = 0;   ///< of the last call
        int headers = 0;  ///< layer headers reported on the way
    };

    /// Decodes one packet into `m_buffer`, which is made to fit when a header announces a size.
    Output Decode(const Bytes& packet, int general = 0);
    /// One more picture after the last packet.
    Output Drain();

    /// The picture in m_buffer, for the planar format.
    PlanarPicture View() const;

    int m_csp = XVID_CSP_PLANAR;
    int m_width = 0;
    int m_height = 0;
    Bytes m_buffer;

  private:
    int Call(const std::uint8_t* data, int length, int general, xvid_dec_stats_t* stats);

    DecoreFunction m_decore;
    void* m_handle = nullptr;
};

}  // namespace codec::test
