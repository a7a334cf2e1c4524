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
BUFFER = 0.02  # seconds of sound in an output buffer of the G.711 stream

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

    def frequency(self, first, last):
        part = self.samples[first:last]
        crossings = [i for i in range(1, len(part)) if part[i - 1] < 0 <= part[i]]
        # The middle one of many short measurements: a seam in the sound spoils only those that it is in.
        periods = 40
        spans = sorted(b - a for a, b in zip(crossings, crossings[periods:]))
        return periods * RATE / spans[len(spans) // 2] if spans else 0


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


def patiently(test):
    """Up to three attempts: a machine that is busy with something else starves the player or the sound server."""
    def attempts(self):
        for _ in range(2):
            try:
                return test(self)
            except AssertionError as failure:
                print(f"once more: {failure}", file=sys.stderr)
        return test(self)
    return attempts


class SoundTest(unittest.TestCase):
    def gaps(self, stretches):
        return [(b[0] - a[1]) / RATE for a, b in zip(stretches, stretches[1:])]

    def check_tone(self, heard, first, last, level=1.0):
        margin = RATE // 20
        self.assertAlmostEqual(heard.frequency(first + margin, last - margin), TONE, delta=1.5)
        loudness = heard.level(first + margin, last - margin) * math.sqrt(2) / (PEAK * level)
        self.assertAlmostEqual(decibels(loudness), 0, delta=0.5)

    def check_steady(self, codec, seconds):
        with Recording() as heard:
            figures = play(codec, seconds * 1000)
        stretches = heard.sounding()
        self.assertTrue(stretches)
        self.check_tone(heard, stretches[0][0], stretches[-1][1])
        self.assertLessEqual(max(self.gaps(stretches), default=0), BUFFER)
        self.assertAlmostEqual((stretches[-1][1] - stretches[0][0]) / RATE, seconds, delta=0.15)
        self.assertEqual(figures["dropped"], 0)
        self.assertEqual(figures["queued at the end"], 0)

    @patiently
    def test_tone_in_g711(self):
        self.check_steady("pcmu", 3)

    @patiently
    def test_tone_in_aac_at_8000_hz(self):
        self.check_steady("aac8000", 2)

    @patiently
    def test_tone_in_aac_at_16000_hz(self):
        self.check_steady("aac16000", 2)

    @patiently
    def test_mute_volume_and_pause(self):
        with Recording() as heard:
            play("pcmu", 3000, "mute=700", "unmute=1300", "half=1500", "off=2000", "on=2400")
        stretches = heard.sounding(PEAK / 40)
        gaps = self.gaps(stretches)
        # The two pauses are the longest gaps: a busy machine makes short ones.
        first, second = sorted(sorted(range(len(gaps)), key=gaps.__getitem__)[-2:])
        self.assertAlmostEqual(gaps[first], 0.6, delta=2 * BUFFER)
        self.assertAlmostEqual(gaps[second], 0.4, delta=2 * BUFFER)
        silence = heard.samples[stretches[first][1] + RATE // 100:stretches[first + 1][0] - RATE // 100]
        self.assertLessEqual(max(map(abs, silence)), 1)
        self.check_tone(heard, *max(stretches[:first + 1], key=lambda s: s[1] - s[0]))
        self.check_tone(heard, *max(stretches[second + 1:], key=lambda s: s[1] - s[0]), level=0.25)

    def test_without_a_server(self):
        self.assertIsNone(play("pcmu", 1000, server="unix:/nonexistent/socket"))

    @patiently
    def test_server_that_goes(self):
        ending = ["env", "-u", "NORIX_SOUND_MONITOR", ROOT / "scripts/with-sound", "sh", "-c",
                  '(sleep 2; pactl exit) & exec "$@"', "sh"]
        figures = play("pcmu", 6000, before=ending)
        self.assertLess(figures["longest insert"], 50)
        self.assertEqual(figures["queued at the end"], 0)
        self.assertLess(figures["stopped in"], 3000)


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
    print(f"sound {(last - first) / RATE:.3f} s, {heard.frequency(first, last):.2f} Hz,"
          f" {decibels(heard.level(first, last) * math.sqrt(2) / PEAK):.2f} dB,"
          f" {len(gaps)} gaps, longest {max(gaps, default=0):.1f} ms, at"
          f" {[round((s[1] - first) / RATE, 2) for s in stretches[:10]]}")


if __name__ == "__main__":
    if len(sys.argv) > 3:
        measure(sys.argv[3], int(sys.argv[4]), *sys.argv[5:])
    else:
        del sys.argv[1:]
        unittest.main(verbosity=2)
