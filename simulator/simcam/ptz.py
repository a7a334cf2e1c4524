"""Pan, tilt and zoom: a head that keeps moving until it is told to stop."""

import threading
import time
from typing import NamedTuple

PAN_LIMIT, TILT_LIMIT, ZOOM_LIMIT = 45.0, 25.0, 4.0
_DIRECTIONS = {"up": (0, 1), "down": (0, -1), "left": (-1, 0), "right": (1, 0), "upleft": (-1, 1),
               "upright": (1, 1), "downleft": (-1, -1), "downright": (1, -1)}
_STOPS = {"stop": (0, 1, 2), "pstop": (0,), "tstop": (1,), "zstop": (2,)}


class Position(NamedTuple):
    """Degrees to the right, degrees upwards, magnification."""

    pan: float = 0.0
    tilt: float = 0.0
    zoom: float = 1.0


HOME = Position()


def _limited(value: float, low: float, high: float) -> float:
    return min(max(value, low), high)


class PtzHead:
    """The head of one channel, with its presets."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._position = HOME
        self._speeds = [0.0, 0.0, 0.0]
        self._since = time.monotonic()
        self._presets: dict[int, Position] = {}
        self.move = "stop"  # what it was told last

    def position(self) -> Position:
        with self._lock:
            now = time.monotonic()
            passed, self._since = now - self._since, now
            pan, tilt, zoom = (value + speed * passed for value, speed in zip(self._position, self._speeds))
            self._position = Position(_limited(pan, -PAN_LIMIT, PAN_LIMIT), _limited(tilt, -TILT_LIMIT, TILT_LIMIT),
                                      _limited(zoom, 1.0, ZOOM_LIMIT))
            return self._position

    def presets(self) -> list[int]:
        """The numbers of those that were set."""
        with self._lock:
            return sorted(self._presets)

    def go(self, pan: float | None, tilt: float | None, zoom: float | None) -> None:
        """Moves on as fast as is said, -1 to 1 of all that it can; None: as before."""
        self.position()
        with self._lock:
            for axis, (speed, most) in enumerate(((pan, 60.0), (tilt, 60.0), (zoom, 3.0))):
                if speed is not None:
                    self._speeds[axis] = speed * most
            self.move = "go" if any(self._speeds) else "stop"

    def command(self, move: str, speed_pan: int, speed_tilt: int, speed_zoom: int, preset: int) -> bool:
        """Speeds are those of the command, 1 to 100. Returns whether the command is known."""
        here = self.position()
        with self._lock:
            if move in _DIRECTIONS:
                pan, tilt = _DIRECTIONS[move]
                self._speeds[0:2] = [pan * _limited(speed_pan, 1, 100) * 0.6, tilt * _limited(speed_tilt, 1, 100) * 0.6]
            elif move in ("zin", "zout"):
                self._speeds[2] = _limited(speed_zoom, 1, 100) * (0.03 if move == "zin" else -0.03)
            elif move in _STOPS:
                for axis in _STOPS[move]:
                    self._speeds[axis] = 0.0
            elif move == "gopreset":
                self._speeds = [0.0, 0.0, 0.0]
                self._position = self._presets.get(preset, HOME)
            elif move == "addpreset":
                self._presets[preset] = here
            else:
                return False
            self.move = move
        return True
