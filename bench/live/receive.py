#!/usr/bin/python3
"""What receiving costs: our client, FFmpeg's and GStreamer's on the same stream, one after the other.

usage: receive.py LIVEPROBE URL [SECONDS]

Prints, for TCP and UDP, the CPU time per second and per Mbit/s of each client that is installed. None of them decodes.
FFmpeg and GStreamer start more than a receiver: what they use in a short run is taken off the longer one."""
import os
import re
import resource
import shutil
import subprocess
import sys

PROBE, URL = sys.argv[1:3]
SECONDS = int(sys.argv[3]) if len(sys.argv) > 3 else 20
SHORT = 3


def clients(transport, seconds):
    yield "live", [PROBE, "-q", "-n", str(seconds), "-t", transport, URL]
    if shutil.which("ffmpeg"):
        yield "FFmpeg", ["ffmpeg", "-nostdin", "-loglevel", "error", "-rtsp_transport", transport, "-i", URL, "-t",
                         str(seconds), "-map", "0:v", "-c", "copy", "-f", "null", "-"]
    if shutil.which("gst-launch-1.0"):
        yield "GStreamer", ["timeout", "-s", "INT", str(seconds), "gst-launch-1.0", "-q", "rtspsrc", f"location={URL}",
                            f"protocols={transport}", "latency=50", "!", "rtph264depay", "!", "fakesink"]


def cpu(command):
    """CPU seconds of a run, and what it printed."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    run = subprocess.run(command, capture_output=True, text=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, run.stdout


print(f"load {os.getloadavg()[0]:.1f}, {SECONDS} s each")
for transport in ("tcp", "udp"):
    megabits = None
    for (name, short), (_, long) in zip(clients(transport, SHORT), clients(transport, SECONDS)):
        used = cpu(short)[0]
        total, output = cpu(long)
        if name == "live":
            megabits = sum(map(int, re.findall(r"bytes (\d+)", output))) * 8 / 1e6 / SECONDS
        rate = (total - used) / (SECONDS - SHORT) * 1000
        print(f"{transport} {name:9} {rate:7.2f} ms of CPU per second, {rate / megabits:6.3f} per Mbit/s "
              f"({megabits:.1f} Mbit/s)", flush=True)
