#include "camera/onvif/OnvifPtz.h"

#include <algorithm>
#include <utility>

#include "camera/onvif/PresetNumbers.h"
#include "camera/onvif/ProfileChoice.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

// Clock, services by both ways, profiles, PTZ service by the older way.
constexpr unsigned kMostQuestions = 5;
constexpr unsigned kMostOrders = 2;

int Speed(int parameter) {
    constexpr int kSlowest = 1;
    constexpr int kFastest = 100;
    return std::clamp(parameter, kSlowest, kFastest);
}

}  // namespace

void OnvifPtz::Use(const OnvifQuestion& shown) {
    if (shown == m_shown) return;
    m_shown = shown;
    m_saved.clear();
    AskAnew();
}

void OnvifPtz::AskAnew() {
    m_session.reset();
    m_learnt.reset();
    m_turning = {};
    m_presets.reset();
}

// ---- What the camera can do

OnvifPtz::Outcome OnvifPtz::Learn() {
    if (m_learnt) return *m_learnt;
    const KsOnvifCamera camera{m_shown.host.c_str(),     m_shown.port,
                               m_shown.secure ? 1u : 0u, m_shown.user.c_str(),
                               m_shown.password.c_str(), m_shown.mediaServiceUri.c_str()};
    m_session = onvif::Session::Begin(m_transport, m_surroundings, camera);
    if (!m_session) return Outcome::NotSent;
    m_session->BeginRound(kMostQuestions);
    const Outcome outcome = AskForProfile();
    if (m_learnt) {
        NORIX_LOG("OnvifPtz::Learn", 1, "profile \"%s\" turns %d, zooms %d",
                  util::RedactSecrets(m_profile).c_str(), m_axes.turns, m_axes.zooms);
    }
    return outcome;
}

OnvifPtz::Outcome OnvifPtz::AskForProfile() {
    const auto failed = [&](KsOnvifResult result) {
        // Where nobody has answered, or not to this user, the next time may be another one.
        const bool mayChange = result == kKsOnvifTimeout || result == kKsOnvifDenied;
        const Outcome outcome = m_session->Spoke() || mayChange ? Outcome::NotSent : Outcome::NotOnvif;
        if (!mayChange) m_learnt = outcome;
        return outcome;
    };
    m_profile.clear();
    m_axes = {};
    if (const KsOnvifResult result = m_session->LearnProfiles(); result != kKsOnvifOk) return failed(result);
    const std::vector<onvif::Profile>& profiles = m_session->Profiles();
    const onvif::Profile* shown = nullptr;
    if (m_shown.profileToken.empty()) {
        shown = onvif::ChooseProfile(profiles, m_shown.channel, m_shown.streamIndex, m_shown.codec);
    } else {
        const auto named = std::find_if(profiles.begin(), profiles.end(), [&](const onvif::Profile& profile) {
            return profile.token == m_shown.profileToken;
        });
        if (named != profiles.end()) shown = &*named;
    }
    const onvif::Profile* const mover = shown != nullptr ? onvif::ChooseMover(profiles, *shown) : nullptr;
    if (mover == nullptr) {
        m_learnt = Outcome::NotSent;
        return *m_learnt;
    }
    if (const KsOnvifResult result = m_session->FindPtzService(); result != kKsOnvifOk) return failed(result);
    m_profile = mover->token;
    m_axes = *mover->ptz;
    m_learnt = Outcome::Sent;
    return *m_learnt;
}

OnvifPtz::Outcome OnvifPtz::Abilities(PtzAbilities& abilities) {
    const Outcome outcome = Learn();
    abilities = {m_axes.turns, m_axes.zooms};
    return outcome;
}

// ---- Movement

// After Learn. A refusal of the user may come of a clock that has been set meanwhile.
OnvifPtz::Outcome OnvifPtz::Ask(const char* operation, std::string body, std::string& reply) {
    if (m_session->AskPtz(operation, std::move(body), reply) == kKsOnvifDenied) m_learnt.reset();
    return Outcome::Sent;
}

OnvifPtz::Outcome OnvifPtz::Send(const PtzMove& move, int parameter) {
    if (const Outcome outcome = Learn(); outcome != Outcome::Sent) return outcome;
    m_session->BeginRound(kMostOrders);
    switch (move.use) {
        case PtzUse::Nothing:
            return Stop(move);
        case PtzUse::Preset:
            return GoTo(parameter);
        case PtzUse::Zoom:
            return m_axes.zooms ? Move({std::nullopt, move.zoom * Speed(parameter)}) : Outcome::NotSent;
        case PtzUse::Tilt:
        case PtzUse::Pan:
        case PtzUse::TiltAndPan:
            break;
    }
    if (!m_axes.turns) return Outcome::NotSent;
    m_turning = {move.pan * Speed(parameter), move.tilt * Speed(parameter)};
    return Move({m_turning, std::nullopt});
}

OnvifPtz::Outcome OnvifPtz::Move(const onvif::PtzVelocity& velocity) {
    std::string reply;
    return Ask("ContinuousMove", onvif::ContinuousMoveBody(m_profile, velocity, m_axes.ownSpaces), reply);
}

// The service stops panning and tilting together only: one that is to go on is told to.
OnvifPtz::Outcome OnvifPtz::Stop(const PtzMove& move) {
    const bool turn = m_axes.turns && (move.pan != 0 || move.tilt != 0);
    const bool zoom = m_axes.zooms && move.zoom != 0;
    if (!turn && !zoom) return Outcome::NotSent;
    if (turn) {
        if (move.pan != 0) m_turning.pan = 0;
        if (move.tilt != 0) m_turning.tilt = 0;
        if (m_turning.pan != 0 || m_turning.tilt != 0) return Move({m_turning, std::nullopt});
    }
    std::string reply;
    return Ask("Stop", onvif::StopBody(m_profile, turn, zoom), reply);
}

// ---- Presets

OnvifPtz::Outcome OnvifPtz::AskForPresets() {
    m_presets.reset();
    std::string reply;
    const Outcome outcome = Ask("GetPresets", onvif::GetPresetsBody(m_profile), reply);
    m_presets = onvif::ParsePresets(reply);
    return m_presets ? outcome : Outcome::NotSent;
}

std::string OnvifPtz::TokenOf(int number) const {
    const auto numbered = onvif::NumberPresets(*m_presets, m_saved);
    const auto found = numbered.find(number);
    return found == numbered.end() ? std::string() : found->second.token;
}

OnvifPtz::Outcome OnvifPtz::GoTo(int number) {
    if (!m_presets || TokenOf(number).empty()) {
        if (const Outcome outcome = AskForPresets(); outcome != Outcome::Sent) return outcome;
    }
    const std::string token = TokenOf(number);
    if (token.empty()) return Outcome::NotSent;
    m_turning = {};
    std::string reply;
    const Outcome outcome = Ask("GotoPreset", onvif::GotoPresetBody(m_profile, token), reply);
    if (reply.empty()) m_presets.reset();  // refused: somebody may have removed it
    return outcome;
}

OnvifPtz::Outcome OnvifPtz::SavePreset(std::string_view name, int number) {
    if (const Outcome outcome = Learn(); outcome != Outcome::Sent) return outcome;
    if (number < 1) return Outcome::NotSent;
    m_session->BeginRound(kMostOrders);
    if (const Outcome outcome = AskForPresets(); outcome != Outcome::Sent) return outcome;
    std::string line(name);
    std::erase_if(line, [](char c) { return c == '\r' || c == '\n'; });
    const std::string token = TokenOf(number);
    std::string reply;
    const Outcome outcome = Ask("SetPreset", onvif::SetPresetBody(m_profile, line, token), reply);
    std::string made = onvif::ParseSetPreset(reply);
    if (token.empty() && !made.empty()) m_saved[number] = std::move(made);
    m_presets.reset();
    return outcome;
}

OnvifPtz::Outcome OnvifPtz::PresetNames(std::string& names) {
    if (const Outcome outcome = Learn(); outcome != Outcome::Sent) return outcome;
    m_session->BeginRound(kMostOrders);
    const Outcome outcome = AskForPresets();
    if (outcome == Outcome::Sent) names = onvif::PresetNames(onvif::NumberPresets(*m_presets, m_saved));
    return outcome;
}

}  // namespace norix
