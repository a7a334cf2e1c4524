"""Brings frames into GStreamer at the right times."""

import threading
import time
from typing import Callable

from gi.repository import Gst

from simcam.clips import Frame

_LONGEST_NAP = 0.02
_TOO_LATE = 1.0  # seconds behind, after which it goes on from now


class Feeder:
    """Pushes the frames of one stream of one session into its appsrc.

    The first frames go in at once: without them there would be nothing to describe. The others follow in PLAY."""

    def __init__(self, source: Gst.Element, caps: str, interval: float, take: Callable[[], Frame | None], first: int,
                 stall_after: float | None) -> None:
        self._source = source
        self._interval = interval
        self._take = take
        self._stall_after = stall_after
        self._first = first
        self._first_left = first
        self._started = self.due = 0.0
        self._base = 0
        self._count = 0
        source.set_property("caps", Gst.Caps.from_string(caps))
        source.set_property("format", Gst.Format.TIME)
        source.set_property("is-live", True)
        self._handler = source.connect("need-data", self._send_first)

    def close(self) -> None:
        """When the stream is over: this and its appsrc keep each other alive until then."""
        self._source.disconnect(self._handler)

    def start(self) -> None:
        self._started = self.due = time.monotonic()
        self._base = max(self._source.get_current_running_time(), int(self._first * self._interval * Gst.SECOND))
        self._count = 0

    def feed(self, now: float) -> None:
        """Pushes what is due."""
        if self._stall_after is not None and now - self._started >= self._stall_after:
            self.due = now + 3600
            return
        if now - self.due > _TOO_LATE:
            self.start()
        while self.due <= now:
            self._push(self._base + int(self._count * self._interval * Gst.SECOND))
            self._count += 1
            self.due = self._started + self._count * self._interval

    def _send_first(self, _source: Gst.Element, _size: int) -> None:
        while self._first_left:
            self._push(int((self._first - self._first_left) * self._interval * Gst.SECOND))
            self._first_left -= 1

    def _push(self, pts: int) -> None:
        frame = self._take()
        if frame is None:
            return
        buffer = Gst.Buffer.new_wrapped(frame.data)
        buffer.pts = buffer.dts = pts
        buffer.duration = int(self._interval * Gst.SECOND)
        if not frame.key:
            buffer.set_flags(Gst.BufferFlags.DELTA_UNIT)
        self._source.emit("push-buffer", buffer)


class Pacer:
    """One thread that keeps all feeders going."""

    def __init__(self) -> None:
        self._changed = threading.Condition()
        self._feeders: set[Feeder] = set()
        threading.Thread(target=self._run, name="pacer", daemon=True).start()

    def add(self, feeders: list[Feeder]) -> None:
        with self._changed:
            for feeder in set(feeders) - self._feeders:
                feeder.start()
                self._feeders.add(feeder)
            self._changed.notify()

    def remove(self, feeders: list[Feeder]) -> None:
        with self._changed:
            self._feeders.difference_update(feeders)

    def _run(self) -> None:
        while True:
            with self._changed:
                while not self._feeders:
                    self._changed.wait()
                feeders = list(self._feeders)
            now = time.monotonic()
            for feeder in feeders:
                feeder.feed(now)
            earliest = min(feeder.due for feeder in feeders)
            time.sleep(min(max(earliest - time.monotonic(), 0.001), _LONGEST_NAP))
