#pragma once

#include <memory>
#include <mutex>

#include "media/MediaPlayers.h"

namespace norix {

class CAudioControl;
class CCtrlParam;
class CDecoder;
class PictureView;
class Presenter;

/// Gives the decoder a presenter by GDI or DirectDraw, as the parameter block says now, unless the one that
/// it has was made for the same. A view that is turned has GDI in any case: DirectDraw doesn't turn. Window
/// thread.
void RenewPresenter(CDecoder& decoder, CCtrlParam& param);

/// The decoder and the audio player of one connection. Made by the window thread when it connects; the
/// receiving threads start the players once they know the codecs; the window thread commands them and closes
/// them for good.
///
/// Receiving threads share it with the control, so that one that had to be abandoned finds it when it comes
/// to itself: it can start nothing any more then.
class Playback final : public MediaPlayers {
  public:
    /// The window that the parameter block names gets the pictures, in this view.
    Playback(std::shared_ptr<CCtrlParam> param, std::shared_ptr<PictureView> view)
        : m_param(std::move(param)), m_view(std::move(view)) {}
    ~Playback() override;
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    // ---- Receiving threads
    void Start() override;

    // ---- Window thread
    /// Ends showing pictures without waiting for any thread.
    void StopOutput();
    /// Stops and deletes the players; whatever is started afterwards is dropped. False when a thread of
    /// theirs had to be abandoned, also when called again.
    bool Close();
    /// Null while there is none.
    std::shared_ptr<CDecoder> Decoder() const;

  private:
    bool IsEnding() const;  // with m_lock held
    void StartDecoder();
    void StartAudio();

    const std::shared_ptr<CCtrlParam> m_param;
    const std::shared_ptr<PictureView> m_view;

    std::mutex m_starting;  // receiving threads only: one of them at a time makes players

    mutable std::mutex m_lock;  // held only while the fields below are copied
    bool m_closed = false;
    bool m_ended = true;        // the players' threads, when they were stopped
    bool m_audioTried = false;  // a device that could not be opened is not asked for again
    std::shared_ptr<CDecoder> m_decoder;
    std::shared_ptr<CAudioControl> m_audio;
};

}  // namespace norix
