#!/usr/bin/python3
"""The camera in hand: the host as its user has it, by mouse and keyboard, with the simulated camera.

usage: operation_test.py NORIXSDK.OCX NORIXHOST.EXE FOLDER [NAME]

What counts is what the camera says that it was asked. FOLDER keeps the host's log and pictures of the pad."""

import contextlib
import os
import re
import signal
import subprocess
import sys
from typing import Callable

SYSTEM = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path[:0] = [os.path.join(SYSTEM, "live"), SYSTEM]

from camera import Camera, PROGRAM  # noqa: E402
from host import WINE_RUN, until, wine, windows_path  # noqa: E402

SKIPPED = 77
# Middles of buttons, from the window's lower right corner.
LEFT, RIGHT, UP, ZOOM, SAVE, HOME, NAME = (-276, -124), (-208, -124), (-242, -154), (-266, -63), (-37, -98), (-95, -128), (-120, -98)
SAVE_MOTION, NAME_MOTION = (-642, -202), (-682, -278)


def input_of(*command: object) -> None:
    subprocess.run(["xdotool", *map(str, command)], check=True)


class Pad:
    """The host, connected to a camera."""

    def __init__(self, camera: Camera, name: str, program: str, folder: str, properties: dict[str, object],
                 steps: list[str]) -> None:
        self.camera = camera
        self._picture = os.path.join(folder, name + ".png")
        self._log = os.path.join(folder, name + ".log")
        with contextlib.suppress(FileNotFoundError):
            os.remove(self._log)
        properties = {"ServerIP": "127.0.0.1", "HttpPort": camera.http_port, "username": camera.user,
                      "password": camera.password, "VideoProtocol": 2, "StreamIndex": 2, **properties}
        steps = [word for name, value in properties.items() for word in ("--set", f"{name}={value}")] + [
            "--call", "Connect", "--wait", "OnVideoFrameRate", *steps]
        self._process = subprocess.Popen(
            [WINE_RUN, program, "--log", windows_path(self._log), "--size", "800x300", "--at", "0,0", *steps,
             "--wait", "OnConnStatus:2", "--exit"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True)

    def log(self) -> str:
        with contextlib.suppress(FileNotFoundError), open(self._log, encoding="utf-8", errors="replace") as file:
            return file.read()
        return ""

    def __enter__(self) -> "Pad":
        until(lambda: "result GetPresetName" in self.log() and "event OnVideoFrameRate" in self.log(), "picture")
        found = subprocess.run(["xdotool", "search", "--name", "^Norix Host$"], check=True, capture_output=True,
                               text=True).stdout.split()
        shell = subprocess.run(["xdotool", "getwindowgeometry", "--shell", found[-1]], check=True, capture_output=True,
                               text=True).stdout
        place = dict(line.split("=") for line in shell.split())
        self._corner = int(place["X"]) + int(place["WIDTH"]), int(place["Y"]) + int(place["HEIGHT"])
        self._window = found[-1]
        self.focus()
        return self

    def __exit__(self, *_unused: object) -> None:
        subprocess.run(["import", "-window", "root", "-crop", f"{self._corner[0]}x{self._corner[1]}+0+0", self._picture])
        if self._process.poll() is None:
            os.killpg(self._process.pid, signal.SIGTERM)  # the host as well as the script that runs it
            self._process.wait()

    def focus(self) -> None:
        """There is no window manager that would do it after a message box."""
        input_of("windowfocus", "--sync", self._window)

    def point(self, at: tuple[int, int]) -> None:
        input_of("mousemove", self._corner[0] + at[0], self._corner[1] + at[1])

    def asked(self) -> list[str]:
        """What the camera was asked about moving: "left 50", "stop"; presets as they were asked; of ONVIF the operation
        and its numbers, names and truths."""
        moves = []
        for line in self.camera.request("GET", "/simulator/asked", signed_in=False)[1].splitlines():
            if found := re.search(r"setPTZCtrl\.cgi\?channel=1&move=(\w+)\S*?=(\d+)&speedpan=(\d+)&speedzoom=(\d+)$", line):
                speed = max(map(int, found.groups()[1:]))
                moves.append(found[1] + (f" {speed}" if speed else ""))
            elif "setPreset" in line:
                moves.append(line.split("?")[1])
            elif found := re.search(r"<o:(ContinuousMove|Stop|GotoPreset|SetPreset) ", line):
                values = re.findall(r'(?: [xy]="|<o:(?:PanTilt|Zoom|PresetToken|PresetName)>)([^"<]*)', line)
                moves.append(" ".join([found[1], *values]))
        return moves

    def expect(self, *moves: str) -> None:
        """Waits until the last moves are these."""
        until(lambda: self.asked()[-len(moves):] == list(moves), f"{moves} after {self.asked()}", 30)


def by_keyboard(pad: Pad) -> None:
    """Turning to and fro while the camera thinks: it ends where the last key said, and then stops."""
    input_of("key", "F2")
    for key in ("Up", "Left", "Down", "Right") * 3:
        input_of("key", key)
    input_of("keydown", "Left")
    pad.expect("stop", "left 50")
    input_of("keyup", "Left")
    pad.expect("left 50", "stop")
    assert len(pad.asked()) < 24, f"the camera was told everything: {pad.asked()}"
    input_of("keydown", "Left")
    pad.expect("left 50")
    input_of("key", "F10")  # the menu: the key's end is never heard of
    pad.expect("left 50", "stop")
    input_of("keyup", "Left", "key", "Escape", "key", "Escape")
    input_of("keydown", "Up", "keydown", "Right")
    pad.expect("upright 50")
    input_of("keyup", "Up", "keyup", "Right")
    pad.expect("stop")


def by_mouse(pad: Pad) -> None:
    for button, move in ((LEFT, "left 50"), (UP, "up 50"), (ZOOM, "zin 50")):
        pad.point(button)
        input_of("mousedown", 1)
        pad.expect(move)
        input_of("mouseup", 1)
        pad.expect(move, "stop")
    pad.point(RIGHT)
    input_of("mousedown", 1)
    pad.expect("right 50")
    pad.point((-400, -300))  # away from the button, which is still down
    pad.expect("right 50", "stop")
    input_of("mouseup", 1)
    pad.point(NAME)
    input_of("click", 1, "type", "1 & #2%")
    pad.point(SAVE)
    input_of("click", 1)
    pad.expect("stop", "move=addpreset&name=1%20%26%202%25&PresetIndex=01&speedtilt=0&speedpan=0&speedzoom=0")


def without_pan(pad: Pad) -> None:
    """What the camera can't do can't be asked of it."""
    pad.point(LEFT)
    input_of("click", 1)
    pad.point(ZOOM)
    input_of("mousedown", 1)
    pad.expect("zin 50")
    assert pad.asked() == ["zin 50"], pad.asked()
    input_of("mouseup", 1)


def by_onvif(pad: Pad) -> None:
    """A camera of another maker, which has no commands and can't zoom."""
    pad.point(ZOOM)
    input_of("click", 1)
    pad.point(LEFT)
    input_of("mousedown", 1)
    pad.expect("ContinuousMove -0.50 0.00")
    input_of("mouseup", 1)
    pad.expect("ContinuousMove -0.50 0.00", "Stop true false")
    assert len(pad.asked()) == 2, pad.asked()
    pad.point(SAVE)
    input_of("click", 1)
    pad.point(HOME)
    input_of("click", 1)
    pad.expect("Stop true false", "SetPreset", "GotoPreset 1")


def events(pad: Pad) -> None:
    """What the camera reports in its stream, while it changes."""
    def tell(**values: object) -> None:
        pad.camera.request("POST", "/kest-cgi/setParam.cgi?", "&".join(f"{key}={value}" for key, value in values.items()))

    def come(event: str) -> None:
        until(lambda: f"event {event}\n" in pad.log(), event)

    come("OnDIOStatus(lDIStatus=0, lDOStatus=0)")
    tell(dio_inputs=2, dio_outputs=1, event_analytics="3,7", event_general="1000,2,1")
    come("OnDIOStatus(lDIStatus=2, lDOStatus=1)")
    come('OnIVAEvent(lIndex=3, lFunctionType=7, pbstrIVAStructInJSON="{ "index": 3, "function_type": 7 }")')
    come("OnGeneralEvent(lEventType=1000, lIndex=2, lStatus=1)")
    # The box crosses the whole of the picture, and with it this window.
    tell(motiondetect_winenable02=1, motiondetect_winenable01=0)
    until(lambda: re.search(r"event OnMDAlert\(iMotionID=2, iPersentage=\d+\)", pad.log()), "OnMDAlert")


def motion_windows(pad: Pad) -> None:
    """A motion window is dragged, sized and named; the camera gets what is seen, once it can be sent."""
    def values() -> list[str]:
        return [pad.camera.parameter(f"motiondetect_win{key}01") for key in ("name", "left", "top", "width", "height")]

    def drag(at: tuple[int, int], to: tuple[int, int]) -> None:
        pad.point(at)
        input_of("mousedown", 1)
        for step in range(1, 11):
            pad.point((at[0] + (to[0] - at[0]) * step // 10, at[1] + (to[1] - at[1]) * step // 10))
        input_of("mouseup", 1)

    def save(answer: str) -> None:
        pad.point(SAVE_MOTION)
        input_of("click", 1)
        # There, and to be seen.
        until(lambda: subprocess.run(["xdotool", "search", "--name", f"^{answer}$", "windowfocus"],
                                     capture_output=True).returncode == 0, f"'{answer}'")
        input_of("key", "Return")
        until(lambda: subprocess.run(["xdotool", "search", "--name", f"^{answer}$"],
                                     capture_output=True).returncode != 0, f"end of '{answer}'")
        pad.focus()

    before = values()
    save("info")
    assert values() == before, f"{values()}, not {before}"
    drag((-630, -335), (-430, -335))  # by its caption
    drag((-357, -226), (-307, -226))  # by its corner
    pad.point(NAME_MOTION)
    input_of("click", 1, "key", "End", "type", ",")
    save("Warning")
    assert values() == before, f"{values()}, not {before}"
    pad.point(NAME_MOTION)
    input_of("click", 1, "key", "End", "key", "BackSpace", "type", "b")
    save("info")
    name, *place = values()
    assert name == before[0] + "b", name
    # The window has 800 x 300 pixels, the camera's frame of reference 1280 x 720.
    wanted = [160 + 200 * 1.6, 320, 240 + 50 * 1.6, 300]
    assert all(abs(int(is_now) - value) <= 4 for is_now, value in zip(place, wanted)), f"{place}, not {wanted}"


def main(module: str, program: str, folder: str, pattern: str = "") -> int:
    os.makedirs(folder, exist_ok=True)
    wine("regsvr32", "/s", windows_path(module))
    # What is done, with which camera, and what the host sets and does.
    scenarios: list[tuple[Callable[[Pad], None], list[str], dict[str, object], list[str]]] = [
        (by_keyboard, ["--fault", "ptz-slow=0.9"], {}, []),
        (by_mouse, [], {}, []),
        (without_pan, ["--ptz", "zoom"], {}, []),
        (by_onvif, ["--onvif", "only", "--ptz", "pantilt"], {}, []),
        (events, ["--sections"], {"ShowMDWindow": "true"}, []),
        (motion_windows, [], {"MotionEditMode": "true"}, []),
        (events, ["--sections", "--codec", "mjpeg"], {"VideoProtocol": 3}, []),
    ]
    for scenario, arguments, properties, steps in scenarios:
        if pattern not in scenario.__name__:
            continue
        with Camera("--codec", "h264", *arguments) as camera, \
                Pad(camera, scenario.__name__, program, folder, properties, steps) as pad:
            scenario(pad)
        print("ok ", scenario.__name__, flush=True)
    return 0


if __name__ == "__main__":
    installed = subprocess.run([PROGRAM, "--help"], capture_output=True, text=True)
    if installed.returncode != 0:
        print("skipped:", installed.stderr)
        sys.exit(SKIPPED)
    sys.exit(main(*sys.argv[1:5]))
