#!/usr/bin/python3
"""Live view as its user has it: the registered control in NorixHost, with simulated cameras and servers of others.

usage: live_view_test.py NORIXSDK.OCX NORIXHOST.EXE FOLDER [PATTERN]

Each cell is one connection: the events and their order, the picture on the screen against FFmpeg's picture of the
same stream, and the tone that is played; or what others read in a recording of it. PATTERN picks cells by name;
without one it is a sample that has each protocol, codec and kind, and all of them with NORIX_ALL set. FOLDER keeps
each cell's log, and the pictures of those that failed; with NORIX_KEEP_PICTURES set, of all."""

import concurrent.futures
import contextlib
import os
import re
import shutil
import signal
import subprocess
import sys
import time
import traceback
from dataclasses import dataclass, field
from typing import Callable, Iterator

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.dirname(HERE)]

from host import COMPARED, ROOT, Desk, Host, difference, heard, moved, until, wine, windows_path  # noqa: E402

SKIPPED = 77
UDP, TCP, HTTP, MULTICAST, PUSH = range(1, 6)
MPEG4, MJPEG, H264 = 1, 2, 4
LARGEST_DIFFERENCE = 6.0  # of 255; what moves is less than 2 % of the picture
SMALL = "640,360"  # the simulated camera's second stream
SAMPLE = ("camera h264 UDP", "camera h264 HTTP", "camera mpeg4 TCP", "camera mpeg4 multicast", "camera mjpeg HTTP",
          "camera mjpeg push", "camera sound only", "camera found by ONVIF", "view DirectDraw covered", "view GDI resized",
          "view rotated", "GStreamer h264aac TCP digest", "GStreamer mpeg4 tunnel digest", "GStreamer jpeg UDP",
          "FFmpeg jpeg and G.711 HTTP", "sets described h264lost5 UDP", "recorded h264 TCP", "stalls UDP",
          "wrong password tunnel", "nobody there", "killed TCP")


# ---- The surroundings


def isolate() -> None:
    """Starts this program once more: with a screen, a Wine prefix, a sound server and a network that is its own, so
    that groups can be joined on loopback."""
    environment = {name: value for name, value in os.environ.items()
                   if name not in ("DISPLAY", "NORIX_WINEPREFIX", "NORIX_SOUND_MONITOR", "PULSE_SERVER")}
    scripts = os.path.join(ROOT, "scripts")
    command = [f"{scripts}/with-sound", f"{scripts}/with-display", sys.executable, *sys.argv]
    set_up = "ip link set lo up && ip route add 224.0.0.0/4 dev lo"
    for network in (["unshare", "-n"], ["unshare", "-rn"]):
        with contextlib.suppress(OSError):
            if subprocess.run([*network, "sh", "-c", set_up], capture_output=True).returncode == 0:
                os.execvpe(network[0], [*network, "sh", "-c", f'{set_up} && exec "$@"', "sh", *command],
                           environment | {"NORIX_LIVE_VIEW": "isolated"})
    os.execvpe(command[0], command, environment | {"NORIX_LIVE_VIEW": "no network of its own"})


if __name__ == "__main__" and "NORIX_LIVE_VIEW" not in os.environ:
    isolate()

try:
    import servers
    from camera import Camera
except (ImportError, ValueError) as missing:
    print(f"skipped: GStreamer's RTSP server is not installed ({missing}); scripts/setup.sh installs it")
    sys.exit(SKIPPED)


def reference(source: str, *options: str, turned: bool = False) -> bytes:
    """FFmpeg's picture of a stream, at the size of comparison."""
    grabbed = subprocess.run(
        ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", *options, "-i", source, "-frames:v", "1", "-vf",
         ("transpose=clock," if turned else "") + f"scale={COMPARED[0]}:{COMPARED[1]}:flags=area", "-f", "rawvideo",
         "-pix_fmt", "rgb24", "-"], check=True, capture_output=True, timeout=60)
    return grabbed.stdout


# ---- What a cell is


@dataclass
class Cell:
    """A connection that works."""

    name: str
    properties: dict[str, object]
    codec: int
    size: str  # empty: no picture
    picture: bytes
    sound: bool = True
    before: list[str] = field(default_factory=list)  # steps before Connect
    after: list[str] = field(default_factory=list)  # and when the picture is there
    program: str = ""
    meanwhile: Callable[[Host], None] | None = None  # between the two looks at the picture

    def run(self, desk: Desk) -> None:
        # A click says that everything has been looked at.
        steps = [*sets(self.properties), *self.before, "--call", "Connect", "--wait", "OnVideoFrameRate", *self.after,
                 "--get", "GetStreamType", "--wait", "OnMouseDown", "--call", "Disconnect", "--get", "ConnectStatus",
                 "--exit"]
        with Host(desk, self.name, steps, self.program) as host:
            host.wait("get GetStreamType")
            host.wait("event OnVideoFrameRate", len(host.events("OnVideoFrameRate")) + 1)
            first = host.picture("screen" if "NORIX_KEEP_PICTURES" in os.environ else "")
            if self.meanwhile:
                self.meanwhile(host)
            # A busy machine breaks the tone, and another tone would have none of it.
            until(lambda: not self.sound or host.listen().count("t") >= 8, "tone")
            if self.meanwhile or not self.sound:
                host.wait("event OnVideoFrameRate", len(host.events("OnVideoFrameRate")) + 1)
            # On a busy machine it may stand still for a while.
            second = until(lambda: (seen := host.picture()) and moved(first, seen) and seen, "movement") \
                if self.size else first
            host.click()
            code = host.finish()

            expect(host.events("OnConnStatus"), ["0", "1", "2"], "OnConnStatus")
            expect(host.events("OnResolutionChanged"), [self.size] if self.size else [], "OnResolutionChanged")
            log = host.log()
            in_order(log, "event OnConnStatus(iConnectionStatus=0)", "event OnConnStatus(iConnectionStatus=1)",
                     "event OnVideoFrameRate", f"get GetStreamType = {self.codec}\n", "call Disconnect",
                     "event OnConnStatus(iConnectionStatus=2)", "result Disconnect = 0", "get ConnectStatus = 2")
            late = re.findall(r"event (?!OnMouse)\w+", log[log.index("result Disconnect"):])
            expect(late, [], "events after Disconnect")
            rates = [int(rate) for rate in host.events("OnVideoFrameRate")]
            expect(len(host.events("FramePerSec")), len(rates), "FramePerSec")
            assert not self.size or 1 <= max(rates) <= 30, f"frame rates {rates}"
            expect(code, 0, "exit code")
            if self.size:
                off = min(difference(first, self.picture), difference(second, self.picture))
                if off > LARGEST_DIFFERENCE:
                    host.save("is", first)
                    host.save("should be", self.picture)
                assert off <= LARGEST_DIFFERENCE, f"the picture is another one (difference {off:.1f})"


def sets(properties: dict[str, object]) -> list[str]:
    return [word for name, value in properties.items() for word in ("--set", f"{name}={value}")]


def expect(got: object, wanted: object, what: str) -> None:
    assert got == wanted, f"{what}: {got}, not {wanted}"


def in_order(log: str, *lines: str) -> None:
    at = 0
    for line in lines:
        found = log.find(line, at)
        assert found >= 0, f"no '{line.strip()}' where it should be"
        at = found + len(line)


def at_camera(camera: Camera, **more: object) -> dict[str, object]:
    return {"ServerIP": "127.0.0.1", "HttpPort": camera.http_port, "username": camera.user,
            "password": camera.password, "ShowUserAuthenticationDialog": "false", "StreamIndex": 2} | more


# ---- Cells with a picture


def camera_cells(cameras: dict[str, Camera], multicast: bool, other_windows: str) -> Iterator[Cell]:
    """Every way in which the simulated camera can send every codec, and the ways of showing the picture."""
    paths = {"h264": (H264, "_h264"), "mpeg4": (MPEG4, ""), "mjpeg": (MJPEG, "_mjpg")}
    for number, (name, (codec, ending)) in enumerate(paths.items()):
        camera = cameras[name]
        pictures = {stream: reference(camera.url(f"udpstream_ch1_stream{stream}{ending}"), "-rtsp_transport", "tcp")
                    for stream in (1, 2)}
        ports = 6000 + 100 * number, 6002 + 100 * number
        tunnel = camera.url(f"kest-cgi/udpstream_ch1_stream2{ending}", tunnel=True)
        for title, protocol, more, before in (
                ("UDP", UDP, {}, []),
                ("TCP", TCP, {}, []),
                # Motion JPEG without RTSP
                ("HTTP", HTTP, {}, []),
                ("tunnel", HTTP, {"StreamUri": tunnel}, []),
                ("multicast", MULTICAST, {}, []),
                ("push", PUSH, {}, ["--call", f"SetMulticastInfo('239.2.0.{number}','{ports[0]}','{ports[1]}')"])):
            if protocol in (MULTICAST, PUSH) and not multicast or title == "tunnel" and codec != MJPEG:
                continue
            stream = 1 if protocol == PUSH else 2
            # One of the codecs' ways goes through DirectDraw, which Wine offers to programs for newer systems.
            yield Cell(f"camera {name} {title}", at_camera(camera, VideoProtocol=protocol, **more), codec,
                       SMALL if stream == 2 else "1280,720", pictures[stream], before=before,
                       program=other_windows if protocol == TCP else "")
        if codec == H264:
            yield from view_cells(camera, pictures[2], other_windows)
    properties = at_camera(cameras["mjpeg"], VideoProtocol=HTTP, MediaType=2)
    yield Cell("camera sound only", properties, MJPEG, "", b"")
    yield Cell("camera found by ONVIF", at_camera(cameras["onvif"], VideoProtocol=UDP), H264, SMALL,
               reference(cameras["onvif"].url("udpstream_ch1_stream2_h264"), "-rtsp_transport", "tcp"))


def view_cells(camera: Camera, picture: bytes, other_windows: str) -> Iterator[Cell]:
    properties = at_camera(camera, VideoProtocol=TCP)
    turned = reference(camera.url("udpstream_ch1_stream2_h264"), "-rtsp_transport", "tcp", turned=True)

    def cover(host: Host) -> None:
        subprocess.run(["xmessage", "-geometry", f"200x150+{host.place.x + 50}+{host.place.y + 150}", "-timeout", "1",
                        "over it"], stdout=subprocess.DEVNULL)

    resize = ["--resize", "320x120", "--get", "ConnectStatus", "--wait", "OnVideoFrameRate", "--resize", "400x225"]
    for name, program in (("GDI", ""), ("DirectDraw", other_windows)):
        yield Cell(f"view {name} resized", properties, H264, SMALL, picture, program=program, after=resize)
        yield Cell(f"view {name} covered", properties, H264, SMALL, picture, program=program, meanwhile=cover)
    yield Cell("view forced GDI", properties | {"ForceGDI": "true"}, H264, SMALL, picture, program=other_windows)
    yield Cell("view rotated", properties, H264, SMALL, turned, after=["--call", "RotateVideo(90)"])


def foreign_cells(folder: str) -> Iterator["Cell | Lossy"]:
    """Servers that nobody here wrote."""
    servers.make_clips(folder)
    plain, digest = servers.RtspServer(folder), servers.RtspServer(folder, digest=True)
    servers.serve_rtsp()
    pictures = {name: reference(os.path.join(folder, name)) for name in ("h264.mp4", "mpeg4.mp4", "jpeg.avi")}
    who = {"username": servers.USER, "password": servers.PASSWORD}
    size = ",".join(map(str, servers.PICTURE))
    for title, protocol, server, mount, codec, clip in (
            ("UDP", UDP, plain, "/h264", H264, "h264.mp4"),
            ("TCP digest", TCP, digest, "/h264aac", H264, "h264.mp4"),
            ("tunnel", HTTP, plain, "/h264aac", H264, "h264.mp4"),
            ("UDP digest", UDP, digest, "/mpeg4", MPEG4, "mpeg4.mp4"),
            ("tunnel digest", HTTP, digest, "/mpeg4", MPEG4, "mpeg4.mp4"),
            ("UDP", UDP, plain, "/jpeg", MJPEG, "jpeg.avi"),
            ("TCP", TCP, plain, "/jpeg", MJPEG, "jpeg.avi")):
        properties = {"StreamUri": server.url(mount), "HttpPort": server.port, "VideoProtocol": protocol}
        yield Cell(f"GStreamer {mount[1:]} {title}", properties | (who if server is digest else {}), codec, size,
                   pictures[clip])
    for mount in servers.LOSSES:
        for title, protocol in (("UDP", UDP), ("TCP", TCP)):
            yield Lossy(f"sets described {mount[1:]} {title}", {"StreamUri": plain.url(mount), "HttpPort": plain.port,
                                                                 "VideoProtocol": protocol})
    camera = servers.HttpCamera()
    yield Cell("FFmpeg jpeg and G.711 HTTP", {"ServerIP": "127.0.0.1", "HttpPort": camera.port, "VideoProtocol": HTTP},
               MJPEG, size, pictures["jpeg.avi"])


# ---- Recordings


@dataclass
class Recorded:
    """Some seconds of a connection as a file: what others read in it is what the camera has sent, at its speed."""

    name: str
    properties: dict[str, object]
    video: str
    size: str

    def run(self, desk: Desk) -> None:
        folder = os.path.join(desk.folder, self.name)
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        seconds = ["--wait", "OnVideoFrameRate", "--get", "ConnectStatus"]
        properties = self.properties | {"RecordMaxFileTimeLength": 0, "RecordVideoPath": windows_path(folder) + "\\"}
        # The second file is ended by the end of the connection.
        steps = ["--call", "Connect", "--wait", "OnVideoFrameRate", "--call", "StartRecording(1)", "--wait",
                 "OnRecordStatus:1", *seconds * 5, "--call", "StopRecording(1)", "--wait", "OnRecordStatus:4",
                 "--call", "StartRecording(1)", "--wait", "OnRecordStatus:1", *seconds * 5, "--call", "Disconnect",
                 "--exit"]
        with Host(desk, self.name, sets(properties) + steps) as host:
            expect(host.finish(), 0, "exit code")
            expect("".join(host.events("OnRecordStatus")).replace("1", ""), "3434", "OnRecordStatus")
            in_order(host.log(), "OnRecordStatus(lStatus=4)", "call Disconnect", "OnRecordStatus(lStatus=4)",
                     "OnConnStatus(iConnectionStatus=2)")
        files = sorted(os.listdir(folder))
        expect(len(files), 2, f"files in {files}")
        for file in files:
            self._judge(os.path.join(folder, file))

    def _judge(self, path: str) -> None:
        def read(*command: str) -> bytes:
            done = subprocess.run(command, capture_output=True, timeout=60)
            expect((done.returncode, done.stderr.decode()), (0, ""), command[0])
            return done.stdout

        probe = ("ffprobe", "-v", "error", "-of", "csv=p=0", "-show_entries")
        streams = read(*probe, "stream=codec_name,width,height", path).decode().split()
        expect(streams, [f"{self.video},{self.size}", "pcm_mulaw"], "streams")
        packets = read(*probe, "packet=flags", "-select_streams", "v", path).decode().split()
        assert packets[0].startswith("K"), f"it begins with {packets[0]}"
        # The whole of it decodes.
        decoder = ("ffmpeg", "-v", "error", "-xerror", "-nostdin", "-i", path)
        read(*decoder, "-f", "null", "-")
        sound = heard(read(*decoder, "-vn", "-f", "s16le", "-"))
        length = float(read(*probe, "format=duration", path))
        assert length > 3, f"{length} s long"
        # Over HTTP pictures carry no times of their own: those that have waited on a busy machine arrive together.
        slack = 6 if "HTTP" in self.name else 1
        assert abs(len(packets) / length - 25) < slack, f"{len(packets)} pictures in {length} s"
        # A file ends with whatever came last, and sound comes in blocks of 128 ms.
        assert abs(len(sound) / 40 - length) < 0.4, f"{len(sound) / 40} s of sound in {length} s"
        assert sound.count("t") > 0.8 * len(sound), f"sound: {sound}"


def recordings(cameras: dict[str, Camera]) -> Iterator[Recorded]:
    yield Recorded("recorded h264 TCP", at_camera(cameras["h264"], VideoProtocol=TCP), "h264", SMALL)
    # With the camera's header before each frame and block of sound.
    yield Recorded("recorded mjpeg HTTP", at_camera(cameras["mjpeg"], VideoProtocol=HTTP), "mjpeg", SMALL)


# ---- Faults


@dataclass
class Fault:
    """A connection that fails, or is ended early: which states the host sees, and nothing after them."""

    name: str
    properties: dict[str, object]
    states: list[str]
    steps: list[str]
    log: list[str] = field(default_factory=list)  # lines that have to be there, in this order

    def run(self, desk: Desk) -> None:
        with Host(desk, self.name, sets(self.properties) + self.steps) as host:
            code = host.finish()
            expect(host.events("OnConnStatus"), self.states, "OnConnStatus")
            in_order(host.log(), *self.log)
            expect(code, 0, "exit code")


def faults(cameras: dict[str, Camera]) -> Iterator[Fault]:
    good, stalling = cameras["h264"], cameras["stalling"]
    # Whatever comes late or twice has some time to come.
    connect, leave = ["--call", "Connect"], ["--get", "ConnectStatus", "--pause", "3", "--exit"]
    for title, protocol in (("UDP", UDP), ("tunnel", HTTP)):
        yield Fault(f"stalls {title}", at_camera(stalling, VideoProtocol=protocol), ["0", "1", "3"],
                    [*connect, "--wait", "OnConnStatus:1", "--wait", "OnConnStatus:3", *leave],
                    ["event OnResolutionChanged", "get ConnectStatus = 3"])
    yield Fault("stalls HTTP", at_camera(cameras["stalling mjpeg"], VideoProtocol=HTTP), ["0", "1", "3"],
                [*connect, "--wait", "OnConnStatus:3", *leave], ["event OnResolutionChanged"])
    # Without an address, the stream's port is among what the camera doesn't tell.
    tunnelled = good.url("kest-cgi/udpstream_ch1_stream1_h264", True, signed_in=False)
    for title, protocol, uri in (("UDP", UDP, ""), ("tunnel", HTTP, tunnelled)):
        yield Fault(f"wrong password {title}",
                    at_camera(good, VideoProtocol=protocol, password="wrong", StreamUri=uri), ["0", "5"],
                    [*connect, "--wait", "OnConnStatus:5", *leave], ["get ConnectStatus = 5"])
    yield Fault("no such stream", at_camera(good, StreamUri=good.url("nowhere"), VideoProtocol=TCP), ["0", "3"],
                [*connect, "--wait", "OnConnStatus:3", *leave], ["get ConnectStatus = 3"])
    yield Fault("nobody there", at_camera(good, HttpPort=1, StreamUri="rtsp://127.0.0.1:1/x"), ["0", "3"],
                [*connect, "--wait", "OnConnStatus:3", *leave], ["get ConnectStatus = 3"])
    yield Fault("connects twice", at_camera(good, VideoProtocol=TCP), ["0", "1", "2"],
                [*connect, *connect, "--get", "ConnectStatus", "--wait", "OnConnStatus:1", *connect, "--call",
                 "Disconnect", "--exit"],
                ["result Connect = 0", "result Connect = -1", "result Connect = -1", "result Disconnect = 0"])


@dataclass
class Lossy:
    """A stream whose parameter sets stand in its description only, with lost packets: pictures keep coming, also after
    the decode speed has been changed, and the group of pictures (a second) in which all is lost is the longest gap."""

    name: str
    properties: dict[str, object]

    def run(self, desk: Desk) -> None:
        seconds = ["--wait", "OnVideoFrameRate", "--get", "ConnectStatus"]
        steps = ["--call", "Connect", "--wait", "OnConnStatus:1", *seconds * 5, "--call", "ChangeDecodeSpeed(3)",
                 *seconds * 2, "--call", "ChangeDecodeSpeed(0)", *seconds * 5, "--call", "Disconnect", "--exit"]
        with Host(desk, self.name, sets(self.properties) + steps) as host:
            expect(host.finish(), 0, "exit code")
            expect(host.events("OnConnStatus"), ["0", "1", "2"], "OnConnStatus")
            rates = [int(rate) for rate in host.events("OnVideoFrameRate")]
            frozen = max(len(run) for run in re.findall("0*", "".join("0" if rate == 0 else "1" for rate in rates[2:])))
            assert frozen <= 2 and rates[-1] > 0, f"pictures per second: {rates}"
            print(f"    {self.name}: pictures per second {rates}", flush=True)


@dataclass
class Killed:
    """A camera that dies in mid-stream, and comes back: the host has asked for that, and does nothing."""

    name: str
    protocol: int

    def run(self, desk: Desk) -> None:
        arguments = ["--codec", "h264"]
        with contextlib.ExitStack() as stack:
            camera = stack.enter_context(Camera(*arguments))
            ports = ["--http", str(camera.http_port), "--rtsp", str(camera.rtsp_port)]
            picture = reference(camera.url("udpstream_ch1_stream2_h264"), "-rtsp_transport", "tcp")
            properties = at_camera(camera, VideoProtocol=self.protocol, AutoReconnect="true")
            steps = ["--call", "Connect", "--wait", "OnConnStatus:1", "--wait", "OnConnStatus:3", "--get",
                     "ConnectStatus", "--wait", "OnConnStatus:1"]
            for _ in range(4):
                steps += ["--get", "ConnectStatus", "--wait", "OnVideoFrameRate"]
            steps += ["--call", "Disconnect", "--exit"]
            with Host(desk, self.name, sets(properties) + steps) as host:
                host.wait("event OnVideoFrameRate", 2)
                os.kill(camera.pid, signal.SIGKILL)
                host.wait("event OnConnStatus(iConnectionStatus=3)")
                stack.enter_context(Camera(*arguments, *ports))
                host.wait("event OnConnStatus(iConnectionStatus=1)", 2)
                rates = len(host.events("OnVideoFrameRate"))
                host.wait("event OnVideoFrameRate", rates + 2)
                off = difference(host.picture(), picture)
                expect(host.finish(), 0, "exit code")
                states = "".join(host.events("OnConnStatus"))
                assert re.fullmatch(r"01(30)+12", states), f"OnConnStatus: {states}"
                assert off <= LARGEST_DIFFERENCE, f"the picture is another one (difference {off:.1f})"


# ---- All of it


def run_all(desk: Desk, jobs: list) -> bool:
    """As many side by side as there are processors."""
    good = bool(jobs)
    with concurrent.futures.ThreadPoolExecutor(min(desk.PLACES, len(os.sched_getaffinity(0)))) as pool:
        running = {pool.submit(job.run, desk): job for job in jobs}
        for number, done in enumerate(concurrent.futures.as_completed(running), 1):
            job, problem = running[done], done.exception()
            print(f"[{number}/{len(jobs)}]", "ok     " if problem is None else "FAILED ", job.name, flush=True)
            if problem is not None:
                good = False
                text = str(problem) if isinstance(problem, AssertionError) else \
                    "".join(traceback.format_exception(problem))
                print("    " + text, flush=True)
    return good


def main(module: str, program: str, folder: str, pattern: str = "") -> int:
    started = time.monotonic()
    os.makedirs(folder, exist_ok=True)
    wine("regsvr32", "/s", windows_path(module))
    # The same program under another name: for it, Wine is the Windows that is offered DirectDraw.
    other_windows = os.path.join(folder, "NorixHostDirectDraw.exe")
    shutil.copy(program, other_windows)
    key = "HKCU\\Software\\Wine\\AppDefaults\\NorixHostDirectDraw.exe"
    wine("reg.exe", "add", key, "/v", "Version", "/d", "win10", "/f")
    wine("reg.exe", "add", key + "\\Direct3D", "/v", "renderer", "/d", "gdi", "/f")
    desk = Desk(folder, program)
    multicast = os.environ["NORIX_LIVE_VIEW"] == "isolated"
    if not multicast:
        print("skipped: multicast, because no network namespace can be made here")
    kinds = {
        "h264": ["--codec", "h264", "--auth", "basic"],
        "mpeg4": ["--codec", "mpeg4", "--push-codec", "mpeg4", "--audio", "aac", "--auth", "digest", "--sections"],
        "mjpeg": ["--codec", "mjpeg", "--push-codec", "mjpeg", "--auth", "digest", "--sections"],
        "onvif": ["--codec", "h264", "--onvif", "only", "--auth", "digest"],
        "stalling": ["--codec", "h264", "--fault", "stall=2"],
        "stalling mjpeg": ["--codec", "mjpeg", "--fault", "stall=2"],
    }
    if multicast:
        for number, name in enumerate(("h264", "mpeg4", "mjpeg")):
            kinds[name] += ["--multicast", f"239.1.0.{number}:{5000 + 100 * number}", "--push",
                            f"239.2.0.{number}:{6000 + 100 * number}"]
    with contextlib.ExitStack() as stack:
        made = [(name, Camera(*arguments)) for name, arguments in kinds.items()]
        with concurrent.futures.ThreadPoolExecutor(len(made)) as pool:
            cameras = dict(zip((name for name, _ in made),
                               pool.map(lambda entry: stack.enter_context(entry[1]), made)))
        jobs = [*faults(cameras), *recordings(cameras), Killed("killed TCP", TCP), Killed("killed UDP", UDP),
                *foreign_cells(folder), *camera_cells(cameras, multicast, other_windows)]
        sample = not pattern and "NORIX_ALL" not in os.environ
        good = run_all(desk, [job for job in jobs if (job.name in SAMPLE if sample else re.search(pattern, job.name))])
    print(f"{time.monotonic() - started:.0f} s")
    return 0 if good else 1


if __name__ == "__main__":
    code = main(*sys.argv[1:5])
    sys.stdout.flush()
    os._exit(code)  # GStreamer's threads don't end by themselves
