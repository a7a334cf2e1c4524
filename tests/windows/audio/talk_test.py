#!/usr/bin/env python3
"""The operator's voice, from a virtual microphone to a plain TCP server. Runs inside of scripts/with-sound: talk_test.py
TALKER

What arrives is judged, not when: a busy machine makes gaps, and only more of them. What comes of a camera's answers is
control_tests' affair."""

import array
import pathlib
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "bench" / "audio"))
from listener import Listener, expand  # noqa: E402
from talk import ROOT, Microphone, decibels, frequency, run, sound_of, tone  # noqa: E402

TALKER = sys.argv[1]
PCMU, AAC, PCM = 1, 2, 3
TALKING = 2
NO_MICROPHONE = 7


class TalkTest(unittest.TestCase):
    def talk(self, codec, rate, milliseconds=3000):
        with Listener() as camera, Microphone():
            rounds, _ = run(TALKER, camera.url, codec, rate, milliseconds)
        self.assertEqual(rounds[0]["state"], TALKING)
        self.assertGreater(rounds[0]["level"], 70)
        return camera.posts[0]

    def judge(self, samples, rate):
        heard = sound_of(samples)
        self.assertGreater(len(heard), rate)
        self.assertAlmostEqual(frequency(heard, rate), 440, delta=1)
        # Where it is steady: gaps of a busy machine are no matter of level.
        parts = sorted(decibels(heard[at:at + rate // 10]) for at in range(0, len(heard) - rate // 10, rate // 10))
        self.assertAlmostEqual(parts[len(parts) // 2], 0, delta=0.5)

    def test_mu_law(self):
        post = self.talk(PCMU, 8000)
        self.assertEqual(post.head, b"POST /kest-cgi/audiopost.cgi HTTP/1.1\r\nHOST: 127.0.0.1\r\nConnection:Keep-Alive\r\n"
                                    b"Content-type: audio/pcmu\r\n\r\n")
        self.assertEqual(len(post.body) % 512, 0)
        self.judge(expand(post.body), 8000)

    def test_pcm(self):
        post = self.talk(PCM, 16000)
        self.assertIn(b"Content-type: audio/pcm;rate=16000\r\n", post.head)
        self.assertEqual(len(post.body) % 2, 0)
        self.judge(array.array("h", post.body), 16000)

    def test_aac_as_ffmpeg_hears_it(self):
        post = self.talk(AAC, 16000)
        decoded = subprocess.run(["ffmpeg", "-v", "error", "-f", "aac", "-i", "-", "-f", "s16le", "-"], input=post.body,
                                 check=True, capture_output=True)
        self.assertEqual(decoded.stderr, b"")
        self.judge(array.array("h", decoded.stdout), 16000)

    def test_without_a_microphone(self):
        with Listener() as camera:
            rounds, _ = run(TALKER, camera.url, PCMU, 8000, 100, server="unix:/nonexistent/socket")
        self.assertEqual((rounds[0]["started"], camera.posts), (0, []))

    def test_server_that_goes(self):
        """As a microphone that is pulled out."""
        ending = ["env", "-u", "NORIX_SOUND_MONITOR", ROOT / "scripts/with-sound", "sh", "-c",
                  '(sleep 2; pactl exit) & exec "$@"', "sh"]
        with Listener() as camera:
            rounds, _ = run(TALKER, camera.url, PCMU, 8000, 6500, before=ending)
        self.assertEqual(rounds[0]["state"], NO_MICROPHONE)

    def test_many_rounds_leave_nothing(self):
        with Listener() as camera, Microphone(tone(1)):
            rounds, (threads, later) = run(TALKER, camera.url, PCMU, 8000, 50, 10)
        self.assertEqual([r["started"] for r in rounds], [1] * 10)
        self.assertLessEqual(later, threads)


if __name__ == "__main__":
    del sys.argv[1:]
    unittest.main(verbosity=2)
