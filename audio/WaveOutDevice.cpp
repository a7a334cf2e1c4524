#include "audio/WaveOutDevice.h"

#include <array>
#include <new>

#include "util/Log.h"

namespace norix {
namespace {

constexpr int kCloseAttempts = 10;
constexpr DWORD kCloseWaitMs = 20;

WAVEFORMATEX MonoFormat(std::uint32_t samplesPerSecond) {
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = 1;
    format.wBitsPerSample = 16;
    format.nBlockAlign = 2;
    format.nSamplesPerSec = samplesPerSecond;
    format.nAvgBytesPerSec = samplesPerSecond * format.nBlockAlign;
    return format;
}

}  // namespace

// An open device. What it was given and hasn't given back stays alive with it.
struct WaveOutDevice::Stream {
    struct Slot {
        WAVEHDR header{};
        std::shared_ptr<OutputBuffers> owner;
        OutputBuffer* buffer = nullptr;
    };

    HWAVEOUT handle = nullptr;
    std::array<Slot, kOutputBufferCount>
        slots;  // by the buffer's index; a slot is the device's while it plays

    void Unprepare(Slot& slot) const noexcept {
        if (slot.header.dwFlags & WHDR_PREPARED)
            waveOutUnprepareHeader(handle, &slot.header, sizeof(WAVEHDR));
    }
};

WaveOutDevice::WaveOutDevice() = default;

WaveOutDevice::~WaveOutDevice() {
    Close();
}

// On a thread of the system. No function of the device may be called from here.
void CALLBACK WaveOutDevice::OnDevice(HWAVEOUT, UINT message, DWORD_PTR, DWORD_PTR parameter,
                                      DWORD_PTR) noexcept {
    if (message != WOM_DONE) return;
    const auto* const header = reinterpret_cast<const WAVEHDR*>(parameter);
    const auto* const slot = reinterpret_cast<const Stream::Slot*>(header->dwUser);
    slot->owner->GiveBack(slot->buffer);
}

bool WaveOutDevice::Open(std::uint32_t samplesPerSecond) noexcept {
    Close();
    std::unique_ptr<Stream> stream(new (std::nothrow) Stream);
    if (!stream) return false;
    const WAVEFORMATEX format = MonoFormat(samplesPerSecond);
    m_error = waveOutOpen(&stream->handle, WAVE_MAPPER, &format, reinterpret_cast<DWORD_PTR>(&OnDevice), 0,
                          CALLBACK_FUNCTION);
    if (m_error != MMSYSERR_NOERROR || !stream->handle) return false;
    m_stream = std::move(stream);
    return true;
}

bool WaveOutDevice::Write(const std::shared_ptr<OutputBuffers>& owner, OutputBuffer& buffer) noexcept {
    if (!m_stream) return false;
    Stream::Slot& slot = m_stream->slots[buffer.index];
    m_stream->Unprepare(slot);
    slot.owner = owner;
    slot.buffer = &buffer;
    slot.header = {};
    slot.header.lpData = reinterpret_cast<LPSTR>(buffer.samples.data());
    slot.header.dwBufferLength = static_cast<DWORD>(buffer.count * sizeof(std::int16_t));
    slot.header.dwUser = reinterpret_cast<DWORD_PTR>(&slot);
    m_error = waveOutPrepareHeader(m_stream->handle, &slot.header, sizeof(WAVEHDR));
    if (m_error == MMSYSERR_NOERROR) {
        m_error = waveOutWrite(m_stream->handle, &slot.header, sizeof(WAVEHDR));
    }
    return m_error == MMSYSERR_NOERROR;
}

bool WaveOutDevice::Reset() noexcept {
    if (!m_stream) return true;
    m_error = waveOutReset(m_stream->handle);
    return m_error == MMSYSERR_NOERROR;
}

void WaveOutDevice::Close() noexcept {
    if (!m_stream) return;
    for (int attempt = 0; attempt < kCloseAttempts; ++attempt) {
        if (attempt != 0) Sleep(kCloseWaitMs);
        Reset();
        for (Stream::Slot& slot : m_stream->slots)
            m_stream->Unprepare(slot);
        m_error = waveOutClose(m_stream->handle);
        if (m_error == MMSYSERR_NOERROR) {
            m_stream.reset();
            return;
        }
    }
    NORIX_LOG("CAudioControl::CloseDevice", 1, "the sound device doesn't close (error %u)", m_error);
    // It may still use the buffers: they stay.
    static_cast<void>(m_stream.release());
}

}  // namespace norix
