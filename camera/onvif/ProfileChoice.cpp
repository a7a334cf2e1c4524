#include "camera/onvif/ProfileChoice.h"

#include <algorithm>

namespace norix::onvif {
namespace {

/// The token of a channel's source; empty where no profile names one.
std::string SourceOf(const std::vector<Profile>& profiles, std::uint32_t channel) {
    std::vector<std::string> sources;
    for (const Profile& profile : profiles) {
        const bool known = std::find(sources.begin(), sources.end(), profile.source) != sources.end();
        if (!profile.source.empty() && !known) sources.push_back(profile.source);
    }
    if (sources.empty()) return {};
    return sources[std::clamp<std::size_t>(channel, 1, sources.size()) - 1];
}

}  // namespace

const Profile* ChooseProfile(const std::vector<Profile>& profiles, std::uint32_t channel,
                             std::uint32_t streamIndex, KsOnvifCodec codec) {
    const std::string source = SourceOf(profiles, channel);
    std::vector<const Profile*> all;
    std::vector<const Profile*> wanted;
    for (const Profile& profile : profiles) {
        if (!profile.source.empty() && profile.source != source) continue;
        all.push_back(&profile);
        if (codec != kKsOnvifAnyCodec && profile.codec == codec) wanted.push_back(&profile);
    }
    const std::vector<const Profile*>& counted = streamIndex <= wanted.size() ? wanted : all;
    return streamIndex >= 1 && streamIndex <= counted.size() ? counted[streamIndex - 1] : nullptr;
}

const Profile* ChooseMover(const std::vector<Profile>& profiles, const Profile& shown) {
    if (shown.ptz) return &shown;
    const auto mover = std::find_if(profiles.begin(), profiles.end(), [&](const Profile& profile) {
        return profile.ptz && profile.source == shown.source;
    });
    return mover == profiles.end() ? nullptr : &*mover;
}

}  // namespace norix::onvif
