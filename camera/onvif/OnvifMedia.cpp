#include "camera/onvif/OnvifMedia.h"

#include <chrono>
#include <cstring>
#include <new>
#include <optional>
#include <random>
#include <utility>

#include "camera/onvif/OnvifSession.h"
#include "camera/onvif/ProfileChoice.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

// No exception leaves the interface.
template <class Body>
KsOnvifResult Guarded(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return kKsOnvifNoMemory;
    } catch (...) {
        return kKsOnvifFail;
    }
}

KsOnvifResult Copy(const std::string& text, char* target, std::uint32_t room) {
    if (text.size() >= room) return kKsOnvifTooSmall;
    std::memcpy(target, text.c_str(), text.size() + 1);
    return kKsOnvifOk;
}

class OnvifMedia final : public IKsOnvifMedia {
  public:
    OnvifMedia(HttpTransport& transport, OnvifSurroundings surroundings)
        : m_transport(transport), m_surroundings(std::move(surroundings)) {}

    void KSONVIF_CALL Release() noexcept override { delete this; }
    std::uint32_t KSONVIF_CALL InterfaceVersion() noexcept override { return kKsOnvifInterfaceVersion; }
    KsOnvifResult KSONVIF_CALL Open(const KsOnvifCamera* camera) noexcept override;
    KsOnvifResult KSONVIF_CALL GetProfileByIndex(std::uint32_t channel, std::uint32_t streamIndex,
                                                 std::uint32_t codec, char* token,
                                                 std::uint32_t room) noexcept override;
    KsOnvifResult KSONVIF_CALL GetProfileByToken(const char* token) noexcept override;
    KsOnvifResult KSONVIF_CALL GetStreamUri(const char* token, std::uint32_t transport, char* uri,
                                            std::uint32_t room) noexcept override;
    KsOnvifResult KSONVIF_CALL GetFrameRateLimit(const char* token, std::uint32_t* limit) noexcept override;

  private:
    KsOnvifResult LearnProfiles() { return m_session ? m_session->LearnProfiles() : kKsOnvifFail; }
    KsOnvifResult FindProfile(const char* token, const onvif::Profile*& profile);

    HttpTransport& m_transport;
    const OnvifSurroundings m_surroundings;
    std::optional<onvif::Session> m_session;  // once opened
};

KsOnvifResult OnvifMedia::Open(const KsOnvifCamera* camera) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (camera == nullptr || camera->host == nullptr || camera->user == nullptr ||
            camera->password == nullptr || camera->mediaService == nullptr) {
            return kKsOnvifNoObject;
        }
        m_session.reset();
        m_session = onvif::Session::Begin(m_transport, m_surroundings, *camera);
        return m_session ? kKsOnvifOk : kKsOnvifBadArgument;
    });
}

KsOnvifResult OnvifMedia::GetProfileByIndex(std::uint32_t channel, std::uint32_t streamIndex,
                                            std::uint32_t codec, char* token, std::uint32_t room) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (token == nullptr) return kKsOnvifNoObject;
        if (channel == 0 || streamIndex == 0) return kKsOnvifBadArgument;
        if (const KsOnvifResult result = LearnProfiles(); result != kKsOnvifOk) return result;
        const auto& profiles = m_session->Profiles();
        const onvif::Profile* const profile =
            onvif::ChooseProfile(profiles, channel, streamIndex, static_cast<KsOnvifCodec>(codec));
        if (profile == nullptr || profile->token.empty()) {
            NORIX_LOG("OnvifMedia::GetProfileByIndex", 1, "no profile %u of channel %u, of %u", streamIndex,
                      channel, static_cast<unsigned>(profiles.size()));
            return kKsOnvifNotFound;
        }
        return Copy(profile->token, token, room);
    });
}

KsOnvifResult OnvifMedia::GetProfileByToken(const char* token) noexcept {
    return Guarded([&] {
        const onvif::Profile* profile = nullptr;
        return FindProfile(token, profile);
    });
}

KsOnvifResult OnvifMedia::GetStreamUri(const char* token, std::uint32_t transport, char* uri,
                                       std::uint32_t room) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (token == nullptr || uri == nullptr) return kKsOnvifNoObject;
        const onvif::Profile* profile = nullptr;
        KsOnvifResult result = FindProfile(token, profile);
        if (result != kKsOnvifOk) return result;
        std::string address;
        result = m_session->GetStreamUri(token, transport, address);
        if (result != kKsOnvifOk) return result;
        return Copy(address, uri, room);
    });
}

KsOnvifResult OnvifMedia::GetFrameRateLimit(const char* token, std::uint32_t* limit) noexcept {
    return Guarded([&]() -> KsOnvifResult {
        if (limit == nullptr) return kKsOnvifNoObject;
        const onvif::Profile* profile = nullptr;
        const KsOnvifResult result = FindProfile(token, profile);
        if (result == kKsOnvifOk) *limit = profile->frameRateLimit;
        return result;
    });
}

KsOnvifResult OnvifMedia::FindProfile(const char* token, const onvif::Profile*& profile) {
    if (token == nullptr) return kKsOnvifNoObject;
    if (*token == '\0') return kKsOnvifBadArgument;
    if (const KsOnvifResult result = LearnProfiles(); result != kKsOnvifOk) return result;
    for (const onvif::Profile& candidate : m_session->Profiles()) {
        if (candidate.token == token) {
            profile = &candidate;
            return kKsOnvifOk;
        }
    }
    NORIX_LOG("OnvifMedia::FindProfile", 1, "no profile \"%s\" of %u", util::RedactSecrets(token).c_str(),
              static_cast<unsigned>(m_session->Profiles().size()));
    return kKsOnvifNotFound;
}

}  // namespace

OnvifSurroundings SystemOnvifSurroundings() {
    using namespace std::chrono;
    return {
        [] {
            return std::int64_t{duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count()};
        },
        [] { return std::int64_t{duration_cast<seconds>(system_clock::now().time_since_epoch()).count()}; },
        [] {
            constexpr int kBytes = 16;
            std::random_device random;
            std::string nonce;
            while (nonce.size() < kBytes)
                nonce += static_cast<char>(random());
            return nonce;
        }};
}

OnvifMediaPtr CreateOnvifMedia(HttpTransport& transport, OnvifSurroundings surroundings) {
    return OnvifMediaPtr(new OnvifMedia(transport, std::move(surroundings)));
}

}  // namespace norix
