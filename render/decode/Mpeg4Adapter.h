#pragma once

#include "render/decode/CodecAdapter.h"

namespace norix {

/// MPEG-4 part 2 through xvidcore's entry points.
class Mpeg4Adapter final : public CodecAdapter {
  public:
    Mpeg4Adapter() = default;
    ~Mpeg4Adapter() override;
    Mpeg4Adapter(const Mpeg4Adapter&) = delete;
    Mpeg4Adapter& operator=(const Mpeg4Adapter&) = delete;

    bool Decode(const std::uint8_t* data, std::size_t size, DecodeHost& host) override;

  private:
    bool Open();
    void Close();
    bool DecodePacket(const std::uint8_t* data, std::size_t size, DecodeHost& host);

    void* m_decoder = nullptr;
};

}  // namespace norix
