#pragma once

// Native builds only: the window and the settings that code under test meets.

#include <cstdint>
#include <functional>
#include <vector>

#include "media/MediaPlatform.h"

namespace norix::platform {

/// While one lives, messages to any window are kept here, and settings come from here. One at a time; the
/// code under test may use it from any thread.
class FakePlatform {
  public:
    struct Message {
        bool sent = false;  // else posted
        std::uint32_t id = 0;
        std::uintptr_t wParam = 0;
        std::intptr_t lParam = 0;
        bool operator==(const Message&) const = default;
    };

    FakePlatform();
    ~FakePlatform();
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    WindowHandle Window();
    std::vector<Message> Messages() const;

    /// Called on the sender's thread while pointers in the message are valid.
    std::function<void(const Message&)> onSend;
    bool queueFull = false;       // nothing can be posted
    std::uint32_t skippedMs = 0;  // by which the timer is ahead
    MediaSettings media;
    PtsSettings pts;
};

}  // namespace norix::platform
