// Recording, as far as it is the control's: what the recorder is told, and what the host hears of it.

#include <algorithm>

#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "media/ControlMessages.h"

namespace norix {

void CNorixSDKCtrl::SetReportWindow(HWND window) {
    m_session->param.window.Set(window);
    m_recorder.OnRecordingSeen();
}

long CNorixSDKCtrl::StartRecording(short format) {
    // A page records below the folder that the user picks for it, or not at all.
    const bool web = m_trust.IsWeb();
    const std::wstring root = web ? m_trust.FileFolder() : std::wstring();
    if (web && root.empty()) {
        OnRecordStatus(RecordStatus::PathInvalid);
        return S_OK;  // what comes of a recording is told by its status
    }
    m_recorder.SetLevel(m_trust.Level());
    m_recorder.SetPageFolder(root);
    ApplyRecordSettings();
    return m_recorder.Start(static_cast<RecordFormat>(format)) ? S_OK : E_OUTOFMEMORY;
}

long CNorixSDKCtrl::StopRecording(short format) {
    ApplyRecordSettings();
    m_recorder.Stop(static_cast<RecordFormat>(format));
    return S_OK;
}

void CNorixSDKCtrl::ApplyRecordSettings() {
    const ControlProperties& p = m_properties;
    ClientSettings settings;
    settings.recordFolder = p.recordVideoPath;
    settings.recordMiB = p.recordMaxFileSize;
    settings.recordSeconds = p.recordMaxFileTimeLength;
    // Where the host names no folder, the user's serves, with the limits that he has set.
    if (p.recordVideoPath.empty() && !m_trust.IsWeb()) {
        const ClientSettings saved = SavedSettings();
        if (!saved.recordFolder.empty()) settings = saved;
    }
    m_recorder.SetNaming({settings.recordFolder, p.recordFileName, p.recordManualNaming});
    constexpr std::uint64_t kMebibyte = 1048576;
    m_recorder.SetLimits({static_cast<std::uint64_t>(std::max(settings.recordMiB, 0L)) * kMebibyte,
                          static_cast<std::uint32_t>(std::max(settings.recordSeconds, 0L))});
}

void CNorixSDKCtrl::OnRecordStatus(RecordStatus status) {
    if (status == RecordStatus::Recording) m_recorder.OnRecordingSeen();
    m_properties.recordStatus = static_cast<short>(status);
    NotifyChanged(L"RecordStatus");
    FireEvent(events::OnRecordStatus, static_cast<long>(status));
}

void CNorixSDKCtrl::BeginRecordingStreams() {
    m_recorder.SetStream(m_session->channel.Get(), m_session->stream.Get());
    // Who hosts the control may be known better than when the recording was wished for.
    m_recorder.SetLevel(m_trust.Level());
    ApplyRecordSettings();
    m_recorder.Resume();
}

// The file that is being recorded ends with the connection; the wish for a recording does not.
void CNorixSDKCtrl::FinishRecording() {
    if (!m_recorder.Suspend()) return;
    // Reports that are still on their way are of before; of the frames that were written nobody need hear.
    MSG message;
    while (HasWindow() && PeekMessageW(&message, Handle(), WM_OnRecordStatus, WM_OnRecordStatus, PM_REMOVE)) {
        if (message.message == WM_QUIT) {  // it passes every filter
            PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        if (message.wParam == static_cast<WPARAM>(RecordStatus::Recording)) {
            m_recorder.OnRecordingSeen();
        } else {
            DispatchMessageW(&message);
        }
    }
    // A host that has destroyed the window first still hears of the end.
    if (HasWindow()) {
        SendMessageW(Handle(), WM_OnRecordStatus, static_cast<WPARAM>(RecordStatus::Stopped), 0);
    } else {
        OnRecordStatus(RecordStatus::Stopped);
    }
}

// The recorder's thread asks the disk, which may hang.
void CNorixSDKCtrl::WatchDisk() {
    if (!m_recorder.IsRequested() || !m_recorder.IsDiskFull()) return;
    StopRecording(static_cast<short>(RecordFormat::Avi));
    OnRecordStatus(RecordStatus::DiskFull);
}

}  // namespace norix
