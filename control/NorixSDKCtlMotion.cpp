// Editing the camera's motion windows: what the editor needs of the camera and of the user.

#include "control/NorixSDKCtl.h"
#include "ui/Texts.h"

namespace norix {

void CNorixSDKCtrl::OnMotionEditModeChanged() {
    WaitForWindowCreation();
    SetModifiedFlag();
    if (!m_properties.motionEditMode) {
        m_motionEditor.Close();
    } else if (m_connection.Decoder()) {
        m_motionEditor.Open(true);  // else with the first picture
    }
}

void CNorixSDKCtrl::OnMotionWindowUpdate(std::size_t index) {
    if (WantsMotionEditor()) m_motionEditor.Refresh(index);
}

void CNorixSDKCtrl::FollowView() {
    m_overlapped.Follow();
    m_motionEditor.Follow();
}

StreamSelection CNorixSDKCtrl::ViewedStream() const {
    if (!m_connection.IsActive())
        return {static_cast<std::int32_t>(m_properties.chIndex),
                static_cast<std::int32_t>(m_properties.streamIndex), VideoCodec::None};
    return {static_cast<std::int32_t>(m_session->channel.Get()),
            static_cast<std::int32_t>(m_session->stream.Get()), m_connection.StreamCodec()};
}

MotionSettings CNorixSDKCtrl::CameraMotion(bool anew) {
    if (CameraCommands* const camera = anew ? AdmittedCamera() : nullptr)
        camera->RequestMotionSettings(ViewedStream());
    return m_camera.Commands().Motion(ViewedStream());
}

bool CNorixSDKCtrl::SaveCameraMotion(const MotionSettings& settings) {
    CameraCommands* const camera = AdmittedCamera();
    const bool saved = camera && camera->SaveMotionSettings(ViewedStream(), settings) == kResultOk;
    if (saved) ViewChanged();  // regions are shown with their names
    return saved;
}

std::string CNorixSDKCtrl::MotionSource() {
    return m_camera.Commands().MotionSource(ViewedStream());
}

std::wstring CNorixSDKCtrl::MotionName(const std::string& name) {
    return m_camera.Known().NameToWide(name);
}

int CNorixSDKCtrl::CornerHeight() {
    RECT panel{};
    if (!m_audioPanel.IsShown() || !GetWindowRect(m_audioPanel.Window(), &panel)) return 0;
    return static_cast<int>(panel.bottom - panel.top);
}

void CNorixSDKCtrl::OnCameraTold() {
    ViewChanged();  // regions are shown with their names
    if (WantsMotionEditor()) m_motionEditor.OnCameraTold();
}

bool CNorixSDKCtrl::WantsMotionEditor() {
    return m_properties.motionEditMode && m_connection.Decoder();
}

// By a message: saving asks the user, inside of which the host may let the control go, and only the control's
// own messages keep it alive.
void CNorixSDKCtrl::SaveMotionLater() {
    PostMessageW(Handle(), WM_OnSaveMotion, 0, 0);
}

void CNorixSDKCtrl::SaveMotion() {
    if (!m_motionEditor.IsOpen()) return;
    const MotionSaving result = m_motionEditor.Save();
    const bool saved = result == MotionSaving::Saved;
    std::wstring text = UiText(IDS_MOTION_REFUSED);
    if (saved) text = L"Save Motion OK!";
    if (result == MotionSaving::TooSmall) text = L"VMD window is smaller than 32x32! Abandon this setup!";
    if (result == MotionSaving::BadName) text = L"Invalid characters!";
    const framework::InPlace::Modal modal(InPlaceState());
    MessageBoxW(Handle(), text.c_str(), saved ? L"info" : L"Warning",
                MB_OK | (saved ? MB_ICONINFORMATION : MB_ICONWARNING));
}

}  // namespace norix
