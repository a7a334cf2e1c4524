#pragma once

namespace norix {

/// What plays the frames that receivers put into the parameter block: the decoder and the audio player of a
/// connection. Receivers know them by this alone.
class MediaPlayers {
  public:
    virtual ~MediaPlayers() = default;

    /// Makes and starts what the codecs in the parameter block ask for and isn't there yet: a decoder for the
    /// video codec, an audio player for the audio codec (none when its device can't be opened). Called by a
    /// receiving thread once its streams are set up and before frames are inserted; several threads may call
    /// it.
    virtual void Start() = 0;
};

}  // namespace norix
