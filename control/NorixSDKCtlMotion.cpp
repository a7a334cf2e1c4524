// Editing the camera's motion windows: what the editor needs of the camera and of the user.

#include "control/NorixSDKCtl.h"

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
    if (m_properties.motionEditMode && m_connection.Decoder()) m_motionEditor.Refresh(index);
}

void CNorixSDKCtrl::FollowView() {
    m_overlapped.Follow();
    m_motionEditor.Follow();
}

StreamSelection CNorixSDKCtrl::ViewedStream() const {
    return {static_cast<std::int32_t>(m_session->channel.Get()),
            static_cast<std::int32_t>(m_session->stream.Get()), m_connection.StreamCodec()};
}

MotionSettings CNorixSDKCtrl::CameraMotion(bool anew) {
    if (CameraCommands* const camera = anew ? AdmittedCamera() : nullptr)
        camera->RequestMotionSettings(ViewedStream());
    return m_camera.Known().Motion();
}

bool CNorixSDKCtrl::SaveCameraMotion(const MotionSettings& settings) {
    CameraCommands* const camera = AdmittedCamera();
    const bool saved = camera && camera->SaveMotionSettings(ViewedStream(), settings) == kResultOk;
    if (saved) ViewChanged();  // regions are shown with their names
    return saved;
}

// A message of its own: the box answers messages, inside of which the host may let the control go.
void CNorixSDKCtrl::TellSaving(MotionSaving result) {
    PostMessageW(Handle(), WM_OnMotionSaved, static_cast<WPARAM>(result), 0);
}

void CNorixSDKCtrl::OnMotionSaved(MotionSaving result) {
    const bool saved = result == MotionSaving::Saved;
    const wchar_t* text = L"The camera did not take the motion windows!";
    if (saved) text = L"Save Motion OK!";
    if (result == MotionSaving::TooSmall) text = L"VMD window is smaller than 32x32! Abandon this setup!";
    if (result == MotionSaving::BadName) text = L"Invalid characters!";
    const framework::InPlace::Modal modal(InPlaceState());
    MessageBoxW(Handle(), text, saved ? L"info" : L"Warning",
                MB_OK | (saved ? MB_ICONINFORMATION : MB_ICONWARNING));
}

}  // namespace norix
