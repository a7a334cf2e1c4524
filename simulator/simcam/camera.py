"""The camera itself: what all its servers share."""

import threading
import time

from simcam.clips import ClipStore, Frame
from simcam.options import Options
from simcam.parameters import Parameters
from simcam.ptz import PtzHead


class Camera:
    """Made once at the start. Its parts may be used by any thread."""

    def __init__(self, options: Options) -> None:
        self.options = options
        self.clips = ClipStore(options.cache, options.fps, options.tone)
        self.heads = {channel: PtzHead() for channel in range(1, options.channels + 1)}
        self.parameters = Parameters(options)
        self._lock = threading.Lock()
        self._key_requests: dict[tuple[int, int], int] = {}

    def prepare(self) -> None:
        self.clips.prepare(self.options.channels, self.options.codecs, self.options.audio)

    def request_key_frame(self, channel: int, stream: int) -> None:
        with self._lock:
            self._key_requests[channel, stream] = self._key_requests.get((channel, stream), 0) + 1

    def key_requests(self, channel: int, stream: int) -> int:
        return self._key_requests.get((channel, stream), 0)

    def now(self) -> float:
        """The time of day as the camera has it."""
        return time.time() + self.options.clock_offset


class VideoCursor:
    """One viewer's way through the pictures of a stream."""

    def __init__(self, camera: Camera, channel: int, stream: int, codec: str) -> None:
        self._camera = camera
        self._which = channel, stream
        self._clip = camera.clips.video(channel, stream, codec)
        self._fps = camera.options.fps
        self._seen_requests = -1
        self._position = 0

    def next(self) -> Frame:
        """The next picture. The first one, and the first after a request, is a key frame."""
        requests = self._camera.key_requests(*self._which)
        if requests != self._seen_requests:
            self._seen_requests = requests
            # The second nearest to what the clock on the wall says; each second begins with a key frame.
            self._position = round(self._camera.now()) * self._fps % len(self._clip)
        frame = self._clip.frame(self._position)
        self._position += 1
        return frame


class AudioCursor:
    """One listener's way through the sound."""

    def __init__(self, camera: Camera, kind: str) -> None:
        self._clip = camera.clips.audio(kind)
        self._position = 0

    def next(self) -> Frame:
        frame = self._clip.frame(self._position)
        self._position += 1
        return frame
