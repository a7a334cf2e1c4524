#include "tests/native/codec/XvidDriver.h"

#include <gtest/gtest.h>

namespace codec::test {

XvidDriver::XvidDriver(DecoreFunction decore) : m_decore(decore) {
    xvid_dec_create_t create = {};
    create.version = XVID_VERSION;
    EXPECT_EQ(m_decore(nullptr, XVID_DEC_CREATE, &create, nullptr), 0);
    m_handle = create.handle;
}

XvidDriver::~XvidDriver() {
    if (m_handle) m_decore(m_handle, XVID_DEC_DESTROY, nullptr, nullptr);
}

int XvidDriver::Call(const std::uint8_t* data, int length, int general, xvid_dec_stats_t* stats) {
    const int chromaWidth = (m_width + 1) / 2;
    const int chromaHeight = (m_height + 1) / 2;
    xvid_dec_frame_t frame = {};
    frame.version = XVID_MAKE_VERSION(1, 1, 2);
    frame.general = general;
    frame.bitstream = const_cast<std::uint8_t*>(data);
    frame.length = length;
    frame.output.csp = m_csp;
    if (m_csp == XVID_CSP_PLANAR) {
        std::uint8_t* chroma = m_buffer.data() + m_width * m_height;
        frame.output.plane[0] = m_buffer.data();
        frame.output.plane[1] = chroma;
        frame.output.plane[2] = chroma + chromaWidth * chromaHeight;
        frame.output.stride[0] = m_width;
        frame.output.stride[1] = frame.output.stride[2] = chromaWidth;
    } else {
        frame.output.plane[0] = m_buffer.data();
        frame.output.stride[0] = m_width * (m_csp == XVID_CSP_YUY2 ? 2 : 3);
    }
    *stats = {};
    stats->version = XVID_MAKE_VERSION(1, 1, 2);
    return m_decore(m_handle, XVID_DEC_DECODE, &frame, stats);
}

XvidDriver::Output XvidDriver::Decode(const Bytes& packet, int general) {
    Output output;
    const std::uint8_t* data = packet.data();
    int left = static_cast<int>(packet.size());
    while (left > 0) {
        xvid_dec_stats_t stats;
        output.result = Call(data, left, general, &stats);
        output.type = stats.type;
        if (stats.type == XVID_TYPE_VOL) {
            ++output.headers;
            if (stats.data.vol.width != m_width || stats.data.vol.height != m_height) {
                m_width = stats.data.vol.width;
                m_height = stats.data.vol.height;
                const std::size_t chroma = static_cast<std::size_t>((m_width + 1) / 2 * ((m_height + 1) / 2));
                const std::size_t luma = static_cast<std::size_t>(m_width * m_height);
                m_buffer.assign(
                    m_csp == XVID_CSP_PLANAR ? luma + 2 * chroma : luma * (m_csp == XVID_CSP_YUY2 ? 2u : 3u),
                    0);
            }
        }
        if (output.result <= 0 || stats.type > 0) break;
        EXPECT_LE(output.result, left);
        data += output.result;
        left -= output.result;
    }
    return output;
}

XvidDriver::Output XvidDriver::Drain() {
    Output output;
    xvid_dec_stats_t stats;
    output.result = Call(nullptr, -1, 0, &stats);
    output.type = stats.type;
    return output;
}

PlanarPicture XvidDriver::View() const {
    PlanarPicture picture;
    picture.width = m_width;
    picture.height = m_height;
    picture.strides[0] = m_width;
    picture.strides[1] = picture.strides[2] = (m_width + 1) / 2;
    picture.planes[0] = m_buffer.data();
    picture.planes[1] = m_buffer.data() + m_width * m_height;
    picture.planes[2] = picture.planes[1] + picture.strides[1] * ((m_height + 1) / 2);
    return picture;
}

}  // namespace codec::test
