#pragma once

#include <winsock2.h>

#include <windows.h>

#include <oaidl.h>

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "tests/support/WebServer.h"

// A camera that streams H.264 over the RTSP connection, some hundred pictures a second, as long as somebody
// watches. Each is a key frame that has a number and nothing to see.
class LiveCamera {
  public:
    LiveCamera();

    // Connects the control to it and waits for the first picture.
    void Connect(IDispatch* control) const;
    // Of a picture as it was recorded; -1 where there is none.
    static long NumberOf(std::span<const std::uint8_t> frame);

  private:
    std::string NextPicture();

    std::uint32_t number_ = 0;  // the server's thread
    WebServer server_;
};

// A folder for one test.
class TemporaryFolder {
  public:
    explicit TemporaryFolder(const wchar_t* name);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::vector<std::filesystem::path> Files() const;  // recordings

  private:
    std::filesystem::path path_;
};
