// The client settings: the dialog in which the user makes them, and where they count.

#include <utility>

#include "control/ClientSettingsStore.h"
#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "control/trust/TrustDialogs.h"
#include "framework/EntryPoint.h"
#include "protocol/Text.h"
#include "ui/Texts.h"
#include "util/Settings.h"
#include "util/Text.h"

namespace norix {

namespace {

/// In place of a camera's model, which has no colons: the figures of the connection.
constexpr wchar_t kStatisticsModel[] = L"::statistics";

}  // namespace

void CNorixSDKCtrl::OnClientSettingModeChanged() {
    SetModifiedFlag();
    UpdateClientSettings();
}

// Without a container there is nobody who could answer it.
void CNorixSDKCtrl::UpdateClientSettings() {
    const bool wanted = m_properties.clientSettingMode && HasWindow() && Embedding().Site() != nullptr;
    if (!wanted) return m_settingDialog.Close();
    if (m_settingDialog.IsOpen()) return;
    ClientSettingDialog::View view;
    view.settings = SavedSettings();
    view.settings.stream = m_properties.streamIndex;
    view.page = m_trust.IsWeb();
    if (view.page) view.settings.recordFolder = m_trust.Store().Folder();
    if (!view.page && !m_properties.recordVideoPath.empty())
        view.settings.recordFolder = m_properties.recordVideoPath;
    view.protocolFixed = m_properties.videoProtocol != ecpNone;
    view.connected = m_connection.IsActive();
    view.streams = KnownStreams();
    m_settingDialog.Show(Handle(), std::move(view));
}

/// The codecs of the channel's streams, as the camera has said; empty while it has not.
std::vector<std::uint8_t> CNorixSDKCtrl::KnownStreams() const {
    const CameraCommands& camera = m_camera.Known();
    const auto channel = static_cast<std::size_t>(m_properties.chIndex - 1);
    if (camera.Codecs() == nullptr || channel >= camera.Codecs()->channels.size() ||
        util::Utf8ToWide(camera.access.serverIP) != m_properties.serverIP) {
        return {};
    }
    return camera.Codecs()->channels[channel];
}

ClientSettingsStore CNorixSDKCtrl::SettingsStore() {
    std::optional<PageStore> page;
    if (m_trust.IsWeb()) page = m_trust.Store();
    std::wstring model = m_modelOf == m_properties.serverIP ? m_properties.serverModelType : std::wstring();
    if (model.empty()) model = util::Utf8ToWide(protocol::trim(m_camera.Known().System().model));
    return {std::move(page), std::move(model), static_cast<int>(m_properties.chIndex)};
}

/// What the user has kept for this camera's channel; what he has not, as the properties say.
ClientSettings CNorixSDKCtrl::SavedSettings() {
    ClientSettings settings;
    settings.stream = m_properties.streamIndex;
    settings.recordMiB = m_properties.recordMaxFileSize;
    settings.recordSeconds = m_properties.recordMaxFileTimeLength;
    return SettingsStore().Load(std::move(settings));
}

short CNorixSDKCtrl::SaveClientSetting() {
    if (!m_settingDialog.IsOpen()) return -1;
    const std::optional<ClientSettings> settings = m_settingDialog.Take();
    if (!settings) return -1;
    if (!SettingsStore().Save(*settings)) {
        m_settingDialog.TellNotSaved();
        return -1;
    }
    UseSettings(*settings);
    return 0;
}

// ---- Statistics

void CNorixSDKCtrl::ShowStatistics() {
    std::wstring lines;
    if (m_statisticsWanted) {
        lines = OverlayText(m_connection.Statistics(),
                            {UiText(IDS_STATISTICS_STREAM), UiText(IDS_STATISTICS_FRAMES),
                             UiText(IDS_STATISTICS_TOTALS), UiText(IDS_STATISTICS_LINK)});
    }
    m_statistics.Show(m_connection.Decoder(), lines);
}

void CNorixSDKCtrl::SetClientReg(const framework::Text& model, long channel, const framework::Text& name,
                                 const framework::Text& value) {
    if (model == kStatisticsModel) {
        if (name != L"overlay") return;
        m_statisticsWanted = value == L"1";
        return ShowStatistics();
    }
    if (m_trust.IsWeb()) {
        m_trust.Store().SetClientValue(model, static_cast<int>(channel), name, value);
        return;
    }
    util::SetClientValue(model, static_cast<int>(channel), name, value);
}

framework::Text CNorixSDKCtrl::GetClientReg(const framework::Text& model, long channel,
                                            const framework::Text& name,
                                            const framework::Text& defaultValue) {
    if (model == kStatisticsModel) {
        if (name == L"overlay") return m_statisticsWanted ? L"1" : L"0";
        return FigureText(m_connection.Statistics(), name, defaultValue);
    }
    if (m_trust.IsWeb())
        return m_trust.Store().GetClientValue(model, static_cast<int>(channel), name, defaultValue);
    return util::GetClientValue(model, static_cast<int>(channel), name, defaultValue);
}

// ---- Saving

/// Tells the host last: it may do anything then.
void CNorixSDKCtrl::UseSettings(const ClientSettings& settings) {
    const auto change = [this](auto& property, const auto& value, const wchar_t* name) {
        if (std::exchange(property, value) != value) NotifyChanged(name);
    };
    m_statisticsWanted = settings.statistics;
    ShowStatistics();
    // A page's own folder lies below the one that was picked for it.
    if (!m_trust.IsWeb()) change(m_properties.recordVideoPath, settings.recordFolder, L"RecordVideoPath");
    change(m_properties.recordMaxFileSize, settings.recordMiB, L"RecordMaxFileSize");
    change(m_properties.recordMaxFileTimeLength, settings.recordSeconds, L"RecordMaxFileTimeLength");
    OnRecordMaxFileTimeLengthChanged();
    if (std::exchange(m_properties.streamIndex, settings.stream) == settings.stream) return;
    OnStreamIndexChanged();
    NotifyChanged(L"StreamIndex");
    FireEvent(events::OnUserStreamSelChanged, m_properties.streamIndex);
}

void CNorixSDKCtrl::OnSettingsAccepted(bool connectAgain) {
    const framework::KeepAlive<CNorixSDKCtrl> keep(*this);  // the host may let go inside of an event
    if (SaveClientSetting() != 0) return;
    m_settingDialog.Close();
    EndSettingMode();
    if (!connectAgain || !m_connection.IsActive()) return;
    m_connection.Disconnect();
    // The host may have connected by itself when it heard of the end.
    if (HasWindow() && !m_connection.IsActive()) m_connection.ConnectInBackground();
}

void CNorixSDKCtrl::OnSettingsCancelled() {
    const framework::KeepAlive<CNorixSDKCtrl> keep(*this);
    EndSettingMode();
}

void CNorixSDKCtrl::EndSettingMode() {
    if (!std::exchange(m_properties.clientSettingMode, false)) return;
    SetModifiedFlag();
    NotifyChanged(L"ClientSettingMode");
}

std::wstring CNorixSDKCtrl::PickFolder(HWND owner) {
    const framework::KeepAlive<CNorixSDKCtrl> keep(*this);
    return m_trust.IsWeb() ? m_trust.PickFileFolder()
                           : BrowseForFolder(owner, UiText(IDS_SETTINGS_PICK_FOLDER));
}

}  // namespace norix
