"""The command interface: the CGI programs that aren't streams."""

import asyncio

from simcam.camera import Camera
from simcam.parameters import NOT_THERE, PRESETS
from simcam.webserver import Exchange, Reply, Request, Route, WebServer

FOLDER = "/kest-cgi/"
_CONTENT_TYPE = "text/plain; charset=us-ascii"


class BadValue(Exception):
    """What was asked for doesn't exist; the text says what."""


def stream_of(request: Request, camera: Camera) -> tuple[int, int]:
    """The channel and stream that a request names. 0 and what isn't there are the first."""
    channel, stream = request.number("channel", 1) or 1, request.number("stream", 1) or 1
    if channel not in camera.heads or stream not in camera.options.streams:
        raise BadValue(f"no channel {channel}, stream {stream}")
    return channel, stream


def _lines(pairs: list[tuple[str, str]]) -> bytes:
    return "".join(f"{key}={value}\n" for key, value in pairs).encode("latin-1", "replace")


class Commands:
    """Registers itself with the web server."""

    def __init__(self, camera: Camera, server: WebServer) -> None:
        self._camera = camera
        for name, answer in {"getParam": self._get, "setParam": self._set, "systeminfo": self._system_information,
                             "setPTZCtrl": self._move, "setPreset": self._set_preset,
                             "forcei": self._force_key_frame}.items():
            server.add(f"{FOLDER}{name}.cgi", Route(self._handler(answer)))

    def _handler(self, answer):
        faults = self._camera.options.faults

        async def handle(exchange: Exchange) -> Reply:
            slow = "ptz-slow" if answer == self._move and "ptz-slow" in faults else "cgi-slow"
            if (seconds := faults.seconds(slow)) is not None:
                await asyncio.sleep(seconds)
            try:
                if "cgi-error" in faults or "cgi-readonly" in faults and answer in (self._set, self._set_preset):
                    raise BadValue("fault")
                body = answer(exchange.request)
            except BadValue as problem:
                body = f"Error: {problem}\n".encode()
            return Reply(body, content_type=_CONTENT_TYPE)

        return handle

    def _get(self, request: Request) -> bytes:
        return _lines([(key, self._value(key)) for key, _ in request.parameters()])

    def _value(self, key: str) -> str:
        """Beside the parameters, where a head looks and what it was told last: ptz1_pan, ptz1_move and so on."""
        head, _, axis = key.partition("_")
        if head.startswith("ptz") and head[3:].isdigit() and int(head[3:]) in self._camera.heads:
            known = self._camera.heads[int(head[3:])]
            if axis == "move":
                return known.move
            position = known.position()
            return f"{getattr(position, axis):.2f}" if axis in position._fields else NOT_THERE
        return self._camera.parameters.get(key)

    def _set(self, request: Request) -> bytes:
        return _lines([(key, self._camera.parameters.set(key, value)) for key, value in request.parameters()])

    def _system_information(self, _request: Request) -> bytes:
        return _lines(list(self._camera.parameters.system_information().items()))

    def _move(self, request: Request) -> bytes:
        channel, _ = stream_of(request, self._camera)
        move = dict(request.parameters()).get("move", "")
        if move == "addpreset" or not self._camera.heads[channel].command(
                move, request.number("speedpan", 0), request.number("speedtilt", 0), request.number("speedzoom", 0),
                request.number("recall", 0)):
            raise BadValue(f"no such move: {move}")
        return _lines([("move", move)])

    def _set_preset(self, request: Request) -> bytes:
        channel, _ = stream_of(request, self._camera)
        index = request.number("PresetIndex", 0)
        given = dict(request.parameters())
        if given.get("move") != "addpreset" or not 1 <= index <= PRESETS:
            raise BadValue("no such preset")
        self._camera.heads[channel].command("addpreset", 0, 0, 0, index)
        name = self._camera.parameters.set(f"camctrl_presetname{index:02}", given.get("name", ""))
        return _lines([("name", name), ("PresetIndex", f"{index:02}")])

    def _force_key_frame(self, request: Request) -> bytes:
        channel, stream = stream_of(request, self._camera)
        self._camera.request_key_frame(channel, stream)
        return _lines([("channel", str(channel)), ("stream", str(stream))])
