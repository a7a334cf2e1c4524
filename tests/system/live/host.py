"""NorixHost.exe with the registered control: started on a place of its own on the screen, looked at and listened to."""

import array
import math
import os
import queue
import re
import signal
import subprocess
import threading
import time
from typing import Callable, Iterable

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
WINE_RUN = os.path.join(ROOT, "scripts", "wine-run")

SIZE = (400, 225)  # of the video area
_VIDEO_AT = (4, 132)  # the video area's place in the host's window
_WINDOW = (408, 537)
_SCREEN = (1280, 1024)
COMPARED = (100, 56)  # pictures are compared at this size: differently smoothed, they are the same then
_CAPTION = 5  # rows at the top of these that the caption covers
_RATE = 8000  # of what is listened to, per second
TONE = 440
PATIENCE = 90  # seconds for anything that has to happen; a busy machine is slow


def windows_path(path: str) -> str:
    return "Z:" + os.path.realpath(path).replace("/", "\\")


def wine(*command: str) -> None:
    subprocess.run([WINE_RUN, *command], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)


def until(condition: Callable[[], object], what: str, seconds: float = PATIENCE) -> object:
    """Waits for the condition to be true, and returns its value."""
    end = time.monotonic() + seconds
    while not (value := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"no {what} within {seconds:g} s")
        time.sleep(0.05)
    return value


class Place:
    """Room for one host on the screen, and a sink for what it plays."""

    def __init__(self, number: int) -> None:
        columns = _SCREEN[0] // _WINDOW[0]
        self.x, self.y = number % columns * _WINDOW[0], number // columns * _WINDOW[1]
        self.sink = f"place{number}"
        subprocess.run(["pactl", "load-module", "module-null-sink", f"sink_name={self.sink}"], check=True,
                       stdout=subprocess.DEVNULL)


class Desk:
    """Where the hosts are shown, as many at a time as there is room for."""

    PLACES = (_SCREEN[0] // _WINDOW[0]) * (_SCREEN[1] // _WINDOW[1])

    def __init__(self, folder: str, program: str) -> None:
        self.folder = folder
        self.program = program
        self.places: "queue.Queue[Place]" = queue.Queue()
        for number in range(self.PLACES):
            self.places.put(Place(number))
        self.mouse = threading.Lock()


class Host:
    """One run of the host program; `log` has a line for everything that happened."""

    def __init__(self, desk: Desk, name: str, steps: Iterable[str], program: str = "") -> None:
        self._desk = desk
        self._program = program or desk.program
        self._steps = list(steps)
        self._name = name
        self._log = self._file("log")

    def __enter__(self) -> "Host":
        self.place = self._desk.places.get()
        if os.path.exists(self._log):
            os.remove(self._log)
        environment = os.environ | {"PULSE_SINK": self.place.sink, "NORIX_WINE_TIMEOUT": "240"}
        self._process = subprocess.Popen(
            [WINE_RUN, self._program, "--log", windows_path(self._log), "--size", f"{SIZE[0]}x{SIZE[1]}",
             "--at", f"{self.place.x},{self.place.y}", *self._steps], env=environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        return self

    def __exit__(self, *_unused: object) -> None:
        if self._process.poll() is None:
            os.killpg(self._process.pid, signal.SIGTERM)
            self._process.wait()
        self._desk.places.put(self.place)

    def log(self) -> str:
        try:
            with open(self._log, encoding="utf-8", errors="replace") as file:
                return "".join(line[13:] for line in file)  # without the time
        except FileNotFoundError:
            return ""

    def wait(self, text: str, count: int = 1) -> None:
        """Waits until this has come so many times; ends at once when the host has ended without it."""
        def come() -> bool:
            over = self._process.poll() is not None
            if self.log().count(text) >= count:
                return True
            if over:
                raise AssertionError(f"the host ended without {text}")
            return False
        until(come, f"{count}. {text}")

    def finish(self) -> int:
        """The exit code."""
        return self._process.wait(PATIENCE)

    def events(self, name: str) -> list[str]:
        """The numbers in the arguments of all events of this name."""
        return [",".join(re.findall(r"=(-?\d+)", arguments))
                for arguments in re.findall(rf"^event {name}\((.*)\)$", self.log(), re.MULTILINE)]

    def picture(self, keep: str = "") -> bytes:
        """The video area as it is on the screen: RGB, in the size of comparison. `keep` names a file for it."""
        x, y = self.place.x + _VIDEO_AT[0], self.place.y + _VIDEO_AT[1]
        area = f"{SIZE[0]}x{SIZE[1]}+{x}+{y}"
        screen = subprocess.run(["import", "-window", "root", "-crop", area, "+repage", "miff:-"], check=True,
                                capture_output=True).stdout
        kept = ["-write", self._file(keep + ".png")] if keep else []
        return subprocess.run(["convert", "miff:-", *kept, "-scale", f"{COMPARED[0]}x{COMPARED[1]}!", "-depth", "8",
                               "rgb:-"], input=screen, check=True, capture_output=True).stdout

    def save(self, kind: str, pixels: bytes) -> None:
        subprocess.run(["convert", "-size", f"{COMPARED[0]}x{COMPARED[1]}", "-depth", "8", "rgb:-",
                        self._file(kind + ".png")], input=pixels)

    def click(self) -> None:
        """Presses the left button in the middle of the video area, and lets it go."""
        x, y = self.place.x + _VIDEO_AT[0] + SIZE[0] // 2, self.place.y + _VIDEO_AT[1] + SIZE[1] // 2
        with self._desk.mouse:
            subprocess.run(["xdotool", "mousemove", str(x), str(y), "click", "1"], check=True)

    def _file(self, ending: str) -> str:
        return os.path.join(self._desk.folder, f"{re.sub(r'[^A-Za-z0-9]+', '-', self._name)}.{ending}")

    def listen(self, seconds: float = 1.5) -> str:
        """What the host plays now: a letter for every 25 ms, "t" for the tone, "-" for silence, "?" for
        anything else."""
        recorder = subprocess.Popen(["parec", "-d", f"{self.place.sink}.monitor", f"--rate={_RATE}", "--channels=1",
                                     "--format=s16le", "--latency-msec=50"], stdout=subprocess.PIPE)
        try:
            sound = recorder.stdout.read(int(_RATE * seconds) * 2)
        finally:
            recorder.kill()
            recorder.wait()
            recorder.stdout.close()
        return heard(sound)


def heard(samples: bytes) -> str:
    """The letters of `Host.listen` for 16-bit samples, 8000 a second."""
    sound = array.array("h", samples)
    length = _RATE // 40
    parts = [sound[at:at + length] for at in range(0, len(sound) - length + 1, length)]
    return "".join(map(_heard, parts))


def _heard(samples: "array.array[int]") -> str:
    """The tone is what has nearly all of its power at the tone's frequency."""
    power = sum(sample * sample for sample in samples)
    turn = 2 * math.pi * TONE / _RATE
    real = sum(sample * math.cos(turn * i) for i, sample in enumerate(samples))
    imaginary = sum(sample * math.sin(turn * i) for i, sample in enumerate(samples))
    if power < len(samples) * 500**2:
        return "-"
    return "t" if (real**2 + imaginary**2) * 2 / len(samples) > 0.8 * power else "?"


def difference(one: bytes, other: bytes) -> float:
    """The mean difference of two pictures, below the caption."""
    skipped = COMPARED[0] * 3 * _CAPTION
    assert len(one) == len(other) == COMPARED[0] * COMPARED[1] * 3, "not a picture of the right size"
    return sum(abs(a - b) for a, b in zip(one[skipped:], other[skipped:])) / (len(one) - skipped)


def moved(one: bytes, other: bytes) -> bool:
    """Whether there is something that has moved in the picture."""
    return sum(abs(a - b) > 40 for a, b in zip(one, other)) > 20
