"""RTSP: GStreamer's server, with the camera's stream addresses, its sign-in and its faults."""

import base64
import secrets
import threading
from typing import Iterator

from gi.repository import GLib, Gst, GstRtsp, GstRtspServer

from simcam.camera import Camera
from simcam.dropping import drop_packets
from simcam.feeding import Pacer
from simcam.log import log
from simcam.multicast import PORTS_PER_STREAM, add_group
from simcam.tracks import audio_feeder, pipeline_part, video_feeder

ADDRESS_CODECS = {"h264": "_h264", "h265": "_h265", "mjpeg": "_mjpg", "mpeg4": ""}
_SCHEMES = {"basic": GstRtsp.RTSPAuthMethod.BASIC, "digest": GstRtsp.RTSPAuthMethod.DIGEST}
_SESSION_TIMEOUT = 60
_DISCARD_PORT = 9  # RFC 863
_CLEANUP_SECONDS = 1


def stream_paths(kind: str, camera: Camera) -> Iterator[tuple[str, int, int, str]]:
    """All addresses of a kind ("udpstream"): path, channel, stream, codec. What isn't named is the first."""
    for channel in range(camera.options.channels + 1):
        for stream in (0, *camera.options.streams):
            for codec in camera.options.codecs:
                path = (kind + (f"_ch{channel}" if channel else "") + (f"_stream{stream}" if stream else "") +
                        ADDRESS_CODECS[codec])
                yield path, channel or 1, stream or 1, codec


class RtspServer:
    """Serves from a thread of its own, which runs GLib's main loop."""

    def __init__(self, camera: Camera, pacer: Pacer) -> None:
        self._camera = camera
        self._faults = camera.options.faults
        self._pacer = pacer
        self._server = GstRtspServer.RTSPServer()
        self._server.set_address(camera.options.bind)
        self._server.set_service(str(camera.options.rtsp))
        self._permissions = self._set_up_sign_in()
        mounts = self._server.get_mount_points()
        for path, channel, stream, codec in stream_paths("udpstream", camera):
            for folder in ("/", "/kest-cgi/"):
                mounts.add_factory(folder + path, self._factory(channel, stream, codec))
        if camera.options.multicast:
            self._add_multicast(mounts, *camera.options.multicast)
        self._server.connect("client-connected", self._client_connected)
        GLib.timeout_add_seconds(_CLEANUP_SECONDS, self._clean_up)
        if self._server.attach(None) == 0:
            raise OSError(f"cannot serve RTSP on {camera.options.bind}:{camera.options.rtsp}")
        self.port: int = self._server.get_bound_port()
        threading.Thread(target=GLib.MainLoop().run, name="rtsp", daemon=True).start()

    def _clean_up(self) -> bool:
        """Sessions time out only because somebody looks after them."""
        if removed := self._server.get_session_pool().cleanup():
            log(f"rtsp: session over, {removed} timed out")
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
        parts = [pipeline_part("video", codec, "pay0")]
        if audio != "none":
            parts.append(pipeline_part("audio", audio, "pay1"))
        factory = GstRtspServer.RTSPMediaFactory()
        factory.set_launch(f"( {' '.join(parts)} )")
        factory.set_latency(0)
        factory.connect("media-configure", self._configure, channel, stream, codec)
        if self._permissions:
            factory.set_permissions(self._permissions)
        return factory

    def _add_multicast(self, mounts: GstRtspServer.RTSPMountPoints, group: str, port: int) -> None:
        """Each stream has ports of its own, whatever address it goes by."""
        factories: dict[tuple[int, int, str], GstRtspServer.RTSPMediaFactory] = {}
        for path, *which in stream_paths("multicaststream", self._camera):
            if (key := tuple(which)) not in factories:
                factory = self._factory(*which)
                add_group(factory, group, port + PORTS_PER_STREAM * len(factories), self._camera.options.bind)
                factories[key] = factory
            mounts.add_factory("/" + path, factories[key])

    def _configure(self, _factory: GstRtspServer.RTSPMediaFactory, media: GstRtspServer.RTSPMedia, channel: int,
                   stream: int, codec: str) -> None:
        camera, audio = self._camera, self._camera.options.audio
        sources = media.get_element()
        feeders = [video_feeder(camera, sources.get_by_name("video"), channel, stream, codec)]
        if audio != "none":
            feeders.append(audio_feeder(camera, sources.get_by_name("audio"), audio))

        # Neither function may hold the media: it would never be freed, nor would its ports.
        def state_changed(media: GstRtspServer.RTSPMedia, state: int) -> None:
            if state == Gst.State.PLAYING:
                self._pacer.add(feeders)
            elif not media.is_shared():  # of several clients, others may still be watching
                self._pacer.remove(feeders)

        def unprepared(_media: GstRtspServer.RTSPMedia) -> None:
            self._pacer.remove(feeders)
            for feeder in feeders:
                feeder.close()

        if "rtsp-silent" in self._faults:
            media.connect("prepared", drop_packets, "send_rtp_src")
        media.connect("new-state", state_changed)
        media.connect("unprepared", unprepared)

    def _client_connected(self, _server: GstRtspServer.RTSPServer, client: GstRtspServer.RTSPClient) -> None:
        log("rtsp: connected")
        client.connect("closed", lambda _client: log("rtsp: closed"))
        client.connect("new-session", self._limit_session)
        for request in ("options", "describe", "setup", "play", "pause", "teardown", "get-parameter", "set-parameter"):
            client.connect(request + "-request", self._log_request, request)
        if "rtsp-no-tcp" in self._faults:
            client.connect("pre-setup-request", self._refuse_tcp)
        if "rtsp-no-udp" in self._faults:
            client.connect("setup-request", self._lose_datagrams)
        if "rtsp-no-options" in self._faults:
            client.connect("pre-options-request", lambda *_: GstRtsp.RTSPStatusCode.NOT_IMPLEMENTED)
        if (seconds := self._faults.seconds("rtsp-cut")) is not None:
            GLib.timeout_add(int(seconds * 1000), lambda: client.close() and False)

    def _limit_session(self, _client: GstRtspServer.RTSPClient, session: GstRtspServer.RTSPSession) -> None:
        session.set_timeout(int(self._faults.seconds("session-timeout") or _SESSION_TIMEOUT))
        if "session-timeout" in self._faults:
            session.set_property("extra-timeout", 0)  # no mercy for those who are a little late

    @staticmethod
    def _refuse_tcp(_client: GstRtspServer.RTSPClient, context: GstRtspServer.RTSPContext) -> GstRtsp.RTSPStatusCode:
        """Of the streams that would come over RTSP's own connection; a tunnel's do."""
        _, transport = context.request.get_header(GstRtsp.RTSPHeaderField.TRANSPORT, 0)
        if "TCP" not in (transport or "") or context.conn.is_tunneled():
            return GstRtsp.RTSPStatusCode.OK
        return GstRtsp.RTSPStatusCode.UNSUPPORTED_TRANSPORT

    @staticmethod
    def _lose_datagrams(_client: GstRtspServer.RTSPClient, context: GstRtspServer.RTSPContext) -> None:
        """The client was told that they come to its ports; they go to one at which nobody listens."""
        transport = context.trans.get_transport()
        if transport.lower_transport == GstRtsp.RTSPLowerTrans.UDP:
            transport.client_port.min = transport.client_port.max = _DISCARD_PORT

    @staticmethod
    def _log_request(_client: GstRtspServer.RTSPClient, context: GstRtspServer.RTSPContext, request: str) -> None:
        log(f"rtsp: {request.upper()} {context.uri.abspath if context.uri else '*'}")
