#!/usr/bin/env python3
"""Plays a tone through the audio player under Wine and listens to what comes out. Runs inside of scripts/with-sound:

    sound_test.py PLAYER FOLDER                                  the tests
    sound_test.py PLAYER FOLDER CODEC MILLISECONDS [COMMAND ...]    one run of the player, figures only
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
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
RATE = 16000  # of the recording
TONE = 440
PEAK = 0.25 * 32768

player, sounds = sys.argv[1:3]


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


def play(codec, milliseconds, *commands, before=(), server=None):
    """Runs the player; its figures, or None where it found no device."""
    environment = dict(os.environ, **({"PULSE_SERVER": server} if server else {}))
    run = subprocess.run([*before, ROOT / "scripts/wine-run", player, sounds, codec, str(milliseconds), *commands],
                         check=True, capture_output=True, text=True, env=environment)
    if "no device" in run.stdout:
        return None
    return {name.strip(): int(value) for name, value in re.findall(r"([A-Za-z ]+) (\d+)", run.stdout)}


class SoundTest(unittest.TestCase):
    """What arrives is judged, not when: a busy machine makes gaps, and only more of them. Figures of gaps: see measure()."""

    def check_tone(self, heard, stretches):
        self.assertAlmostEqual(heard.frequency(stretches), TONE, delta=1.5)
        window = RATE // 40
        levels = sorted(heard.level(at, at + window) for first, last in stretches for at in range(first, last - window, window))
        self.assertAlmostEqual(decibels(levels[len(levels) // 2] * math.sqrt(2) / PEAK), 0, delta=0.5)

    def check_steady(self, codec, seconds):
        with Recording() as heard:
            figures = play(codec, seconds * 1000)
        stretches = heard.sounding()
        self.assertTrue(stretches)
        self.check_tone(heard, stretches)
        sounded = sum(last - first for first, last in stretches) / RATE
        self.assertGreater(sounded, 0.5 * seconds)
        self.assertLess(sounded, seconds + 0.15)
        self.assertEqual(figures["queued at the end"], 0)

    def test_tone_in_g711(self):
        self.check_steady("pcmu", 3)

    def test_tone_in_aac_at_8000_hz(self):
        self.check_steady("aac8000", 2)

    def test_tone_in_aac_at_16000_hz(self):
        self.check_steady("aac16000", 2)

    def test_mute_volume_and_pause(self):
        with Recording() as heard:
            play("pcmu", 5000, "mute=800", "unmute=1800", "half=2600", "off=3400", "on=4200")
        # Half the volume is a quarter of the level.
        parts = heard.parts({"full": 1.0, "quarter": 0.25, "silence": 0.0},
                            {"full": 0.1, "quarter": 0.1, "silence": 0.5})
        self.assertEqual([name for name, _, _ in parts], ["full", "silence", "full", "quarter", "silence", "quarter"])
        muted = heard.samples[parts[1][1] + RATE // 100:parts[1][2] - RATE // 100]
        self.assertLessEqual(max(map(abs, muted)), 1)

    def test_without_a_server(self):
        self.assertIsNone(play("pcmu", 1000, server="unix:/nonexistent/socket"))

    def test_server_that_goes(self):
        ending = ["env", "-u", "NORIX_SOUND_MONITOR", ROOT / "scripts/with-sound", "sh", "-c",
                  '(sleep 2; pactl exit) & exec "$@"', "sh"]
        figures = play("pcmu", 6000, before=ending)
        # Nobody waits for a server that has gone: that would be seconds.
        self.assertLess(figures["longest insert"], 1000)
        self.assertEqual(figures["queued at the end"], 0)
        self.assertLess(figures["stopped in"], 5000)


def measure(codec, milliseconds, *commands):
    with Recording() as heard:
        figures = play(codec, milliseconds, *commands)
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
    if len(sys.argv) > 3:
        measure(sys.argv[3], int(sys.argv[4]), *sys.argv[5:])
    else:
        del sys.argv[1:]
        unittest.main(verbosity=2)
