#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/StaticInit.h"
#include "codec/xvid.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int kInitialised = codec::StaticInit();
    if (kInitialised != codec::kStaticInitOk) return 0;
    // In memory of its own, so that reading beyond is seen.
    std::vector<std::uint8_t> packet(data, data + size);
    std::vector<std::uint8_t> buffer;
    xvid_dec_create_t create = {};
    create.version = XVID_VERSION;
    if (xvid_decore(nullptr, XVID_DEC_CREATE, &create, nullptr) != 0) return 0;
    std::size_t at = 0;
    int width = 0;
    while (at < packet.size()) {
        xvid_dec_frame_t frame = {};
        xvid_dec_stats_t stats = {};
        frame.version = stats.version = XVID_VERSION;
        frame.bitstream = packet.data() + at;
        frame.length = static_cast<int>(packet.size() - at);
        frame.output.csp = size % 2 ? XVID_CSP_BGR : XVID_CSP_YUY2;
        frame.output.plane[0] = buffer.data();
        frame.output.stride[0] = width * (size % 2 ? 3 : 2);
        const int used = xvid_decore(create.handle, XVID_DEC_DECODE, &frame, &stats);
        if (used <= 0) break;
        if (stats.type == XVID_TYPE_VOL) {
            width = stats.data.vol.width;
            if (width * stats.data.vol.height > 512 * 512) break;  // larger pictures only cost time
            buffer.assign(static_cast<std::size_t>(width * stats.data.vol.height) * 3, 0);
        }
        at += static_cast<std::size_t>(used);
    }
    xvid_decore(create.handle, XVID_DEC_DESTROY, nullptr, nullptr);
    return 0;
}
