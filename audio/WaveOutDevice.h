#pragma once

#include <windows.h>

#include <mmsystem.h>

#include <memory>

#include "audio/AudioDevice.h"

namespace norix {

/// The system's default sound device, through waveOut.
class WaveOutDevice final : public AudioDevice {
  public:
    WaveOutDevice();
    ~WaveOutDevice() override;

    bool Open(std::uint32_t samplesPerSecond) noexcept override;
    void Close() noexcept override;
    bool IsOpen() const noexcept override { return m_stream != nullptr; }
    bool Write(const std::shared_ptr<OutputBuffers>& owner, OutputBuffer& buffer) noexcept override;
    bool Reset() noexcept override;
    std::uint32_t LastError() const noexcept override { return m_error; }

  private:
    struct Stream;

    static void CALLBACK OnDevice(HWAVEOUT device, UINT message, DWORD_PTR instance, DWORD_PTR header,
                                  DWORD_PTR reserved) noexcept;

    std::unique_ptr<Stream> m_stream;  // null: not open
    MMRESULT m_error = MMSYSERR_NOERROR;
};

}  // namespace norix
