#pragma once

#include <string>

#include "camera/motion/MotionRules.h"
#include "control/view/OverlappedWindows.h"
#include "ui/MotionPanel.h"

namespace norix {

/// What the editor needs of the control. Window thread.
class MotionEditHost {
  public:
    /// The camera's motion windows; `anew`: as it says now, if it answers.
    virtual MotionSettings CameraMotion(bool anew) = 0;
    /// False when the camera does not take them; then it has those of before.
    virtual bool SaveCameraMotion(const MotionSettings& settings) = 0;
    /// Whose they are: changes with the camera and the channel that they are read from and saved to.
    virtual std::string MotionSource() = 0;
    /// A window's name as people read it.
    virtual std::wstring MotionName(const std::string& name) = 0;
    /// How much of the lower left corner somebody else has, in pixels of height.
    virtual int CornerHeight() = 0;
    /// False once the mode is left or the connection is over. Reading and saving may ask the user, who, or
    /// whose host, may do that meanwhile.
    virtual bool WantsMotionEditor() = 0;
    /// Has Save called later, from the window's queue.
    virtual void SaveMotionLater() = 0;

  protected:
    ~MotionEditHost() = default;
};

/// Lets the user edit the camera's motion windows: each is an overlapped window over the video, with a panel
/// to switch them on, name and save them. Window thread.
class MotionEditor final : private MotionPanelSink {
  public:
    MotionEditor(ViewHost& view, const ViewCommands& commands, MotionEditHost& host)
        : m_view(view),
          m_commands(commands),
          m_host(host),
          m_windows(view, commands, [this] { PlacePanel(); }) {}

    /// Shows the camera's windows as they are, with the panel. Nothing happens while the size of the video is
    /// not known. What the camera has not told can be looked at, but not saved.
    void Open(bool anew);
    /// The camera reports this window, from 0 on: it is shown as the camera has it. Opens the editor first.
    void Refresh(std::size_t index);
    /// The camera has told of itself: shows its windows where it had not told them before.
    void OnCameraTold();
    /// Removes everything; what was not saved is lost.
    void Close();
    bool IsOpen() const { return m_panel.IsShown(); }

    /// The window, or what it shows, has changed.
    void Follow();
    /// Above all else, and beside what else is in its corner.
    void PlacePanel() { m_panel.Place(m_host.CornerHeight()); }
    /// Sends what the user has made to the camera. Fails, and shows the present ones, when another camera or
    /// channel is set now than they were read from, or they were not read.
    MotionSaving Save();

    OverlappedWindows& Windows() { return m_windows; }
    MotionPanel& Panel() { return m_panel; }

  private:
    void OnMotionWindow(int index, bool on) override;
    void OnMotionName(int index, const std::wstring& name) override { m_windows.SetCaption(index, name); }
    void OnSaveMotion() override { m_host.SaveMotionLater(); }
    void ShowWindow(std::size_t index);
    void ShowAll();
    void PlaceWindow(std::size_t index);
    void FollowVideoSize();
    MotionAreas Areas() const;

    ViewHost& m_view;
    const ViewCommands& m_commands;
    MotionEditHost& m_host;
    OverlappedWindows m_windows;  // numbered from 0; one that is not there is switched off
    MotionPanel m_panel{*this};
    // While it is open: the camera's settings that are shown, where they came from, and on what video.
    MotionSettings m_settings;
    std::string m_source;
    ViewSize m_video;
};

}  // namespace norix
