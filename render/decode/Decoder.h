#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>

#include "media/CtrlParam.h"
#include "render/decode/DecoderSettings.h"
#include "render/present/PictureView.h"
#include "render/present/Presenter.h"
#include "util/GenericThread.h"

namespace norix {

class GraphicObjects;
class SnapshotThread;
struct Pipeline;

/// Turns a connection's compressed video into pictures on the screen: owns the decode thread, which takes
/// frames from the parameter block, and the display thread, which shows the pictures when they are due.
///
/// One per connection. Belongs to one thread at a time: whoever made it may hand it to another. In this
/// order: construct, AttachWindow, SetPresenter, CreateDisplayThread, StartDecThread. Its
/// threads share what they use, so that one that had to be abandoned harms nobody.
class CDecoder {
  public:
    /// `kind`: 1 MPEG-4, 2 MJPEG, 4 H.264; of anything else nothing is decoded. The first form reads the
    /// machine-wide settings.
    explicit CDecoder(std::uint32_t kind);
    CDecoder(std::uint32_t kind, const DecoderSettings& settings);

    /// Stops and releases everything.
    ~CDecoder();
    CDecoder(const CDecoder&) = delete;
    CDecoder& operator=(const CDecoder&) = delete;

    /// The control's video window; not owned.
    void AttachWindow(HWND window) { m_window = window; }
    HWND Window() const { return m_window; }

    /// Where pictures are shown; not null, and set before the threads start. May be called again while they
    /// run: the new presenter takes over with the next compressed frame, in the view that the old one had.
    /// `gdiForced`: what it was made for.
    void SetPresenter(std::shared_ptr<Presenter> presenter, bool gdiForced = false);
    bool IsGdiForced() const { return m_gdiForced; }

    /// Source rectangle, rotation, caption and border, for the host to set; goes into PresenterConfig.
    /// Another one than the decoder's own is attached before a presenter is made and the threads start.
    const std::shared_ptr<PictureView>& View() const;
    void AttachView(std::shared_ptr<PictureView> view);

    /// What the host draws over the pictures; goes into PresenterConfig.
    const std::shared_ptr<GraphicObjects>& Overlays() const { return m_overlays; }

    /// Draws the last picture into any device context, as the window shows it, whichever presenter showed it;
    /// false when there is none.
    bool DrawLast(HDC dc, const RECT& target);

    /// Each starts its thread unless it runs already; 0 on success.
    Result CreateDisplayThread();
    Result StartDecThread(std::shared_ptr<CCtrlParam> param);

    /// No picture has come for a while: whatever changes over the last one is seen with a repaint only.
    bool IsStill() const;

    /// Ends decoding and showing without waiting for the threads: no picture is begun any more.
    void StopOutput();

    /// Stops both threads for good, by the one stop rule; false when one had to be abandoned, also when
    /// called again. Snapshots that were taken are saved first, if that can be done in the same time.
    bool Stop();

    std::uint32_t Kind() const { return m_kind; }
    const DecoderSettings& Settings() const { return m_settings; }

  private:
    const std::uint32_t m_kind;
    const DecoderSettings m_settings;
    HWND m_window = nullptr;
    std::shared_ptr<Pipeline> m_pipeline;  // shared with both threads
    const std::shared_ptr<GraphicObjects> m_overlays;
    const std::shared_ptr<SnapshotThread> m_snapshots;
    util::GenericThread m_decodeThread{"Decode"};
    util::GenericThread m_displayThread{"Display"};
    bool m_hasPresenter = false;
    bool m_gdiForced = false;
    bool m_stopped = false;
    bool m_ended = true;  // both threads, when they were stopped
};

}  // namespace norix
