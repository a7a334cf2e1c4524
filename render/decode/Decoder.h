#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>

#include "media/CtrlParam.h"
#include "render/decode/DecoderSettings.h"
#include "render/present/PictureView.h"
#include "render/present/Presenter.h"
#include "render/snapshot/SnapshotTaker.h"
#include "util/GenericThread.h"

namespace norix {

struct Pipeline;

/// Turns a connection's compressed video into pictures on the screen: owns the decode thread, which takes
/// frames from the parameter block, and the display thread, which shows the pictures when they are due.
///
/// One per connection. Belongs to one thread at a time: whoever made it may hand it to another. In this
/// order: construct, AttachWindow, SetPresenter, CreateDisplayThread, StartDecThread; the parameter block
/// outlives it.
class CDecoder {
  public:
    /// `kind`: 1 MPEG-4, 2 MJPEG, 4 H.264; of anything else nothing is decoded. The first form reads the
    /// machine-wide settings.
    explicit CDecoder(std::uint32_t kind);
    CDecoder(std::uint32_t kind, const DecoderSettings& settings);

    /// Stops both threads, by the one stop rule, and releases everything.
    ~CDecoder();
    CDecoder(const CDecoder&) = delete;
    CDecoder& operator=(const CDecoder&) = delete;

    /// The control's video window; not owned.
    void AttachWindow(HWND window) { m_window = window; }
    HWND Window() const { return m_window; }

    /// Where pictures are shown. May be called again while the threads run: the new presenter takes over with
    /// the next compressed frame, in the view that the old one had.
    void SetPresenter(std::shared_ptr<Presenter> presenter);

    /// Source rectangle, rotation, caption and border, for the host to set; goes into PresenterConfig.
    PictureView& View();

    /// Draws the last picture into any device context; false when there is none.
    bool DrawLast(HDC dc, const RECT& target);

    /// Who serves snapshot requests; outlives the decoder, null for nobody. Before the threads start.
    void SetSnapshotTaker(SnapshotTaker* taker);

    /// Each starts its thread unless it runs already; 0 on success.
    Result CreateDisplayThread();
    Result StartDecThread(CCtrlParam* param);

    /// Ends decoding and showing without waiting for the threads: no picture is begun any more.
    void StopOutput();

    std::uint32_t Kind() const { return m_kind; }
    const DecoderSettings& Settings() const { return m_settings; }

  private:
    void StopDecodeThread();
    void StopDisplayThread();

    const std::uint32_t m_kind;
    const DecoderSettings m_settings;
    HWND m_window = nullptr;
    std::shared_ptr<Presenter> m_presenter;  // the latest one
    std::shared_ptr<Pipeline> m_pipeline;    // shared with both threads
    util::GenericThread m_decodeThread{"Decode"};
    util::GenericThread m_displayThread{"Display"};
};

}  // namespace norix
