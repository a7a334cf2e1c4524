#pragma once

#include <atomic>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "media/CtrlParam.h"
#include "media/MediaPlayers.h"

namespace probe {

/// Stands where decoder and audio player do: takes the frames out of the pools, counts them, and writes them
/// to files if asked to (prefix.0 video, prefix.1 audio: each frame behind its length, 4 bytes big-endian).
class FrameTaker : public norix::MediaPlayers {
  public:
    FrameTaker(std::shared_ptr<norix::CCtrlParam> param, const std::string& prefix);
    ~FrameTaker() override;

    void Start() override;
    /// Takes what is left and ends.
    void Stop();

    std::uint64_t Pictures() const { return m_pictures.load(); }
    std::uint64_t KeyPictures() const { return m_keyPictures.load(); }

  private:
    void Run();
    bool TakeVideo();
    bool TakeAudio();
    static void Write(std::ofstream& file, const std::uint8_t* data, std::uint32_t size);

    const std::shared_ptr<norix::CCtrlParam> m_param;
    std::atomic<bool> m_stop{false};
    std::atomic<std::uint64_t> m_pictures{0};
    std::atomic<std::uint64_t> m_keyPictures{0};
    // the thread's while it runs
    std::ofstream m_video;
    std::ofstream m_audio;
    std::thread m_thread;
};

}  // namespace probe
