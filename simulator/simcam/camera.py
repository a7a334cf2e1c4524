"""The camera itself: what all its servers share."""

import threading
import time

from simcam.clips import ClipStore, Frame
from simcam.live import LiveView
from simcam.options import Options
from simcam.parameters import Parameters
from simcam.ptz import HOME, PtzHead


class Camera:
    """Made once at the start. Its parts may be used by any thread."""

    def __init__(self, options: Options) -> None:
        self.options = options
        self.clips = ClipStore(options.cache, options.fps, options.tone)
        self.heads = {channel: PtzHead() for channel in range(1, options.channels + 1)}
        self.parameters = Parameters(options)
        self._lock = threading.Lock()
        self._key_requests: dict[tuple[int, int], int] = {}
        self._live_views: dict[tuple[int, int, str], LiveView] = {}

    def prepare(self) -> None:
        self.clips.prepare(self.options)

    def request_key_frame(self, channel: int, stream: int) -> None:
        with self._lock:
            self._key_requests[channel, stream] = self._key_requests.get((channel, stream), 0) + 1

    def key_requests(self, channel: int, stream: int) -> int:
        return self._key_requests.get((channel, stream), 0)

    def live_view(self, channel: int, stream: int, codec: str) -> LiveView:
        with self._lock:
            which = channel, stream, codec
            if which not in self._live_views:
                self._live_views[which] = LiveView(self.clips.scene(), self.heads[channel], *which, self.options.fps)
            return self._live_views[which]

    def now(self) -> float:
        """The time of day as the camera has it."""
        return time.time() + self.options.clock_offset


class VideoCursor:
    """One viewer's way through the pictures of a stream: the clip's, or a live view's while the head isn't at home."""

    def __init__(self, camera: Camera, channel: int, stream: int, codec: str) -> None:
        self._camera = camera
        self._head = camera.heads[channel]
        self._which = channel, stream, codec
        self._clip = camera.clips.video(channel, stream, codec)
        self._fps = camera.options.fps
        self._seen_requests = -1
        self._position = 0
        self._live: LiveView | None = None
        self._live_number = 0
        self._on_live = False

    def next(self) -> Frame | None:
        """The next picture, if there is one. The first one, and the first after a request, is a key frame."""
        requests = self._camera.key_requests(*self._which[:2])
        requested, self._seen_requests = requests != self._seen_requests, requests
        if self._head.position() == HOME:
            requested = requested or self._live is not None
            self._live, self._on_live = None, False
        else:
            if self._live is None or requested:
                self._live = self._live or self._camera.live_view(*self._which)
                first = self._live.watch()
                if not self._on_live:
                    self._live_number = first
            if (frame := self._next_live(self._live)) or self._on_live:
                return frame
        return self._next_of_clip(requested)

    def _next_live(self, view: LiveView) -> Frame | None:
        if not self._on_live:
            # Until the key frame is there, the clip goes on.
            key = view.key_from(self._live_number)
            if key is None:
                return None
            self._on_live, self._live_number = True, key
        frame = view.frame(self._live_number)
        if frame:
            self._live_number += 1
        return frame

    def _next_of_clip(self, seek: bool) -> Frame:
        if seek:
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
