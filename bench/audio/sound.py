#!/usr/bin/env python3
"""Plays a tone through the audio player under Wine and listens to what comes out. Runs inside of scripts/with-sound:

    sound.py PLAYER FOLDER CODEC MILLISECONDS [COMMAND ...]
"""

import array
import math
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
RATE = 16000  # of the recording
PEAK = 0.25 * 32768  # of the tone


class Recording:
    """What the sound server played while a `with` block ran."""

    def __enter__(self):
        self.file = tempfile.NamedTemporaryFile()
        self.recorder = subprocess.Popen(
            ["parec", "-d", os.environ["NORIX_SOUND_MONITOR"], "--raw", "--format=s16le", f"--rate={RATE}", "--channels=1",
             "--latency-msec=20"], stdout=self.file, stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + 10
        while os.fstat(self.file.fileno()).st_size == 0 and time.monotonic() < deadline:
            time.sleep(0.01)
        return self

    def __exit__(self, *_):
        time.sleep(0.2)
        self.recorder.terminate()
        self.recorder.wait()
        data = pathlib.Path(self.file.name).read_bytes()
        self.samples = array.array("h", data[:len(data) // 2 * 2])
        self.file.close()

    def sounding(self, threshold=PEAK / 20):
        """[(first, last sample)] of the stretches of sound that are parted by at least 3 ms of near silence."""
        stretches = []
        least = RATE * 3 // 1000
        for at, sample in enumerate(self.samples):
            if abs(sample) > threshold:
                if stretches and at - stretches[-1][1] <= least:
                    stretches[-1][1] = at
                else:
                    stretches.append([at, at])
        return stretches

    def level(self, first, last):
        part = self.samples[first:last]
        return math.sqrt(sum(s * s for s in part) / len(part)) if part else 0

    def parts(self, levels, shortest):
        """[(name, first, last sample)]: what follows what, by the nearest of the named levels; each only counts when it
        lasts its `shortest` seconds."""
        window = RATE // 40
        found = []
        for at in range(0, len(self.samples) - window, window):
            loudness = self.level(at, at + window) * math.sqrt(2) / PEAK
            name = min(levels, key=lambda name: abs(levels[name] - loudness))
            if abs(levels[name] - loudness) < 0.05:
                found.append((name, at, at + window))
        long = joined([part for part in joined(found) if part[2] - part[1] >= shortest[part[0]] * RATE])
        return [part for i, part in enumerate(long) if part[0] != "silence" or 0 < i < len(long) - 1]

    def frequency(self, stretches):
        """The middle one of many short measurements: seams in the sound spoil only those that they are in."""
        periods, spans = 8, []
        for first, last in stretches:
            part = self.samples[first:last]
            crossings = [i - part[i] / (part[i] - part[i - 1]) for i in range(1, len(part)) if part[i - 1] < 0 <= part[i]]
            spans += [b - a for a, b in zip(crossings, crossings[periods:])]
        return periods * RATE / sorted(spans)[len(spans) // 2] if spans else 0


def joined(parts):
    """The same with neighbours of one name as one."""
    result = []
    for name, first, last in parts:
        if result and result[-1][0] == name:
            first = result.pop()[1]
        result.append((name, first, last))
    return result


def decibels(ratio):
    return 20 * math.log10(max(ratio, 1e-9))


def play(player, sounds, codec, milliseconds, *commands, before=(), server=None):
    """Runs the player; its figures, or None where it found no device."""
    environment = dict(os.environ, **({"PULSE_SERVER": server} if server else {}))
    run = subprocess.run([*before, ROOT / "scripts/wine-run", player, sounds, codec, str(milliseconds), *commands],
                         check=True, capture_output=True, text=True, env=environment)
    if "no device" in run.stdout:
        return None
    return {name.strip(): int(value) for name, value in re.findall(r"([A-Za-z ]+) (\d+)", run.stdout)}


def measure(player, sounds, codec, milliseconds, *commands):
    with Recording() as heard:
        figures = play(player, sounds, codec, milliseconds, *commands)
    print(figures)
    stretches = heard.sounding()
    if not stretches:
        print("silence")
        return
    first, last = stretches[0][0], stretches[-1][1]
    gaps = [(b[0] - a[1]) / RATE * 1000 for a, b in zip(stretches, stretches[1:])]
    print(f"sound {(last - first) / RATE:.3f} s, {heard.frequency(stretches):.2f} Hz,"
          f" {decibels(heard.level(first, last) * math.sqrt(2) / PEAK):.2f} dB,"
          f" {len(gaps)} gaps, longest {max(gaps, default=0):.1f} ms, at"
          f" {[round((s[1] - first) / RATE, 2) for s in stretches[:10]]}")


if __name__ == "__main__":
    measure(*sys.argv[1:4], int(sys.argv[4]), *sys.argv[5:])
