#!/usr/bin/env python3
"""Plays a tone into a virtual microphone, talks under Wine and judges what arrives. Runs inside of scripts/with-sound:

    talk.py TALKER SECONDS           pitch, level, gaps, arrivals
    talk.py TALKER delay ROUNDS      from the microphone to the socket
"""

import array
import math
import os
import pathlib
import re
import subprocess
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from listener import Listener, expand  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]
MIC_RATE = 48000
WIRE_RATE = 8000
PEAK = 0.25 * 32768
FREQUENCY = 440


def tone(seconds, frequency=FREQUENCY, rate=MIC_RATE):
    return array.array("h", (round(PEAK * math.sin(2 * math.pi * frequency * i / rate)) for i in range(int(seconds * rate))))


class Microphone:
    """What is said into the microphone: a tone, over and over, while a `with` block runs."""

    def __init__(self, samples=None):
        self.samples = (samples if samples is not None else tone(1)).tobytes()

    def __enter__(self):
        self.player = subprocess.Popen(
            ["pacat", "-d", os.environ["NORIX_SOUND_MIC"], "--raw", "--format=s16le", f"--rate={MIC_RATE}", "--channels=1",
             "--latency-msec=50"], stdin=subprocess.PIPE, stderr=subprocess.DEVNULL)
        threading.Thread(target=self._speak, daemon=True).start()
        return self

    def _speak(self):
        try:
            while True:
                self.player.stdin.write(self.samples)
        except OSError:
            pass

    def __exit__(self, *_):
        self.player.kill()
        self.player.wait()


def run(talker, url, codec, rate, milliseconds, *more, server=None, before=()):
    """Talks; (rounds, growth): a dict per round, and the threads after the first round and at the end."""
    environment = dict(os.environ, **({"PULSE_SERVER": server} if server else {}))
    result = subprocess.run([*before, ROOT / "scripts/wine-run", talker, url, str(codec), str(rate), str(milliseconds), *map(str, more)],
                            check=True, capture_output=True, text=True, env=environment)
    rounds = [dict(zip(("started", "state", "level", "stopped"), map(int, found))) for found in re.findall(
        r"started (\d+), state (\d+), level (\d+), stopped in (\d+) ms", result.stdout)]
    growth = tuple(map(int, re.search(r"threads (\d+) to (\d+)", result.stdout).groups()))
    return rounds, growth


def crossings(samples):
    return [i - samples[i] / (samples[i] - samples[i - 1]) for i in range(1, len(samples))
            if samples[i - 1] < 0 <= samples[i]]


def frequency(samples, rate=WIRE_RATE):
    """The middle one of many short measurements: seams spoil only those that they are in."""
    found = crossings(samples)
    spans = sorted(b - a for a, b in zip(found, found[8:]))
    return 8 * rate / spans[len(spans) // 2] if spans else 0


def decibels(samples, peak=PEAK):
    """The level of a tone against that of the microphone's."""
    level = math.sqrt(2 * sum(s * s for s in samples) / max(len(samples), 1))
    return 20 * math.log10(max(level / peak, 1e-9))


def silences(samples, rate=WIRE_RATE):
    """Milliseconds of each stretch in which no period of the tone is heard."""
    gaps, last = [], None
    for at, sample in enumerate(samples):
        if abs(sample) > PEAK / 10:
            if last is not None and at - last > rate // 200:
                gaps.append((at - last) * 1000 / rate)
            last = at
    return gaps


def seams(samples, rate=WIRE_RATE):
    """How often the tone goes on at another phase: something is missing there, or was put in."""
    found = crossings(samples)
    period = rate / FREQUENCY
    return sum(abs(b - a - period) > 0.5 for a, b in zip(found, found[1:]))


def sound_of(samples):
    """From the first to the last moment at which there is a tone."""
    loud = [i for i, s in enumerate(samples) if abs(s) > PEAK / 10]
    return samples[loud[0]:loud[-1] + 1] if loud else samples[:0]


def percentile(values, part):
    ordered = sorted(values)
    return ordered[min(int(len(ordered) * part), len(ordered) - 1)] if ordered else 0


def measure(talker, seconds):
    with Listener() as camera, Microphone():
        rounds, growth = run(talker, camera.url, 1, 8000, seconds * 1000)
    post = camera.posts[-1]
    heard = sound_of(expand(post.body))
    steps = [b[0] - a[0] for a, b in zip(post.arrivals, post.arrivals[1:])]
    span = post.arrivals[-1][0] - post.arrivals[0][0]
    print(post.head.decode(), end="")
    print(rounds, growth)
    print(f"{len(post.body)} bytes in {span:.2f} s, sound {len(heard) / WIRE_RATE:.2f} s, {frequency(heard):.2f} Hz,"
          f" {decibels(heard):.2f} dB, silences {[round(g) for g in silences(heard)]}, seams {seams(heard)},"
          f" arrivals p95 {percentile(steps, .95) * 1000:.0f} ms, longest {max(steps) * 1000:.0f} ms")


def onsets(chunks, rate, width, sample_of):
    """When each tone that follows silence arrived: of [(time, bytes so far)] and a function from a place to a sample."""
    times, quiet, at = [], rate // 10, 0
    for moment, end in chunks:
        while at < end // width:
            if abs(sample_of(at)) > PEAK / 4:
                if quiet >= rate // 10:
                    times.append(moment)
                quiet = 0
            else:
                quiet += 1
            at += 1
    return times


def delay(talker, count):
    """A second recorder says when a tone was in the microphone, to some 10 ms."""
    pattern = tone(0.2)
    pattern.extend([0] * (MIC_RATE * 37 // 50))  # at ever other places of the 64 ms blocks
    recorded, chunks = bytearray(), []
    recorder = subprocess.Popen(["parec", "-d", os.environ["NORIX_SOUND_MIC"] + ".monitor", "--raw", "--format=s16le",
                                 "--rate=8000", "--channels=1", "--latency-msec=10"], stdout=subprocess.PIPE)

    def record():
        while data := os.read(recorder.stdout.fileno(), 4096):
            recorded.extend(data)
            chunks.append((time.monotonic(), len(recorded)))

    threading.Thread(target=record, daemon=True).start()
    with Listener() as camera, Microphone(pattern):
        run(talker, camera.url, 1, 8000, count * 1000)
    recorder.kill()
    spoken = array.array("h", bytes(recorded[:len(recorded) // 2 * 2]))
    heard = expand(camera.posts[-1].body)
    said = onsets(chunks[:-1], 8000, 2, lambda at: spoken[at])
    arrived = onsets(camera.posts[-1].arrivals, WIRE_RATE, 1, lambda at: heard[at])
    delays = []
    for moment in arrived[1:]:
        before = [m for m in said if m <= moment]
        if before:
            delays.append((moment - before[-1]) * 1000)
    print(f"{len(delays)} tones: median {percentile(delays, .5):.0f} ms, p95 {percentile(delays, .95):.0f} ms,"
          f" longest {max(delays):.0f} ms")


if __name__ == "__main__":
    if sys.argv[2] == "delay":
        delay(sys.argv[1], int(sys.argv[3]))
    else:
        measure(sys.argv[1], int(sys.argv[2]))
