#include "control/view/motion/MotionEditor.h"

#include <utility>

#include "control/view/ViewCommands.h"
#include "util/Text.h"

namespace norix {

namespace {

bool IsKnown(const MotionSettings& settings) {
    return settings.referenceWidth > 0 && settings.referenceHeight > 0;
}

bool IsUsable(ViewSize video) {
    return video.width > 0 && video.height > 0;
}

VideoBox ToVideoBox(const ViewBox& box) {
    return {static_cast<std::int32_t>(box.corner.x), static_cast<std::int32_t>(box.corner.y),
            static_cast<std::int32_t>(box.size.width), static_cast<std::int32_t>(box.size.height)};
}

VideoBox OnVideo(const MotionSettings& settings, std::size_t index, ViewSize video) {
    return MotionToVideo(settings, settings.windows[index], static_cast<std::int32_t>(video.width),
                         static_cast<std::int32_t>(video.height));
}

}  // namespace

void MotionEditor::Open(bool anew) {
    if (!IsUsable(m_commands.VideoSize())) return;
    const bool known = IsKnown(m_host.CameraMotion(false));
    MotionSettings settings = m_host.CameraMotion(anew || !known);
    const ViewSize video = m_commands.VideoSize();
    if (!m_host.WantsMotionEditor() || m_view.Window() == nullptr || !IsUsable(video) ||
        !m_panel.Show(m_view.Window()))
        return;
    m_settings = std::move(settings);
    m_source = m_host.MotionSource();
    m_video = video;
    ShowAll();
}

void MotionEditor::ShowAll() {
    m_panel.SetSensitivity(m_settings.sensitivity);
    for (std::size_t i = 0; i < m_settings.windows.size(); ++i)
        ShowWindow(i);
    PlacePanel();  // above the windows
}

void MotionEditor::OnCameraTold() {
    if (IsOpen() && !IsKnown(m_settings)) Refresh(0);
}

void MotionEditor::Refresh(std::size_t index) {
    if (!IsOpen()) return Open(false);
    MotionSettings settings = m_host.CameraMotion(false);
    // A connection that has not come to ask for them knows nothing better than what is shown.
    if (!IsKnown(settings) || index >= settings.windows.size()) return;
    const bool others = settings.referenceWidth == m_settings.referenceWidth &&
                        settings.referenceHeight == m_settings.referenceHeight;
    // Of the other windows the user sees, and perhaps has changed, what the camera had before.
    for (std::size_t i = 0; others && i < settings.windows.size(); ++i)
        if (i != index) settings.windows[i] = m_settings.windows[i];
    m_settings = std::move(settings);
    m_source = m_host.MotionSource();
    if (!others) return ShowAll();
    m_panel.SetSensitivity(m_settings.sensitivity);
    ShowWindow(index);
    PlacePanel();
}

void MotionEditor::ShowWindow(std::size_t index) {
    const MotionWindow& window = m_settings.windows[index];
    const bool on = window.enable != 0;
    m_panel.SetWindow(static_cast<int>(index), on, m_host.MotionName(window.name));
    if (on) {
        PlaceWindow(index);
    } else {
        m_windows.Delete(static_cast<long>(index));
    }
}

// Where the camera has it, under the name that the panel shows.
void MotionEditor::PlaceWindow(std::size_t index) {
    const VideoBox box = OnVideo(m_settings, index, m_video);
    m_windows.Create(static_cast<long>(index), {{box.left, box.top}, {box.width, box.height}}, true, true,
                     m_panel.Name(static_cast<int>(index)));
}

void MotionEditor::Close() {
    m_panel.Hide();
    m_windows.Clear();
}

void MotionEditor::Follow() {
    if (IsOpen()) FollowVideoSize();
    m_windows.Follow();
    // While the window had no size, or the video, none could be placed.
    for (std::size_t i = 0; IsOpen() && i < m_settings.windows.size(); ++i) {
        if (m_settings.windows[i].enable != 0 && m_panel.IsOn(static_cast<int>(i)) &&
            !m_windows.Get(static_cast<long>(i)))
            PlaceWindow(i);
    }
    PlacePanel();
}

// What the user has not touched lies where the camera has it, to the pixel, on a video of another size as
// well.
void MotionEditor::FollowVideoSize() {
    const ViewSize video = m_commands.VideoSize();
    // In a window of no size nothing can be placed: then it is done when there is one.
    if (!m_commands.ToWindow(ViewPoint{})) return;
    if (!IsUsable(video) || (video.width == m_video.width && video.height == m_video.height)) return;
    for (std::size_t i = 0; i < m_settings.windows.size(); ++i) {
        const auto index = static_cast<long>(i);
        const auto window = m_windows.Get(index);
        if (!window) continue;
        ViewBox place = window->place;
        if (ToVideoBox(place) == OnVideo(m_settings, i, m_video)) {
            const VideoBox box = OnVideo(m_settings, i, video);
            place = {{box.left, box.top}, {box.width, box.height}};
        } else {
            const auto across = [&](long x) { return MulDiv(x, video.width, m_video.width); };
            const auto down = [&](long y) { return MulDiv(y, video.height, m_video.height); };
            place = {{across(place.corner.x), down(place.corner.y)},
                     {across(place.size.width), down(place.size.height)}};
        }
        if (m_windows.Create(index, place, true, true, window->caption) != S_OK) m_windows.Delete(index);
    }
    m_video = video;
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
    PlacePanel();
}

// A window that is switched on but can't be shown stays where the camera has it.
MotionAreas MotionEditor::Areas() const {
    MotionAreas areas;
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const int index = static_cast<int>(i);
        if (!m_panel.IsOn(index)) continue;
        const auto window = m_windows.Get(index);
        // A name that was not changed goes back as it came, with the blanks around it.
        const std::wstring name = m_panel.Name(index);
        std::string_view known = m_settings.windows[i].name;
        if (known.ends_with('\r')) known.remove_suffix(1);
        const bool same = name == m_host.MotionName(std::string(known));
        areas[i] = {same ? std::string(known) : util::WideToUtf8(name),
                    window ? ToVideoBox(window->place) : OnVideo(m_settings, i, m_video)};
    }
    return areas;
}

MotionSaving MotionEditor::Save() {
    if (!IsOpen()) return MotionSaving::Failed;
    if (!IsKnown(m_settings) || m_host.MotionSource() != m_source) {
        Close();
        Open(true);
        return MotionSaving::Failed;
    }
    MotionSettings settings = m_settings;
    const MotionSaving result = TakeMotionAreas(settings, Areas(), static_cast<std::int32_t>(m_video.width),
                                                static_cast<std::int32_t>(m_video.height));
    if (result != MotionSaving::Saved) return result;
    if (!m_host.SaveCameraMotion(settings)) return MotionSaving::Failed;
    m_settings = std::move(settings);
    return result;
}

}  // namespace norix
