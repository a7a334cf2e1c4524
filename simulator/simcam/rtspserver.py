"""RTSP: GStreamer's server, with the camera's stream addresses, its sign-in and its faults."""

import base64
import secrets
import threading
from typing import Callable, Iterator

import gi

for _name in ("Gst", "GstRtsp", "GstRtspServer"):
    gi.require_version(_name, "1.0")
from gi.repository import GLib, Gst, GstRtsp, GstRtspServer  # noqa: E402

from simcam.camera import AudioCursor, Camera, VideoCursor  # noqa: E402
from simcam.clips import AUDIO_RATES, PCMU_PACKET, SIZES, Frame  # noqa: E402
from simcam.feeding import Feeder, Pacer  # noqa: E402
from simcam.frameinfo import SectionWriter, inside_frame  # noqa: E402
from simcam.log import log  # noqa: E402

ADDRESS_CODECS = {"h264": "_h264", "mjpeg": "_mjpg", "mpeg4": ""}
_PAYLOADERS = {
    "h264": "rtph264pay name=pay{0} pt=96 config-interval=0 mtu=1400",
    "mpeg4": "rtpmp4vpay name=pay{0} pt=96 config-interval=0 mtu=1400",
    "mjpeg": "rtpjpegpay name=pay{0} pt=26 mtu=1400",
    "pcmu": "rtppcmupay name=pay{0} pt=0 min-ptime=20000000 max-ptime=20000000",
    "aac": "rtpmp4gpay name=pay{0} pt=97",
}
_CAPS = {
    "h264": "video/x-h264,stream-format=byte-stream,alignment=au",
    "mpeg4": "video/mpeg,mpegversion=4,systemstream=false,parsed=true",
    "mjpeg": "image/jpeg,width={0},height={1}",
    "pcmu": "audio/x-mulaw,rate=8000,channels=1",
    # The configuration is that of AAC-LC with 16 kHz, mono.
    "aac": "audio/mpeg,mpegversion=4,stream-format=raw,rate=16000,channels=1,codec_data=(buffer)1408",
}
_AUDIO_INTERVALS = {"pcmu": PCMU_PACKET / AUDIO_RATES["pcmu"], "aac": 1024 / AUDIO_RATES["aac"]}
# The packetiser for MPEG-4 holds a frame until the next one comes.
_FIRST_FRAMES = {"mpeg4": 2}
_SCHEMES = {"basic": GstRtsp.RTSPAuthMethod.BASIC, "digest": GstRtsp.RTSPAuthMethod.DIGEST}
_SESSION_TIMEOUT = 60
_CLEANUP_SECONDS = 1


def stream_paths(kind: str, camera: Camera) -> Iterator[tuple[str, int, int, str]]:
    """All addresses of a kind ("udpstream"): path, channel, stream, codec. What isn't named is the first."""
    for channel in range(camera.options.channels + 1):
        for stream in (0, *SIZES):
            for codec in camera.options.codecs:
                path = (kind + (f"_ch{channel}" if channel else "") + (f"_stream{stream}" if stream else "") +
                        ADDRESS_CODECS[codec])
                yield path, channel or 1, stream or 1, codec


class RtspServer:
    """Serves from a thread of its own, which runs GLib's main loop."""

    def __init__(self, camera: Camera) -> None:
        Gst.init(None)
        self._camera = camera
        self._faults = camera.options.faults
        self._pacer = Pacer()
        self._server = GstRtspServer.RTSPServer()
        self._server.set_address(camera.options.bind)
        self._server.set_service(str(camera.options.rtsp))
        self._permissions = self._set_up_sign_in()
        mounts = self._server.get_mount_points()
        for path, channel, stream, codec in stream_paths("udpstream", camera):
            for folder in ("/", "/kest-cgi/"):
                mounts.add_factory(folder + path, self._factory(channel, stream, codec))
        self._server.connect("client-connected", self._client_connected)
        GLib.timeout_add_seconds(_CLEANUP_SECONDS, self._clean_up)
        if self._server.attach(None) == 0:
            raise OSError(f"cannot serve RTSP on {camera.options.bind}:{camera.options.rtsp}")
        self.port: int = self._server.get_bound_port()
        threading.Thread(target=GLib.MainLoop().run, name="rtsp", daemon=True).start()

    def _clean_up(self) -> bool:
        """Sessions time out only because somebody looks after them."""
        self._server.get_session_pool().cleanup()
        return True

    def _set_up_sign_in(self) -> GstRtspServer.RTSPPermissions | None:
        options = self._camera.options
        refuse_all = "rtsp-401" in self._faults
        if options.rtsp_auth == "none" and not refuse_all:
            return None
        method = _SCHEMES.get(options.rtsp_auth, GstRtsp.RTSPAuthMethod.BASIC)
        password = secrets.token_hex() if refuse_all else options.password
        auth = GstRtspServer.RTSPAuth()
        token = GstRtspServer.RTSPToken()
        token.set_string("media.factory.role", "user")
        auth.set_supported_methods(method)
        if method == GstRtsp.RTSPAuthMethod.BASIC:
            auth.add_basic(base64.b64encode(f"{options.user}:{password}".encode()).decode(), token)
        else:
            auth.add_digest(options.user, password, token)
        self._server.set_auth(auth)
        permissions = GstRtspServer.RTSPPermissions()
        for right in ("access", "construct"):
            permissions.add_permission_for_role("user", f"media.factory.{right}", True)
        # Known and refused, which makes it a 401; an unknown role would see no such stream.
        permissions.add_permission_for_role("anonymous", "media.factory.access", False)
        return permissions

    def _factory(self, channel: int, stream: int, codec: str) -> GstRtspServer.RTSPMediaFactory:
        audio = self._camera.options.audio
        line = f"appsrc name=video ! {_PAYLOADERS[codec].format(0)} "
        if audio != "none":
            line += f"appsrc name=audio ! {_PAYLOADERS[audio].format(1)} "
        factory = GstRtspServer.RTSPMediaFactory()
        factory.set_launch(f"( {line})")
        factory.set_latency(0)
        factory.connect("media-configure", self._configure, channel, stream, codec)
        if self._permissions:
            factory.set_permissions(self._permissions)
        return factory

    def _configure(self, _factory: GstRtspServer.RTSPMediaFactory, media: GstRtspServer.RTSPMedia, channel: int,
                   stream: int, codec: str) -> None:
        camera = self._camera
        stall = self._faults.seconds("stall")
        bin_ = media.get_element()
        feeders = [Feeder(bin_.get_by_name("video"), _CAPS[codec].format(*SIZES[stream]), 1 / camera.options.fps,
                          self._pictures(channel, stream, codec), _FIRST_FRAMES.get(codec, 1), stall)]
        if (kind := camera.options.audio) != "none":
            feeders.append(Feeder(bin_.get_by_name("audio"), _CAPS[kind], _AUDIO_INTERVALS[kind],
                                  AudioCursor(camera, kind).next, 1, stall))

        def state_changed(_media: GstRtspServer.RTSPMedia, state: int) -> None:
            if state == Gst.State.PLAYING and "rtsp-silent" not in self._faults:
                self._pacer.add(feeders)
            else:
                self._pacer.remove(feeders)

        media.connect("new-state", state_changed)
        media.connect("unprepared", lambda _media: self._pacer.remove(feeders))

    def _pictures(self, channel: int, stream: int, codec: str) -> Callable[[], Frame]:
        cursor = VideoCursor(self._camera, channel, stream, codec)
        if not self._camera.options.sections:
            return cursor.next
        writer = SectionWriter(self._camera, channel)

        def next_with_section() -> Frame:
            frame = cursor.next()
            return Frame(inside_frame(codec, writer.next(frame.key), frame.data), frame.key)

        return next_with_section

    def _client_connected(self, _server: GstRtspServer.RTSPServer, client: GstRtspServer.RTSPClient) -> None:
        log("rtsp: connected")
        client.connect("closed", lambda _client: log("rtsp: closed"))
        client.connect("new-session", lambda _client, session: session.set_timeout(
            int(self._faults.seconds("session-timeout") or _SESSION_TIMEOUT)))
        for request in ("options", "describe", "setup", "play", "pause", "teardown", "get-parameter", "set-parameter"):
            client.connect(request + "-request", self._log_request, request)
        if "rtsp-no-options" in self._faults:
            client.connect("pre-options-request", lambda *_: GstRtsp.RTSPStatusCode.NOT_IMPLEMENTED)
        if (seconds := self._faults.seconds("rtsp-cut")) is not None:
            GLib.timeout_add(int(seconds * 1000), lambda: client.close() and False)

    @staticmethod
    def _log_request(_client: GstRtspServer.RTSPClient, context: GstRtspServer.RTSPContext, request: str) -> None:
        log(f"rtsp: {request.upper()} {context.uri.abspath if context.uri else '*'}")
