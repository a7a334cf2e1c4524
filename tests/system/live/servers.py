"""Servers that are not the simulated camera: GStreamer's for RTSP, FFmpeg's for streams over HTTP."""

import os
import socket
import subprocess
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

import gi

for _name in ("Gst", "GstRtsp", "GstRtspServer"):
    gi.require_version(_name, "1.0")
from gi.repository import GLib, Gst, GstRtsp, GstRtspServer  # noqa: E402

USER, PASSWORD = "admin", "se@cret"
PICTURE = (320, 240)
_SCENE = ["-f", "lavfi", "-i", f"smptebars=size={PICTURE[0]}x{PICTURE[1]}:rate=15", "-f", "lavfi", "-i",
          "color=white:size=20x20:rate=15", "-filter_complex", "overlay=x='mod(60*t,300)':y=100"]
_TONE = "sine=frequency=440:sample_rate="
_SECONDS = 40
# name: (FFmpeg's options, GStreamer's way from the file to packets)
_CLIPS = {
    "h264.mp4": ([*_SCENE, *"-c:v libx264 -preset ultrafast -g 15 -pix_fmt yuv420p".split()],
                 "qtdemux ! h264parse ! rtph264pay pt=96"),
    "mpeg4.mp4": ([*_SCENE, *"-c:v mpeg4 -q:v 4 -g 15".split()],
                  "qtdemux ! mpeg4videoparse ! rtpmp4vpay max-ptime=1 pt=96"),
    "jpeg.avi": ([*_SCENE, *"-c:v mjpeg -huffman default -q:v 4 -pix_fmt yuvj420p".split()],
                 "avidemux ! rtpjpegpay pt=26"),
    "pcmu.wav": (["-f", "lavfi", "-i", _TONE + "8000", *"-af volume=8 -ac 1 -c:a pcm_mulaw".split()],
                 "wavparse ! rtppcmupay pt=0"),
    "aac.aac": (["-f", "lavfi", "-i", _TONE + "16000", *"-af volume=8 -ac 1 -c:a aac".split()],
                "aacparse ! rtpmp4gpay pt=97"),
}
# Shares of the video packets that are lost on the way. Without h264parse nothing puts parameter sets into the stream.
LOSSES = {"/h264lossless": 0.0, "/h264lost1": 0.01, "/h264lost5": 0.05}
_MOUNTS = {"/h264": ("h264.mp4", "pcmu.wav"), "/h264aac": ("h264.mp4", "aac.aac"), "/mpeg4": ("mpeg4.mp4", "aac.aac"),
           "/jpeg": ("jpeg.avi", "pcmu.wav")}


def make_clips(folder: str, seconds: int = _SECONDS) -> None:
    runs = []
    for name, (options, _) in _CLIPS.items():
        path = os.path.join(folder, name)
        if not os.path.exists(path):
            part = os.path.join(folder, "part-" + name)
            runs.append((subprocess.Popen(["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", *options,
                                           "-t", str(seconds), part]), part, path))
    for process, part, path in runs:
        if process.wait() != 0:
            raise RuntimeError(f"FFmpeg could not make {path}")
        os.rename(part, path)


class RtspServer:
    """GStreamer's, for the rest of the program; `digest` asks who is there. Without a port, on a free one."""

    def __init__(self, folder: str, digest: bool = False, address: str = "127.0.0.1", port: str = "0") -> None:
        Gst.init(None)
        self._server = GstRtspServer.RTSPServer()
        self._server.set_address(address)
        self._server.set_service(port)
        launches = {mount: " ".join(f"filesrc location={os.path.join(folder, name)} ! {_CLIPS[name][1]} name=pay{position}"
                                    for position, name in enumerate(names)) for mount, names in _MOUNTS.items()}
        launches |= {mount: f"filesrc location={os.path.join(folder, 'h264.mp4')} ! qtdemux ! "
                            "rtph264pay config-interval=0 mtu=400 pt=96 ! "
                            f"identity drop-probability={share} name=pay0" for mount, share in LOSSES.items()}
        for mount, launch in launches.items():
            factory = GstRtspServer.RTSPMediaFactory()
            factory.set_shared(mount in LOSSES)  # who comes later joins amid a group of pictures
            factory.set_launch(f"( {launch} )")
            if digest:
                permissions = GstRtspServer.RTSPPermissions()
                for right in ("access", "construct"):
                    permissions.add_permission_for_role("user", f"media.factory.{right}", True)
                permissions.add_permission_for_role("anonymous", "media.factory.access", False)
                factory.set_permissions(permissions)
            self._server.get_mount_points().add_factory(mount, factory)
        if digest:
            auth, token = GstRtspServer.RTSPAuth(), GstRtspServer.RTSPToken()
            token.set_string("media.factory.role", "user")
            auth.set_supported_methods(GstRtsp.RTSPAuthMethod.DIGEST)
            auth.add_digest(USER, PASSWORD, token)
            self._server.set_auth(auth)
        self._server.attach(None)
        self.port = self._server.get_bound_port()

    def url(self, path: str) -> str:
        return f"rtsp://127.0.0.1:{self.port}{path}"


def serve_rtsp() -> None:
    threading.Thread(target=GLib.MainLoop().run, daemon=True).start()


class HttpCamera:
    """A camera whose streams come from FFmpeg: it says what it has, and passes on what FFmpeg's server sends."""

    _PROGRAMS = {
        "/kest-cgi/mjpeg.cgi": [*_SCENE, *"-c:v mjpeg -huffman default -q:v 4 -pix_fmt yuvj420p -f mpjpeg".split()],
        "/kest-cgi/pcmu.cgi": ["-f", "lavfi", "-i", _TONE + "8000",
                               *"-af volume=8 -ac 1 -c:a pcm_mulaw -f mulaw".split()],
    }
    _TYPES = {"/kest-cgi/mjpeg.cgi": "multipart/x-mixed-replace; boundary=ffmpeg", "/kest-cgi/pcmu.cgi": "audio/basic"}

    def __init__(self) -> None:
        camera = self

        class Handler(BaseHTTPRequestHandler):
            def do_POST(self) -> None:
                self.send_error(404)

            def do_GET(self) -> None:
                path = self.path.partition("?")[0]
                if self.path.endswith("getParam.cgi?video_codectype"):
                    self.send_response(200)
                    self.end_headers()
                    self.wfile.write(b"video_codectype=mjpg\n")
                elif path in camera._PROGRAMS:
                    camera._pass_on(path, self)
                else:
                    self.send_error(404)

            def log_message(self, *_unused: object) -> None:
                pass

        self._server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self._server.daemon_threads = True
        self.port = self._server.server_address[1]
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def _pass_on(self, path: str, to: BaseHTTPRequestHandler) -> None:
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        program = subprocess.Popen(["ffmpeg", "-hide_banner", "-loglevel", "quiet", "-nostdin", "-re",
                                    *self._PROGRAMS[path], "-content_type", self._TYPES[path], "-listen", "1",
                                    f"http://127.0.0.1:{port}"])
        try:
            while program.poll() is None:
                try:
                    source = socket.create_connection(("127.0.0.1", port))
                    break
                except ConnectionRefusedError:
                    continue
            source.sendall(f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n".encode())
            while data := source.recv(1 << 16):  # its reply's headers are the first of it
                to.wfile.write(data)
        except OSError:
            pass  # the viewer has gone
        finally:
            program.kill()
            program.wait()
