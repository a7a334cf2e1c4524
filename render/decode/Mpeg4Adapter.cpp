#include "render/decode/Mpeg4Adapter.h"

#include <algorithm>
#include <limits>

#include "codec/xvid.h"

namespace norix {
namespace {

constexpr int kXvidVersion = XVID_MAKE_VERSION(1, 1, 2);

// Pre-roll hint, fast decoding, no delay.
constexpr int kDecodeFlags = XVID_DEC_PREROLL | XVID_DEC_FAST | XVID_LOWDELAY;

// What is left of a packet after its headers is worth another call only from this size on.
constexpr std::size_t kSmallestRest = 40;

// Headers with more user data than this are taken for damage.
constexpr std::size_t kMostHeaderBytes = 16 * 1024;

// A decoder that neither uses bytes nor gives a picture is asked this often, and then left.
constexpr int kFruitlessCalls = 2;

int Colourspace(codec::PixelFormat format) {
    return format == codec::PixelFormat::kYuy2 ? XVID_CSP_YUY2 : XVID_CSP_BGR;
}

}  // namespace

Mpeg4Adapter::~Mpeg4Adapter() {
    Close();
}

bool Mpeg4Adapter::Open(DecodeHost& host) {
    if (m_decoder) return true;
    xvid_gbl_init_t global = {};
    global.version = kXvidVersion;
    if (xvid_global(nullptr, XVID_GBL_INIT, &global, nullptr) < 0) return false;
    xvid_dec_create_t create = {};
    create.version = kXvidVersion;
    if (xvid_decore(nullptr, XVID_DEC_CREATE, &create, nullptr) < 0) return false;
    m_decoder = create.handle;
    if (m_decoder && !m_headers.empty()) DecodePacket({m_headers.data(), m_headers.size(), {}}, host);
    return m_decoder != nullptr;
}

void Mpeg4Adapter::KeepHeaders(const std::uint8_t* data, std::size_t size) {
    if (data == m_headers.data() || size > kMostHeaderBytes) return;
    m_headers.assign(data, data + size);
}

void Mpeg4Adapter::Close() {
    if (m_decoder) xvid_decore(m_decoder, XVID_DEC_DESTROY, nullptr, nullptr);
    m_decoder = nullptr;
}

std::optional<std::int64_t> Mpeg4Adapter::DecodePacket(const CompressedFrame& packet, DecodeHost& host) {
    const std::uint8_t* data = packet.data;
    std::size_t size = packet.size;
    int fruitless = 0;
    do {
        const bool wanted = host.IsPictureWanted();
        const bool filter = wanted && host.DeInterlace() && host.Scratch().data;
        const codec::OutputPicture target = filter ? host.Scratch() : host.Work();
        // The interface takes no capacity. While the host is ready its buffers hold the size that the decoder
        // announced last; before that the decoder is new, and writes nothing until it has announced one.
        if (!target.data && host.IsReady()) return std::nullopt;

        xvid_dec_frame_t frame = {};
        xvid_dec_stats_t stats = {};
        frame.version = kXvidVersion;
        stats.version = kXvidVersion;
        frame.general = kDecodeFlags;
        frame.bitstream = const_cast<std::uint8_t*>(data);  // not modified
        frame.length = static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
        frame.output.csp = wanted ? Colourspace(target.format) : XVID_CSP_NULL;
        frame.output.plane[0] = target.data;
        frame.output.stride[0] = target.stride;
#ifdef XVID_CARRIES_TAGS
        frame.tag = packet.info.tag;
#endif
        const int used = xvid_decore(m_decoder, XVID_DEC_DECODE, &frame, &stats);

        if (stats.type == XVID_TYPE_VOL) {
            const PixelSize announced{stats.data.vol.width, stats.data.vol.height};
            if (used > 0) KeepHeaders(data, std::min<std::size_t>(static_cast<std::size_t>(used), size));
            if (!(announced == host.Size()) || !host.IsReady()) {
                if (!host.PrepareFor(announced)) return std::nullopt;
            }
        }
        if (stats.type > 0) {
            if (!host.IsReady()) return std::nullopt;
            if (filter && !FilterInterlaced(target, host.Work(), host.Size())) return std::nullopt;
#ifdef XVID_CARRIES_TAGS
            return stats.tag;
#else
            return packet.info.tag;
#endif
        }
        if (used == XVID_ERR_NO_PICTURE) return std::nullopt;
        if (used > 0) {
            const std::size_t step = std::min<std::size_t>(static_cast<std::size_t>(used), size);
            data += step;
            size -= step;
        } else if (++fruitless == kFruitlessCalls) {
            return std::nullopt;
        }
    } while (size >= kSmallestRest);
    return std::nullopt;
}

std::optional<std::int64_t> Mpeg4Adapter::Decode(const CompressedFrame& frame, DecodeHost& host) {
    if (!host.IsRunning()) return std::nullopt;
    if (!host.IsReady()) Close();
    if (!Open(host)) return std::nullopt;
    const std::optional<std::int64_t> picture = DecodePacket(frame, host);
    // Without a presenter that fits, the next frame begins with a new decoder and so with the size again.
    if (!host.IsReady()) Close();
    return picture;
}

}  // namespace norix
