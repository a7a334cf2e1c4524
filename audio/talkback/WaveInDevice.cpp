#include "audio/talkback/WaveInDevice.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <new>
#include <vector>

#include "util/Handles.h"
#include "util/Locks.h"
#include "util/Log.h"

namespace norix {
namespace {

constexpr std::size_t kBlocks = 6;
constexpr LONG kMostCounted = 10;
constexpr int kCloseAttempts = 5;
constexpr DWORD kCloseWaitMs = 10;
/// What is tried where the device and the system's converters refuse the rate that is wanted.
constexpr std::array<std::uint32_t, 4> kUsualRates = {48000, 44100, 16000, 8000};

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

// An open device, with its blocks.
struct WaveInDevice::Stream {
    explicit Stream(std::uint32_t samplesPerSecond) : rate(samplesPerSecond) {
        for (std::size_t i = 0; i < kBlocks; ++i)
            samples[i].resize(BlockSamples(rate));
    }

    const std::uint32_t rate;
    HWAVEIN handle = nullptr;
    std::array<std::vector<std::int16_t>, kBlocks> samples;
    std::array<WAVEHDR, kBlocks> headers{};
    util::UniqueHandle filledCount{CreateSemaphoreW(nullptr, 0, kMostCounted, nullptr)};

    util::CriticalSection lock;  // guards the next two
    std::array<WAVEHDR*, kBlocks> filled{};
    std::size_t filledSize = 0;

    WAVEHDR* taken = nullptr;  // the reading thread's
};

WaveInDevice::WaveInDevice() = default;

WaveInDevice::~WaveInDevice() {
    Stop();
}

// On a thread of the system. No function of the device may be called from here.
void CALLBACK WaveInDevice::OnDevice(HWAVEIN, UINT message, DWORD_PTR instance, DWORD_PTR parameter,
                                     DWORD_PTR) noexcept {
    if (message != WIM_DATA) return;
    auto* const stream = reinterpret_cast<Stream*>(instance);
    {
        const std::lock_guard<util::CriticalSection> lock(stream->lock);
        if (stream->filledSize == kBlocks) return;
        stream->filled[stream->filledSize++] = reinterpret_cast<WAVEHDR*>(parameter);
    }
    ReleaseSemaphore(stream->filledCount.Get(), 1, nullptr);
}

bool WaveInDevice::OpenAt(std::uint32_t samplesPerSecond) {
    auto stream = std::make_unique<Stream>(samplesPerSecond);
    if (!stream->filledCount) return false;
    const WAVEFORMATEX format = MonoFormat(samplesPerSecond);
    m_error = waveInOpen(&stream->handle, WAVE_MAPPER, &format, reinterpret_cast<DWORD_PTR>(&OnDevice),
                         reinterpret_cast<DWORD_PTR>(stream.get()), CALLBACK_FUNCTION);
    if (m_error != MMSYSERR_NOERROR || !stream->handle) return false;
    m_stream = std::move(stream);
    return true;
}

bool WaveInDevice::Open(std::uint32_t samplesPerSecond) noexcept {
    Stop();
    try {
        if (OpenAt(samplesPerSecond)) return true;
        return m_error == WAVERR_BADFORMAT &&
               std::any_of(kUsualRates.begin(), kUsualRates.end(),
                           [this](std::uint32_t rate) { return OpenAt(rate); });
    } catch (const std::bad_alloc&) {
        m_error = MMSYSERR_NOMEM;
        return false;
    }
}

std::uint32_t WaveInDevice::Rate() const noexcept {
    return m_stream ? m_stream->rate : 0;
}

HANDLE WaveInDevice::Filled() const noexcept {
    return m_stream ? m_stream->filledCount.Get() : nullptr;
}

bool WaveInDevice::Queue(WAVEHDR& header) noexcept {
    m_error = waveInAddBuffer(m_stream->handle, &header, sizeof header);
    return m_error == MMSYSERR_NOERROR;
}

bool WaveInDevice::Start() noexcept {
    if (!m_stream) return false;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        WAVEHDR& header = m_stream->headers[i];
        header = {};
        header.lpData = reinterpret_cast<LPSTR>(m_stream->samples[i].data());
        header.dwBufferLength = static_cast<DWORD>(m_stream->samples[i].size() * sizeof(std::int16_t));
        m_error = waveInPrepareHeader(m_stream->handle, &header, sizeof header);
        if (m_error != MMSYSERR_NOERROR || !Queue(header)) return false;
    }
    m_error = waveInStart(m_stream->handle);
    return m_error == MMSYSERR_NOERROR;
}

std::span<const std::int16_t> WaveInDevice::Take() noexcept {
    const std::lock_guard<util::CriticalSection> lock(m_stream->lock);
    if (m_stream->filledSize == 0) return {};
    m_stream->taken = m_stream->filled.front();
    std::copy(m_stream->filled.begin() + 1, m_stream->filled.end(), m_stream->filled.begin());
    --m_stream->filledSize;
    const WAVEHDR& header = *m_stream->taken;
    return {reinterpret_cast<const std::int16_t*>(header.lpData),
            header.dwBytesRecorded / sizeof(std::int16_t)};
}

bool WaveInDevice::GiveBack() noexcept {
    WAVEHDR* const header = std::exchange(m_stream->taken, nullptr);
    return !header || Queue(*header);
}

void WaveInDevice::Stop() noexcept {
    if (!m_stream) return;
    for (int attempt = 0; attempt < kCloseAttempts; ++attempt) {
        if (attempt != 0) Sleep(kCloseWaitMs);
        waveInStop(m_stream->handle);
        waveInReset(m_stream->handle);
        for (WAVEHDR& header : m_stream->headers) {
            if (header.dwFlags & WHDR_PREPARED)
                waveInUnprepareHeader(m_stream->handle, &header, sizeof header);
        }
        m_error = waveInClose(m_stream->handle);
        if (m_error == MMSYSERR_NOERROR) {
            m_stream.reset();
            return;
        }
    }
    NORIX_LOG("CWaveIn::Close", 1, "the microphone doesn't close (error %u)", m_error);
    // The device may still fill the blocks: they stay.
    static_cast<void>(m_stream.release());
}

}  // namespace norix
