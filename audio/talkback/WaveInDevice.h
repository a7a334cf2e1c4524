#pragma once

#include <windows.h>

#include <mmsystem.h>

#include <memory>

#include "audio/talkback/VoiceInput.h"

namespace norix {

/// The system's default microphone, through waveIn. Six blocks are with the device or on their way.
class WaveInDevice final : public VoiceInput {
  public:
    WaveInDevice();
    ~WaveInDevice() override;

    bool Open(std::uint32_t samplesPerSecond) noexcept override;
    std::uint32_t Rate() const noexcept override;
    bool Start() noexcept override;
    void Stop() noexcept override;
    HANDLE Filled() const noexcept override;
    std::span<const std::int16_t> Take() noexcept override;
    bool GiveBack() noexcept override;
    std::uint32_t LastError() const noexcept override { return m_error; }

  private:
    struct Stream;

    static void CALLBACK OnDevice(HWAVEIN device, UINT message, DWORD_PTR instance, DWORD_PTR header,
                                  DWORD_PTR reserved) noexcept;
    bool OpenAt(std::uint32_t samplesPerSecond);
    bool Queue(WAVEHDR& header) noexcept;

    std::unique_ptr<Stream> m_stream;  // null: not open
    MMRESULT m_error = MMSYSERR_NOERROR;
};

}  // namespace norix
