#!/usr/bin/python3
"""Receives from FFmpeg's HTTP server and compares every frame with what FFmpeg was given.

usage: ffmpeg_test.py WINE-RUN HTTPPROBE FOLDER

Ends with 77 (skipped) where FFmpeg isn't installed."""
import os
import shutil
import socket
import struct
import subprocess
import sys
import time

RUN, PROBE, FOLDER = sys.argv[1:4]
FFMPEG = ["ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-y"]
FRAMES = 20
if not shutil.which("ffmpeg"):
    print("skipped: ffmpeg is not installed")
    sys.exit(77)
os.makedirs(FOLDER, exist_ok=True)


def path(name):
    return os.path.join(FOLDER, name)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def listening(port):
    with open("/proc/net/tcp") as table:
        return any(line.split()[1].endswith(f":{port:04X}") and line.split()[3] == "0A" for line in table)


def receive(kind, source, options, frames):
    """The frames that the probe makes of what FFmpeg sends."""
    port, out = free_port(), path(f"{kind}.out")
    server = subprocess.Popen([*FFMPEG, "-re", *source, *options, "-listen", "1", f"http://127.0.0.1:{port}/stream"])
    try:
        deadline = time.monotonic() + 10
        while not listening(port) and time.monotonic() < deadline:
            time.sleep(0.02)
        run = subprocess.run([RUN, PROBE, kind, str(port), "/stream", "Z:" + out, str(frames)], timeout=60)
        if run.returncode:
            sys.exit(f"{kind}: the probe ended with {run.returncode}")
    finally:
        server.kill()
        server.wait()
    with open(out, "rb") as file:
        data = file.read()
    found = []
    while data:
        length, = struct.unpack_from("<I", data)
        found.append(data[4:4 + length])
        data = data[4 + length:]
    return found


subprocess.run([*FFMPEG, "-f", "lavfi", "-i", "testsrc2=size=640x480:rate=25", "-t", "3", "-c:v", "mjpeg", "-f", "mjpeg",
                path("clip.mjpeg")], check=True)
subprocess.run([*FFMPEG, "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=8000", "-t", "6", "-ac", "1", "-f", "mulaw",
                path("clip.ul")], check=True)
with open(path("clip.mjpeg"), "rb") as clip:
    pictures = [b"\xff\xd8" + rest for rest in clip.read().split(b"\xff\xd8")[1:]]
with open(path("clip.ul"), "rb") as clip:
    sound = clip.read()

mjpeg = ["-f", "mjpeg", "-framerate", "25", "-i", path("clip.mjpeg"), "-c", "copy"]
forms = {
    "multipart, undeclared": ["-f", "mpjpeg"],
    "multipart": ["-f", "mpjpeg", "-content_type", "multipart/x-mixed-replace;boundary=ffmpeg"],
    "pictures alone": ["-f", "mjpeg", "-content_type", "image/jpeg"],
}
failed = 0
for name, options in forms.items():
    same = receive("video", mjpeg, options, FRAMES) == pictures[:FRAMES]
    print(f"{name}: {FRAMES} pictures {'as sent' if same else 'DIFFER'}")
    failed += not same
blocks = receive("audio", ["-f", "mulaw", "-ar", "8000", "-ac", "1", "-i", path("clip.ul")],
                 ["-c", "copy", "-f", "mulaw"], FRAMES)
same = b"".join(blocks) == sound[:sum(map(len, blocks))]
print(f"sound: {len(blocks)} blocks {'as sent' if same else 'DIFFER'}")
sys.exit(failed + (not same))
