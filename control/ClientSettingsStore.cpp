#include "control/ClientSettingsStore.h"

#include "util/Settings.h"

namespace norix {

std::wstring ClientSettingsStore::Get(const std::wstring& model, const std::wstring& name) const {
    return m_page ? m_page->GetClientValue(model, m_channel, name, L"")
                  : util::GetClientValue(model, m_channel, name, L"");
}

ClientSettings ClientSettingsStore::Load(ClientSettings settings) const {
    const util::ClientOptions options = util::ReadClientOptions();
    for (const auto& [name, preset] : ToValues(settings)) {
        std::wstring kept = Get(m_model, name);
        if (kept.empty() && !m_model.empty()) kept = Get(L"", name);
        if (!kept.empty()) TakeValue(settings, name, kept);
    }
    const bool own = m_page && (!Get(m_model, L"VideoOption").empty() || !Get(L"", L"VideoOption").empty());
    if (own) return settings;
    // These are the user's for all cameras; a page can only have others for itself.
    settings.video = options.video;
    settings.protocol = options.protocol;
    return settings;
}

bool ClientSettingsStore::Save(const ClientSettings& settings) const {
    bool saved = m_page || util::WriteClientOptions({settings.video, settings.protocol});
    for (const auto& [name, text] : ToValues(settings)) {
        saved = (m_page ? m_page->SetClientValue(m_model, m_channel, name, text)
                        : util::SetClientValue(m_model, m_channel, name, text)) &&
                saved;
    }
    return saved;
}

}  // namespace norix
