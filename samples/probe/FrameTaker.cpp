#include "samples/probe/FrameTaker.h"

namespace probe {

FrameTaker::FrameTaker(std::shared_ptr<norix::CCtrlParam> param, const std::string& prefix)
    : m_param(std::move(param)) {
    if (prefix.empty()) return;
    m_video.open(prefix + ".0", std::ios::binary);
    m_audio.open(prefix + ".1", std::ios::binary);
}

FrameTaker::~FrameTaker() {
    Stop();
}

void FrameTaker::Start() {
    if (!m_thread.joinable()) m_thread = std::thread([this] { Run(); });
}

void FrameTaker::Stop() {
    m_stop = true;
    if (m_thread.joinable()) m_thread.join();
}

void FrameTaker::Run() {
    for (;;) {
        const bool stopping = m_stop;
        const bool video = TakeVideo();
        const bool audio = TakeAudio();
        if (stopping && !video && !audio) return;
    }
}

bool FrameTaker::TakeVideo() {
    norix::VideoFrameRecord* record = nullptr;
    if (m_param->GetFilledVideoFrame(&record) != norix::kResultOk) return false;
    ++m_pictures;
    if (record->frameType == 0) ++m_keyPictures;
    Write(m_video, record->data.get(), record->payloadLength);
    m_param->PutEmptyVideoFrame(record);
    return true;
}

bool FrameTaker::TakeAudio() {
    norix::AudioFrameRecord* record = nullptr;
    if (m_param->GetFilledAudioFrame(&record) != norix::kResultOk) return false;
    Write(m_audio, record->data.get(), record->storedLength);
    m_param->PutEmptyAudioFrame(record);
    return true;
}

void FrameTaker::Write(std::ofstream& file, const std::uint8_t* data, std::uint32_t size) {
    if (!file.is_open()) return;
    const char length[4] = {static_cast<char>(size >> 24), static_cast<char>(size >> 16),
                            static_cast<char>(size >> 8), static_cast<char>(size)};
    file.write(length, sizeof length);
    file.write(reinterpret_cast<const char*>(data), size);
}

}  // namespace probe
