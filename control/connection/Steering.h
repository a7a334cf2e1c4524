#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "control/connection/CameraLink.h"

namespace norix {

/// Moves the camera: by its own commands, or where it has none, by its ONVIF service. Window thread; blocks
/// it while the camera is asked.
class Steering {
  public:
    explicit Steering(CameraLink& camera) : m_camera(camera) {}

    /// A command of PtzMoves.h; `channel` is the one that is viewed. False when nothing was sent.
    bool Send(std::string_view command, std::int16_t parameter, std::int32_t channel);
    void SavePreset(std::wstring_view name, std::int16_t index);
    /// The presets' names, each followed by "#".
    std::wstring PresetNames();

    /// What a request for the camera's information would say about its movement, if it had such a command.
    /// Nothing for other requests, and where the camera answers by itself.
    std::optional<std::wstring> InPlaceOf(std::string_view host, std::string_view url);

  private:
    CameraLink& m_camera;
};

}  // namespace norix
