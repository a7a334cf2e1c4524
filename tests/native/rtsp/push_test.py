#!/usr/bin/python3
"""Receives with rtspprobe what FFmpeg pushes to multicast groups, and compares every frame with what was sent.

usage: push_test.py RTSPPROBE CLIPFOLDER

Runs itself in a network of its own, where multicast stays on the loopback device. Ends with 77 (skipped) where such a
network or FFmpeg isn't to be had."""
import os
import shutil
import struct
import subprocess
import sys

SKIPPED = 77
PROBE, CLIPS = sys.argv[1:3]
SECONDS = 2
GROUP = "239.1.1.1"
INSIDE = "--inside"
FFMPEG = ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y"]
PATTERN = ["-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25", "-t", "6"]
# Containers that keep the headers within the stream: (probe's codec, payload type, file, encoder)
VIDEOS = [("h264", 97, "push.ts", ["-c:v", "libx264", "-preset", "ultrafast", "-g", "10", "-bf", "0"]),
          ("mpeg4", 96, "push.m4.avi", ["-c:v", "mpeg4", "-g", "10"]),
          ("jpeg", 26, "push.mj.avi", ["-c:v", "mjpeg", "-huffman", "default", "-q:v", "6", "-pix_fmt", "yuvj420p"])]


def skip(why):
    print("skipped:", why)
    sys.exit(SKIPPED)


def enter():
    if not shutil.which("ffmpeg"):
        skip("FFmpeg is not installed")
    command = ["unshare", "-n", "true"]
    if subprocess.run(command, capture_output=True).returncode:
        skip("no network namespace is to be had")
    sys.exit(subprocess.run(["unshare", "-n", sys.executable, *sys.argv, INSIDE]).returncode)


def records(path):
    data = open(path, "rb").read()
    at, frames = 0, []
    while at < len(data):
        size, = struct.unpack_from(">I", data, at)
        frames.append(data[at + 4:at + 4 + size])
        at += 4 + size
    return frames


def nal_units(data):
    return [unit for unit in data.replace(b"\0\0\0\1", b"\0\0\1").split(b"\0\0\1") if unit and unit[0] & 31 in (1, 5)]


def jpeg_scan(data):
    at = data.index(b"\xff\xda")
    return data[at + 2 + struct.unpack_from(">H", data, at + 2)[0]:].rstrip(b"\0")


def frames_of(codec, path):
    """What FFmpeg sends of a clip."""
    form = {"h264": "h264", "mpeg4": "m4v", "jpeg": "image2pipe"}[codec]
    data = subprocess.run([*FFMPEG, "-i", path, "-c", "copy", "-f", form, "-"], check=True, capture_output=True).stdout
    if codec == "h264":
        return nal_units(data)
    if codec == "mpeg4":
        # The headers of a key frame end the picture before it.
        return [b"\0\0\1\xb6" + part.split(b"\0\0\1\xb0")[0] for part in data.split(b"\0\0\1\xb6")[1:]]
    return [jpeg_scan(b"\xff\xd8" + part) for part in data.split(b"\xff\xd8\xff")[1:]]


def comparable(codec, frames):
    if codec == "h264":
        return [unit for frame in frames for unit in nal_units(frame)]
    if codec == "mpeg4":
        return [b"\0\0\1\xb6" + frame.split(b"\0\0\1\xb6", 1)[1] for frame in frames]
    return [jpeg_scan(frame) for frame in frames]


def check(codec, payload_type, name, encoder, port):
    path = os.path.join(CLIPS, name)
    if not os.path.exists(path):
        subprocess.run([*FFMPEG, *PATTERN, *encoder, path], check=True)
    where = "?ttl=1&localaddr=127.0.0.1&pkt_size="
    tone = ["-re", "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=8000"]
    sender = subprocess.Popen([*FFMPEG, "-re", "-i", path, *tone, "-map", "0:v", "-c", "copy", "-payload_type",
                               str(payload_type), "-f", "rtp", f"rtp://{GROUP}:{port}{where}1400", "-map", "1:a", "-c:a",
                               "pcm_mulaw", "-f", "rtp", f"rtp://{GROUP}:{port + 2}{where}172"], stdout=subprocess.DEVNULL)
    prefix = os.path.join(CLIPS, "pushed")
    run = subprocess.run([PROBE, "-q", "-t", "push", "-n", str(SECONDS), "-i", "127.0.0.1", "-V", f"{GROUP}:{port}",
                          "-A", f"{GROUP}:{port + 2}", "-c", codec, "-o", prefix], capture_output=True, text=True, timeout=30)
    sender.kill()
    sender.wait()
    sent, got = [], []
    problems = [] if run.returncode == 0 and "a key frame is wanted" in run.stdout else [run.stdout + run.stderr]
    if not problems:
        sent = frames_of(codec, path)
        got = comparable(codec, records(prefix + ".0"))
        first = sent.index(got[0]) if got and got[0] in sent else -1
        if first < 0 or got != sent[first:first + len(got)] or len(got) < SECONDS * 20:
            problems.append("frames differ")
        if len(records(prefix + ".1")) < SECONDS * 20:
            problems.append("sound is missing")
    print(f"{'FAILED' if problems else 'ok'}  {codec}: {len(got)} frames", *problems, sep="\n    ", flush=True)
    return not problems


if INSIDE not in sys.argv:
    enter()
subprocess.run("ip link set lo up && ip link set lo multicast on && ip route add 224.0.0.0/4 dev lo", shell=True, check=True)
os.makedirs(CLIPS, exist_ok=True)
sys.exit(0 if all([check(*video, 5560 + 10 * i) for i, video in enumerate(VIDEOS)]) else 1)
