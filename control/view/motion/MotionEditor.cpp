#include "control/view/motion/MotionEditor.h"

#include "control/view/ViewCommands.h"
#include "protocol/Text.h"
#include "util/Text.h"

namespace norix {

void MotionEditor::Open(bool anew) {
    const ViewSize video = m_commands.VideoSize();
    if (m_view.Window() == nullptr || video.width < 1 || video.height < 1) return;
    const bool known = m_host.CameraMotion(false).referenceWidth > 0;
    const MotionSettings settings = m_host.CameraMotion(anew || !known);
    if (!m_panel.Show(m_view.Window())) return;
    m_panel.SetSensitivity(settings.sensitivity);
    for (std::size_t i = 0; i < settings.windows.size(); ++i)
        ShowWindow(settings, i);
    m_panel.Place();  // above the windows
}

void MotionEditor::Refresh(std::size_t index) {
    if (!IsOpen()) return Open(false);
    const MotionSettings settings = m_host.CameraMotion(false);
    if (index < settings.windows.size()) ShowWindow(settings, index);
    m_panel.Place();
}

void MotionEditor::ShowWindow(const MotionSettings& settings, std::size_t index) {
    const MotionWindow& window = settings.windows[index];
    const bool on = window.enable != 0;
    const std::wstring name = util::Utf8ToWide(std::string(protocol::trim(window.name)));
    m_panel.SetWindow(static_cast<int>(index), on, name);
    if (!on) {
        m_windows.Delete(static_cast<long>(index));
        return;
    }
    const ViewSize video = m_commands.VideoSize();
    const VideoBox box = MotionToVideo(settings, window, video.width, video.height);
    m_windows.Create(static_cast<long>(index), {{box.left, box.top}, {box.width, box.height}}, true, true,
                     name);
}

void MotionEditor::Close() {
    m_panel.Hide();
    m_windows.Clear();
}

void MotionEditor::Follow() {
    m_windows.Follow();
    m_panel.Place();
}

void MotionEditor::OnMotionWindow(int index, bool on) {
    if (!on) {
        m_windows.Delete(index);
        return;
    }
    const ViewSize video = m_commands.VideoSize();
    const long result = m_windows.Create(index, {{0, 0}, {video.width / 2, video.height / 2}}, true, true,
                                         m_panel.Name(index));
    if (result != S_OK) m_panel.SetWindow(index, false, m_panel.Name(index));
    m_panel.Place();
}

MotionSaving MotionEditor::Save() {
    MotionAreas areas;
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const auto window = m_windows.Get(static_cast<long>(i));
        if (!window) continue;
        const ViewBox& box = window->place;
        areas[i] = {util::WideToUtf8(window->caption),
                    {box.corner.x, box.corner.y, box.size.width, box.size.height}};
    }
    const ViewSize video = m_commands.VideoSize();
    MotionSettings settings = m_host.CameraMotion(false);
    const MotionSaving result = TakeMotionAreas(settings, areas, video.width, video.height);
    if (result != MotionSaving::Saved) return result;
    return m_host.SaveCameraMotion(settings) ? result : MotionSaving::Failed;
}

}  // namespace norix
