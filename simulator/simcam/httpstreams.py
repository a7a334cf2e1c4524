"""Motion JPEG and G.711 over plain HTTP."""

import asyncio
import secrets
import time

from simcam import frameinfo
from simcam.camera import Camera, VideoCursor
from simcam.clips import AUDIO_RATES
from simcam.commands import FOLDER, BadValue, stream_of
from simcam.webserver import Exchange, Reply, Route, WebServer

BLOCK_SAMPLES = 1024
_BOUNDARY = "norixframe"
_MULTIPART = f"multipart/x-mixed-replace; boundary={_BOUNDARY}"
_VIDEO_TYPES = {"bare": "application/octet-stream"}
_TOO_LATE = 1.0


def _framed(framing: str, data: bytes) -> bytes:
    if framing == "bare":
        return data
    length = f"Content-Length: {len(data)}\r\n" if framing == "length" else ""
    return f"--{_BOUNDARY}\r\nContent-Type: image/jpeg\r\n{length}\r\n".encode() + data + b"\r\n"


class _Pace:
    """Waits until the next frame is due; goes on from now after a client that was too slow."""

    def __init__(self, interval: float) -> None:
        self._interval = interval
        self._due = self.started = time.monotonic()

    async def wait(self) -> float:
        """Returns the seconds since the start."""
        now = time.monotonic()
        self._due = max(self._due + self._interval, now - _TOO_LATE)
        await asyncio.sleep(max(0.0, self._due - now))
        return self._due - self.started


class HttpStreams:
    """Registers itself with the web server."""

    def __init__(self, camera: Camera, server: WebServer) -> None:
        self._camera = camera
        self._faults = camera.options.faults
        server.add(f"{FOLDER}mjpeg.cgi", Route(self._pictures, methods=("GET",)))
        server.add(f"{FOLDER}pcmu.cgi", Route(self._sound, methods=("GET",)))

    async def _pictures(self, exchange: Exchange) -> Reply | None:
        options = self._camera.options
        try:
            channel, stream = stream_of(exchange.request, self._camera)
        except BadValue as problem:
            return Reply(f"Error: {problem}\n".encode(), 404)
        if "mjpeg" not in options.codecs:
            return Reply(b"Error: this camera has no Motion JPEG\n", 404)
        cursor = VideoCursor(self._camera, channel, stream, "mjpeg")
        sections = frameinfo.SectionWriter(self._camera, channel)
        # The sound's request brings this along, so that the camera knows that they belong together.
        cookie = exchange.request.headers.get("x-sessioncookie") or secrets.token_hex(8)
        await exchange.begin(_VIDEO_TYPES.get(options.framing, _MULTIPART), ("x-sessioncookie", cookie))
        pace, passed = _Pace(1 / options.fps), 0.0
        end = self._faults.seconds("mjpeg-end")
        while end is None or passed < end:
            if self._stalled(passed):
                return await self._until_gone(exchange)
            if (frame := cursor.next()) is None:
                passed = await pace.wait()
                continue
            data = secrets.token_bytes(len(frame.data)) if "mjpeg-garbage" in self._faults else frame.data
            if options.sections:
                data = frameinfo.with_header(sections.next(frame.key), data)
            await exchange.send(_framed(options.framing, data))
            passed = await pace.wait()
        return None

    async def _sound(self, exchange: Exchange) -> Reply | None:
        try:
            stream_of(exchange.request, self._camera)
        except BadValue as problem:
            return Reply(f"Error: {problem}\n".encode(), 404)
        loop = bytes(self._camera.clips.audio("pcmu").data)
        twice = loop + loop
        header = frameinfo.sound_header(BLOCK_SAMPLES) if self._camera.options.sections else b""
        await exchange.begin("audio/basic")
        pace, passed, position = _Pace(BLOCK_SAMPLES / AUDIO_RATES["pcmu"]), 0.0, 0
        while not self._stalled(passed):
            await exchange.send(header + twice[position:position + BLOCK_SAMPLES])
            position = (position + BLOCK_SAMPLES) % len(loop)
            passed = await pace.wait()
        return await self._until_gone(exchange)

    def _stalled(self, passed: float) -> bool:
        stall = self._faults.seconds("stall")
        return stall is not None and passed >= stall

    @staticmethod
    async def _until_gone(exchange: Exchange) -> None:
        await exchange.reader.read(-1)
