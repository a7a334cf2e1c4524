#pragma once

#include <windows.h>

#include <comutil.h>

#include <functional>
#include <string>
#include <vector>

#include "EventSink.h"

/// What the user can do with the picture once it is there. Each is a few calls by name; Call throws
/// AutomationError.
class PictureCommands {
  public:
    using Call = std::function<_variant_t(const std::wstring& method, std::vector<_variant_t> arguments)>;

    PictureCommands(Call call, std::function<void(const std::wstring&)> show)
        : call_(std::move(call)), show_(std::move(show)) {}

    /// Into the user's pictures folder, named after the moment.
    void SaveSnapshot();
    /// To the clipboard, once the control has delivered it.
    void CopyPicture();
    /// A few shapes and a text over the picture, or none again.
    void DrawDemo();
    /// A quarter turn further each time.
    void Rotate();
    /// Lets the wheel zoom and the mouse drag the picture, or not.
    void Zoom();
    void FullScreen();
    /// Figures of the stream over the picture, or none again.
    void Statistics();

    /// All events pass through here.
    void OnEvent(const Event& event);
    /// The control is gone, and with it what was done to its picture.
    void Forget();

  private:
    Call call_;
    std::function<void(const std::wstring&)> show_;
    SIZE video_{};
    bool copying_ = false;
    bool drawn_ = false;
    bool zooming_ = false;
    bool statistics_ = false;
    long angle_ = 0;
};
