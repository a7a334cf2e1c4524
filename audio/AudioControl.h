#pragma once

#include <windows.h>

#include <memory>

#include "media/CtrlParam.h"
#include "util/GenericThread.h"

namespace norix {

struct AudioPlayback;

/// Plays a connection's sound: owns the audio thread, which takes audio frames from the parameter block when
/// they are due, decodes them (G.711 mu-law, AAC-LC) and writes them to the default sound device.
///
/// One per connection, owned by whoever receives. Belongs to the thread that created it; may be handed to
/// another one. In this order: construct, OpenDevice (delete the player when that fails: the connection goes
/// on without sound), StartAudioThread. The codecs, the AAC configuration and the sample rate are read from
/// the parameter block; mute, volume and DecodeAV take effect with the next buffer.
///
/// The thread shares the parameter block: one that is stuck in a sound driver is abandoned and finds it when
/// it comes back.
class CAudioControl {
  public:
    /// Reads the machine-wide settings. Throws std::bad_alloc only.
    explicit CAudioControl(std::shared_ptr<CCtrlParam> param);

    /// Stops, then closes the device.
    ~CAudioControl();
    CAudioControl(const CAudioControl&) = delete;
    CAudioControl& operator=(const CAudioControl&) = delete;

    /// Opens the default device at the stream's rate (8000 Hz where none is known, which is then written into
    /// the parameter block); one that is open is closed first. False without a device, and once the thread
    /// runs.
    bool OpenDevice();

    /// Starts the thread unless it runs already; 0 on success.
    Result StartAudioThread();

    /// Stops the thread for good, by the one stop rule; false when it had to be abandoned, now or in an
    /// earlier call.
    bool Stop();

  private:
    const std::shared_ptr<AudioPlayback> m_playback;  // shared with the thread
    util::GenericThread m_thread{"Audio"};
    bool m_ended = true;
};

}  // namespace norix
