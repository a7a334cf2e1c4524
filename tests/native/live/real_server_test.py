#!/usr/bin/python3
"""Receives from GStreamer's RTSP server with liveprobe, or with rtspprobe as the control receives, and compares every
frame with what the server was fed.

usage: real_server_test.py PROBE CLIPFOLDER

Ends with 77 (skipped) where GStreamer's server or FFmpeg isn't installed."""
import concurrent.futures
import os
import re
import socket
import struct
import subprocess
import sys
import threading

SKIPPED = 77
SECONDS = 2

try:
    import gi

    for name in ("Gst", "GstRtspServer"):
        gi.require_version(name, "1.0")
    from gi.repository import GLib, Gst, GstRtspServer
except (ImportError, ValueError) as missing:
    print(f"skipped: GStreamer's RTSP server is not installed ({missing}); see docs/live.md for the packages")
    sys.exit(SKIPPED)

PROBE, CLIPS = sys.argv[1:3]
Gst.init(None)

PATTERN = "testsrc2=size=320x240:rate=25"
TONE = "sine=frequency=440"
# name: (FFmpeg's input and encoder, GStreamer's way from the file to frames)
SOURCES = {
    "h264": (f"-f lavfi -i {PATTERN} -c:v libx264 -preset ultrafast -g 25 -x264-params repeat-headers=1 -f mp4",
             "qtdemux ! h264parse ! video/x-h264,stream-format=byte-stream,alignment=au"),
    "mpeg4": (f"-f lavfi -i {PATTERN} -c:v mpeg4 -g 25 -f mp4", "qtdemux ! mpeg4videoparse ! video/mpeg,parsed=true"),
    "jpeg": (f"-f lavfi -i {PATTERN} -c:v mjpeg -huffman default -q:v 6 -pix_fmt yuvj420p -f avi",
             "avidemux ! image/jpeg"),
    "pcmu": (f"-f lavfi -i {TONE}:sample_rate=8000 -ac 1 -c:a pcm_mulaw -f wav", "wavparse ! audio/x-mulaw"),
    "aac": (f"-f lavfi -i {TONE}:sample_rate=16000 -ac 1 -c:a aac -f adts", "aacparse ! audio/mpeg,stream-format=raw"),
}
PAYLOADERS = {"h264": "rtph264pay config-interval=0", "mpeg4": "rtpmp4vpay config-interval=0", "jpeg": "rtpjpegpay",
              "pcmu": "rtppcmupay min-ptime=20000000 max-ptime=20000000", "aac": "rtpmp4gpay"}
MOUNTS = {"/h264": ("h264", "pcmu"), "/h264aac": ("h264", "aac"), "/mpeg4": ("mpeg4", "pcmu"), "/jpeg": ("jpeg", "pcmu")}


def make_clip(name):
    """The clip's frames: [(bytes, pts)], and their caps."""
    path = os.path.join(CLIPS, name)
    if not os.path.exists(path):
        arguments = SOURCES[name][0].split()
        subprocess.run(["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", *arguments[:4],
                        "-t", str(SECONDS), *arguments[4:], path + ".new"], check=True)
        os.rename(path + ".new", path)
    pipeline = Gst.parse_launch(f"filesrc location={path} ! {SOURCES[name][1]} ! appsink name=sink sync=false")
    sink = pipeline.get_by_name("sink")
    pipeline.set_state(Gst.State.PLAYING)
    frames, caps = [], None
    while (sample := sink.emit("pull-sample")) is not None:
        buffer, caps = sample.get_buffer(), sample.get_caps()
        frames.append((buffer.extract_dup(0, buffer.get_size()), buffer.pts))
    pipeline.set_state(Gst.State.NULL)
    if name == "pcmu":  # one frame per packet
        data = b"".join(frame for frame, _ in frames)
        frames = [(data[at:at + 160], at * Gst.SECOND // 8000) for at in range(0, len(data) - 159, 160)]
    return frames, caps


def start_feeding(media, names):
    for position, name in enumerate(names):
        source = media.get_element().get_by_name(f"source{position}")
        frames, caps = CLIP[name]
        source.set_property("caps", caps)
        source.set_property("format", Gst.Format.TIME)
        source.set_property("is-live", True)
        state = {"next": 0}

        def need(element, _size, frames=frames, state=state):
            if state["next"] == len(frames):
                element.emit("end-of-stream")
                return
            data, pts = frames[state["next"]]
            state["next"] += 1
            buffer = Gst.Buffer.new_wrapped(data)
            buffer.pts = buffer.dts = pts
            element.emit("push-buffer", buffer)

        source.connect("need-data", need)


def has_address(address):
    try:
        with socket.socket(socket.AF_INET6) as probe:
            probe.bind((address, 0))
    except OSError:
        return False
    return True


def make_server(address):
    server = GstRtspServer.RTSPServer()
    server.set_address(address)
    server.set_service("0")
    for mount, names in MOUNTS.items():
        factory = GstRtspServer.RTSPMediaFactory()
        parts = [f"appsrc name=source{i} ! {PAYLOADERS[name]} name=pay{i} pt={96 + i if name not in ('pcmu', 'jpeg') else {'pcmu': 0, 'jpeg': 26}[name]}"
                 for i, name in enumerate(names)]
        factory.set_launch("( " + " ".join(parts) + " )")
        factory.connect("media-configure", lambda _f, media, names=names: start_feeding(media, names))
        server.get_mount_points().add_factory(mount, factory)
    server.attach(None)
    return server


def read_frames(path):
    data = open(path, "rb").read()
    frames, at = [], 0
    while at < len(data):
        size, = struct.unpack_from(">I", data, at)
        frames.append(data[at + 4:at + 4 + size])
        at += 4 + size
    return frames


def nal_units(access_units):
    units = []
    for data in access_units:
        for unit in data.replace(b"\0\0\0\1", b"\0\0\1").split(b"\0\0\1"):
            if unit and unit[0] & 31 != 9:  # access unit delimiters are not sent
                units.append(unit)
    return units


def jpeg_scan(data):
    """What follows the scan's header: RFC 2435 carries nothing else byte by byte."""
    at = data.index(b"\xff\xda")
    return data[at + 2 + struct.unpack_from(">H", data, at + 2)[0]:].rstrip(b"\0")


def comparable(name, frames):
    if name == "h264":
        return nal_units(frames) if frames and frames[0][:3] in (b"\0\0\0", b"\0\0\1") else [f for f in frames if f[0] & 31 != 9]
    if name == "mpeg4":  # the description's header comes before key frames
        return [re.sub(rb"^\x00\x00\x01\xb0.*?(?=\x00\x00\x01[\xb3\xb6])", b"", frame, flags=re.DOTALL) for frame in frames]
    if name == "jpeg":
        return [jpeg_scan(frame) for frame in frames]
    return frames


def check(title, url, mount, options):
    prefix = os.path.join(CLIPS, "received." + re.sub(r"\W", "-", title + mount))
    for position in range(2):
        open(f"{prefix}.{position}", "wb").close()
    run = subprocess.run([PROBE, "-q", "-n", str(SECONDS + 1), "-o", prefix, *options, url], capture_output=True,
                         text=True, timeout=30)
    # The stream's end, with a BYE, is a failure to the control.
    problems = [] if run.returncode == 0 or "status: connected" in run.stdout else [f"ended with {run.returncode}"]
    counts = []
    for position, name in enumerate(MOUNTS[mount]):
        sent = comparable(name, [data for data, _ in CLIP[name][0]])
        got = comparable(name, read_frames(f"{prefix}.{position}"))
        # The description's parameter sets precede those of the stream.
        if name == "h264" and [unit[0] & 31 for unit in got[:2]] == [7, 8] and got[2:3] == sent[:1]:
            del got[:2]
        counts.append(f"{len(got)}/{len(sent)} {name}")
        # The beginning may be missed by nobody; the very end may still be on its way when time is up.
        if got != sent[:len(got)] or len(got) < len(sent) * 0.9:
            different = next((i for i, pair in enumerate(zip(got, sent)) if pair[0] != pair[1]), None)
            problems.append(f"{name}: {len(got)} of {len(sent)} frames, first difference at {different}")
    print(f"{'FAILED' if problems else 'ok'}  {title} {mount}: {', '.join(counts)}", *problems, sep="\n    ", flush=True)
    if problems:
        print(run.stdout, run.stderr)
    return not problems


os.makedirs(CLIPS, exist_ok=True)
try:
    CLIP = {name: make_clip(name) for name in SOURCES}
except (OSError, subprocess.CalledProcessError) as missing:
    print(f"skipped: no test clips ({missing}); see docs/live.md for the packages")
    sys.exit(SKIPPED)
servers = {"127.0.0.1": make_server("127.0.0.1")}
CASES = [(transport, "127.0.0.1", mount) for transport in ("udp", "tcp", "http") for mount in MOUNTS]
if has_address("::1"):
    servers["[::1]"] = make_server("::1")
    CASES += [(transport, "[::1]", "/h264") for transport in ("tcp", "http")]
else:
    print("skipped: IPv6, which this machine does not have")
threading.Thread(target=GLib.MainLoop().run, daemon=True).start()


def run_case(case):
    transport, host, mount = case
    port = servers[host].get_bound_port()
    return check(f"{transport} {host}", f"rtsp://{host}:{port}{mount}", mount, ["-t", transport, "-p", str(port)])


# Most of the time goes by waiting for the stream.
with concurrent.futures.ThreadPoolExecutor(4) as pool:
    good = all(list(pool.map(run_case, CASES)))
os._exit(0 if good else 1)  # GStreamer's threads don't end by themselves
