#pragma once

#include <vector>

#include "render/decode/CodecAdapter.h"

namespace norix {

/// MPEG-4 part 2 through xvidcore's entry points.
class Mpeg4Adapter final : public CodecAdapter {
  public:
    Mpeg4Adapter() = default;
    ~Mpeg4Adapter() override;
    Mpeg4Adapter(const Mpeg4Adapter&) = delete;
    Mpeg4Adapter& operator=(const Mpeg4Adapter&) = delete;

    std::optional<std::int64_t> Decode(const CompressedFrame& frame, DecodeHost& host) override;

  private:
    void Close();
    bool Open(DecodeHost& host);
    std::optional<std::int64_t> DecodePacket(const CompressedFrame& packet, DecodeHost& host);
    void KeepHeaders(const std::uint8_t* data, std::size_t size);

    void* m_decoder = nullptr;
    // The stream's last headers, which a camera may send only once: every new decoder gets them.
    std::vector<std::uint8_t> m_headers;
};

}  // namespace norix
