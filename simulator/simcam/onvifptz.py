"""ONVIF: the PTZ service, as much of it as it takes to move the camera and to keep presets."""

import xml.etree.ElementTree as ElementTree
from typing import Callable
from xml.sax.saxutils import escape, quoteattr

from simcam.camera import Camera
from simcam.parameters import PRESETS
from simcam.ptz import PtzHead

PTZ_PATH = "/onvif/ptz_service"
PTZ_NAMES = "http://www.onvif.org/ver20/ptz/wsdl"
_SPACES = "http://www.onvif.org/ver10/tptz/"


class PtzRefusal(Exception):
    """The code of a fault below Sender."""


def _child(element: ElementTree.Element, name: str) -> ElementTree.Element | None:
    return element.find(f".//{{*}}{name}")


def _text(element: ElementTree.Element, name: str) -> str:
    found = _child(element, name)
    return (found.text or "").strip() if found is not None else ""


class PtzService:
    """Profiles are those of the media service; `channels` has theirs by their tokens."""

    def __init__(self, camera: Camera, channels: Callable[[], dict[str, int]]) -> None:
        self._camera = camera
        self._channels = channels
        self.operations: dict[str, Callable[[ElementTree.Element], str]] = {
            "ContinuousMove": self._move, "Stop": self._stop, "GetPresets": self._presets,
            "GotoPreset": self._go, "SetPreset": self._set} if camera.options.moves else {}

    def configuration(self, channel: int) -> str:
        """What a profile says of the head that it moves."""
        moves = self._camera.options.moves
        if not moves:
            return ""
        spaces = "".join(
            f"<tt:DefaultContinuous{axes}VelocitySpace>{_SPACES}{axes}Spaces/VelocityGenericSpace"
            f"</tt:DefaultContinuous{axes}VelocitySpace>"
            for axes, move in (("PanTilt", "pantilt"), ("Zoom", "zoom")) if move in moves)
        return (f'<tt:PTZConfiguration token="head_ch{channel}"><tt:Name>Head {channel}</tt:Name>'
                f"<tt:UseCount>{len(self._camera.options.streams)}</tt:UseCount>"
                f"<tt:NodeToken>node_ch{channel}</tt:NodeToken>{spaces}</tt:PTZConfiguration>")

    def _head(self, request: ElementTree.Element) -> PtzHead:
        channel = self._channels().get(_text(request, "ProfileToken"))
        if channel is None:
            raise PtzRefusal("NoProfile")
        return self._camera.heads[channel]

    def _name_key(self, token: str) -> str:
        if not token.isdigit() or not 1 <= int(token) <= PRESETS:
            raise PtzRefusal("NoToken")
        return f"camctrl_presetname{int(token):02}"

    def _move(self, request: ElementTree.Element) -> str:
        head = self._head(request)
        speeds: list[float | None] = [None, None, None]
        for name, move, axes in (("PanTilt", "pantilt", {"x": 0, "y": 1}), ("Zoom", "zoom", {"x": 2})):
            if (vector := _child(request, name)) is None:
                continue
            if move not in self._camera.options.moves:
                raise PtzRefusal("SpaceNotSupported")
            for attribute, axis in axes.items():
                try:
                    speeds[axis] = float(vector.get(attribute, ""))
                except ValueError as problem:
                    raise PtzRefusal("InvalidVelocity") from problem
                if abs(speeds[axis]) > 1:
                    raise PtzRefusal("InvalidVelocity")
        head.go(*speeds)
        return "<tptz:ContinuousMoveResponse/>"

    def _stop(self, request: ElementTree.Element) -> str:
        turn, zoom = (0.0 if _text(request, name) != "false" else None for name in ("PanTilt", "Zoom"))
        self._head(request).go(turn, turn, zoom)
        return "<tptz:StopResponse/>"

    def _presets(self, request: ElementTree.Element) -> str:
        presets = "".join(
            f"<tptz:Preset token={quoteattr(str(number))}><tt:Name>"
            f"{escape(self._camera.parameters.get(self._name_key(str(number))))}</tt:Name></tptz:Preset>"
            for number in self._head(request).presets())
        return f"<tptz:GetPresetsResponse>{presets}</tptz:GetPresetsResponse>"

    def _go(self, request: ElementTree.Element) -> str:
        head, token = self._head(request), _text(request, "PresetToken")
        if not token.isdigit() or int(token) not in head.presets():
            raise PtzRefusal("NoToken")
        head.command("gopreset", 0, 0, 0, int(token))
        return "<tptz:GotoPresetResponse/>"

    def _set(self, request: ElementTree.Element) -> str:
        head, token = self._head(request), _text(request, "PresetToken")
        if token:
            if not token.isdigit() or int(token) not in head.presets():
                raise PtzRefusal("NoToken")
        else:
            free = [number for number in range(1, PRESETS + 1) if number not in head.presets()]
            if not free:
                raise PtzRefusal("TooManyPresets")
            token = str(free[0])
        head.command("addpreset", 0, 0, 0, int(token))
        if name := _text(request, "PresetName"):
            self._camera.parameters.set(self._name_key(token), name)
        return f"<tptz:SetPresetResponse><tptz:PresetToken>{token}</tptz:PresetToken></tptz:SetPresetResponse>"
