#include "control/connection/Steering.h"

#include "camera/Charset.h"
#include "control/connection/StreamAddress.h"
#include "protocol/Text.h"

namespace norix {

using Outcome = OnvifPtz::Outcome;

bool Steering::Send(std::string_view command, std::int16_t parameter, std::int32_t channel) {
    const PtzMove* const move = FindPtzMove(command);
    if (move == nullptr) return false;
    if (OnvifPtz* const service = m_camera.Ptz()) {
        const Outcome outcome = service->Send(*move, parameter);
        if (outcome != Outcome::NotOnvif) return outcome == Outcome::Sent;
    }
    return m_camera.Commands().SendPtz(command, parameter, channel);
}

void Steering::SavePreset(std::wstring_view name, std::int16_t index) {
    if (OnvifPtz* const service = m_camera.Ptz()) {
        // Names are given as they stand in an address.
        const std::string plain = protocol::percentDecode(WideToBytes(name, kCodePageUtf8));
        if (service->SavePreset(plain, index) != Outcome::NotOnvif) return;
    }
    m_camera.Commands().SavePreset(name, index);
}

std::wstring Steering::PresetNames() {
    if (OnvifPtz* const service = m_camera.Ptz()) {
        std::string names;
        if (service->PresetNames(names) != Outcome::NotOnvif) return BytesToWide(names, kCodePageUtf8);
    }
    return m_camera.Commands().PresetNames();
}

std::optional<std::wstring> Steering::InPlaceOf(std::string_view host, std::string_view url) {
    constexpr std::string_view kInformation = "/kest-cgi/systeminfo.cgi";
    if (!url.starts_with(kInformation) || TypedHost(host) != m_camera.Known().access.serverIP)
        return std::nullopt;
    OnvifPtz* const service = m_camera.Ptz();
    PtzAbilities can;
    if (service == nullptr || service->Abilities(can) == Outcome::NotOnvif) return std::nullopt;
    const auto line = [](const wchar_t* key, bool value) {
        return std::wstring(key) + (value ? L"=1\n" : L"=0\n");
    };
    return line(L"PTZFunc", can.turns || can.zooms) + line(L"ZoomFunc", can.zooms) +
           line(L"PanTiltFunc", can.turns);
}

}  // namespace norix
