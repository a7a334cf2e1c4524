"""The information sections that go with the frames (docs/camera-interface.md), and their three carriers."""

import re
import struct

from simcam.camera import Camera
from simcam.clips import SIZES, box_at

_IDENTIFICATION = b"NorixFrameInfo01"
_PORTS_VALID = 2
_REGION, _MOTION_ALERT, _ANALYTICS, _GENERAL = 1, 2, 3, 4
_THRESHOLD = 50
_H264_SLICE = re.compile(rb"\x00?\x00\x00\x01[\x01\x05\x21\x25\x41\x45\x61\x65]")
_H265_SLICE = re.compile(rb"\x00?\x00\x00\x01[\x00-\x3f]")  # types below 32
_BYTE, _WORD = 0xFF, 0xFFFF


def _element(kind: int, data: bytes) -> bytes:
    return bytes((kind, len(data))) + data


def _numbers(text: str, *largest: int) -> list[int] | None:
    """The numbers of a parameter like "3,1", each up to its limit; None while it is empty or something else."""
    fields = text.split(",")
    if len(fields) != len(largest) or not all(field.isascii() and field.isdigit() for field in fields):
        return None
    return [min(int(field), limit) for field, limit in zip(fields, largest)]


class SectionWriter:
    """Makes the sections of one viewer's frames.

    What they say comes from the camera's parameters: the digital ports, the motion windows, and events, which are sent
    with each key frame."""

    def __init__(self, camera: Camera, channel: int) -> None:
        self._camera = camera
        self._prefix = "motiondetect_" if len(camera.heads) == 1 else f"motiondetect{channel:02}_"
        self._sequence = 0

    def next(self, key: bool) -> bytes:
        now = self._camera.now()
        get = self._camera.parameters.get
        self._sequence += 1
        width, height = SIZES[1]
        ports = _numbers(f"{get('dio_inputs')},{get('dio_outputs')}", _BYTE, _BYTE) or (0, 0)
        section = struct.pack(">BBBBHHII7xI", 1, _PORTS_VALID, *ports, width, height, int(now * 1000) & 0xFFFFFFFF,
                              self._sequence, int(now))
        if get("motiondetect_enable") == "1":
            section += self._motion(key, now)
        if key and (numbers := _numbers(get("event_analytics"), _WORD, _WORD)):
            section += _element(_ANALYTICS, struct.pack(">HH", *numbers))
        if key and (numbers := _numbers(get("event_general"), _WORD, _BYTE, _BYTE)):
            section += _element(_GENERAL, struct.pack(">HBB", *numbers))
        return section

    def _motion(self, key: bool, now: float) -> bytes:
        """The windows that are switched on, and an alert for each that the box touches."""
        regions = alerts = b""
        for window in (1, 2, 3):
            values = _numbers(",".join(self._camera.parameters.get(f"{self._prefix}win{field}{window:02}")
                                       for field in ("left", "top", "width", "height", "enable")), *[_WORD] * 5)
            if values and values.pop():
                level = self._level(values, now)
                regions += _element(_REGION, struct.pack(">BBxHHHHBBxx", window - 1, 1, *values, _THRESHOLD, level))
                if key and level >= _THRESHOLD:
                    alerts += _element(_MOTION_ALERT, bytes((window, level)))
        return regions + alerts

    @staticmethod
    def _level(window: list[int], now: float) -> int:
        """0 while the box is outside of the window, 100 while all of it is inside, never below the threshold between."""
        shared = 1.0
        for (begin, length), (at, size) in zip((window[0::2], window[1::2]), box_at(now)):
            shared *= max(0.0, min(begin + length, at + size) - max(begin, at)) / size
        return _THRESHOLD + int(shared * (100 - _THRESHOLD)) if shared > 0 else 0


def with_header(section: bytes, frame: bytes) -> bytes:
    """Over HTTP: the header before the frame."""
    length = 3 + len(section) + len(frame)
    return (b"\0\0\1\xe0" + struct.pack(">H", length if length <= _WORD else 0) + b"\x80\0" +
            bytes((len(section),)) + section + frame)


def sound_header(samples: int) -> bytes:
    return b"\0\0\1\xc0" + struct.pack(">H", 26 + samples) + bytes(26)


def _without_start_codes(data: bytes) -> bytes:
    """H.264's emulation prevention."""
    result, zeros = bytearray(), 0
    for byte in data:
        if zeros == 2 and byte <= 3:
            result.append(3)
            zeros = 0
        result.append(byte)
        zeros = zeros + 1 if byte == 0 else 0
    return bytes(result)


def _first_slice(frame: bytes, kind: re.Pattern) -> int:
    """Where it begins, its start code included; parameter sets come before the section."""
    found = kind.search(frame)
    return found.start() if found else 0


def inside_frame(codec: str, section: bytes, frame: bytes) -> bytes:
    """Over RTSP: the frame with the section in it, where the codec has room for it."""
    message = _IDENTIFICATION + section
    if codec in ("h264", "h265"):
        header, kind = (b"\6", _H264_SLICE) if codec == "h264" else (b"\x4e\1", _H265_SLICE)
        unit = b"\0\0\1" + header + _without_start_codes(bytes((5, len(message))) + message + b"\x80")
        place = _first_slice(frame, kind)
        return frame[:place] + unit + frame[place:]
    if codec == "mpeg4":
        picture = frame.index(b"\0\0\1\xb6")
        return frame[:picture] + b"\0\0\1\xb2" + _without_start_codes(message) + frame[picture:]
    return frame
