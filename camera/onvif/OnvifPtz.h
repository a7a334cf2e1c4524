#pragma once

// Moves a camera by its ONVIF PTZ service. docs/onvif.md tells the calls and their order.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "camera/HttpTransport.h"
#include "camera/onvif/OnvifMedia.h"
#include "camera/onvif/OnvifRoute.h"
#include "camera/onvif/OnvifSession.h"
#include "camera/onvif/SoapRequest.h"
#include "camera/ptz/PtzMoves.h"

namespace norix {

struct PtzAbilities {
    bool turns = false;
    bool zooms = false;
};

/// What of a camera's PTZ service the control uses, under the names and numbers of its own commands. What it
/// has to know of the camera is asked when it is needed, and kept. Each call blocks while the camera is
/// asked, within the limits of OnvifMedia.h, for what is asked first and for what is told then. One thread;
/// throws nothing but bad_alloc.
class OnvifPtz {
  public:
    /// The transport has to outlive it.
    explicit OnvifPtz(HttpTransport& transport, OnvifSurroundings surroundings = SystemOnvifSurroundings())
        : m_transport(transport), m_surroundings(std::move(surroundings)) {}
    OnvifPtz(const OnvifPtz&) = delete;  // the session refers to it
    OnvifPtz& operator=(const OnvifPtz&) = delete;

    /// Whom the calls are about, and which of its streams is shown. Where that is somebody else than before,
    /// all that is known is forgotten.
    void Use(const OnvifQuestion& shown);
    /// Asks the camera anew for what it can do: it may be another one by now.
    void AskAnew();

    enum class Outcome {
        Sent,      // whatever the camera has made of it
        NotSent,   // it can't, or there is nobody
        NotOnvif,  // what answers there speaks something else
    };
    /// Carries a command of PtzMoves.h out. `parameter`: a speed from 1 to 100, what is beyond counts as the
    /// nearest, or a preset's number.
    Outcome Send(const PtzMove& move, int parameter);
    /// `name`: UTF-8. A number that is not there gets a new preset, for as long as this object knows of it.
    Outcome SavePreset(std::string_view name, int number);
    /// UTF-8, as the control's member of this name lists them.
    Outcome PresetNames(std::string& names);
    Outcome Abilities(PtzAbilities& abilities);

  private:
    Outcome Learn();
    Outcome AskForProfile();
    Outcome Ask(const char* operation, std::string body, std::string& reply);
    Outcome Move(const onvif::PtzVelocity& velocity);
    Outcome Stop(const PtzMove& move);
    Outcome GoTo(int number);
    Outcome AskForPresets();
    /// The token of the preset with this number; empty: there is none.
    std::string TokenOf(int number) const;

    HttpTransport& m_transport;
    const OnvifSurroundings m_surroundings;
    OnvifQuestion m_shown;
    std::optional<onvif::Session> m_session;
    std::optional<Outcome> m_learnt;  // Sent: the next two are known
    std::string m_profile;
    onvif::PtzAxes m_axes;
    onvif::PtzVelocity::Turn m_turning;                   // as it was told last
    std::optional<std::vector<onvif::Preset>> m_presets;  // as they were listed last
    std::map<int, std::string> m_saved;                   // tokens of presets that were made under a number
};

}  // namespace norix
