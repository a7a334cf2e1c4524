#!/usr/bin/env python3
"""What a sound server hears of the audio player, and that nobody waits for one that has gone. Runs inside of
scripts/with-sound: sound_test.py PLAYER FOLDER

What arrives is judged, not when: a busy machine makes gaps, and only more of them. That each codec's tone is the right
one is heard in the live view."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "bench" / "audio"))
from sound import RATE, ROOT, Recording, play  # noqa: E402

PLAYER = sys.argv[1:3]


class SoundTest(unittest.TestCase):
    def test_mute_volume_and_pause(self):
        with Recording() as heard:
            play(*PLAYER, "pcmu", 5000, "mute=800", "unmute=1800", "half=2600", "off=3400", "on=4200")
        # Half the volume is a quarter of the level.
        parts = heard.parts({"full": 1.0, "quarter": 0.25, "silence": 0.0},
                            {"full": 0.1, "quarter": 0.1, "silence": 0.5})
        self.assertEqual([name for name, _, _ in parts], ["full", "silence", "full", "quarter", "silence", "quarter"])
        muted = heard.samples[parts[1][1] + RATE // 100:parts[1][2] - RATE // 100]
        self.assertLessEqual(max(map(abs, muted)), 1)

    def test_without_a_server(self):
        self.assertIsNone(play(*PLAYER, "pcmu", 1000, server="unix:/nonexistent/socket"))

    def test_server_that_goes(self):
        ending = ["env", "-u", "NORIX_SOUND_MONITOR", ROOT / "scripts/with-sound", "sh", "-c",
                  '(sleep 2; pactl exit) & exec "$@"', "sh"]
        figures = play(*PLAYER, "pcmu", 4000, before=ending)
        # Nobody waits for a server that has gone: that would be seconds.
        self.assertLess(figures["longest insert"], 1000)
        self.assertEqual(figures["queued at the end"], 0)
        self.assertLess(figures["stopped in"], 5000)


if __name__ == "__main__":
    del sys.argv[1:]
    unittest.main(verbosity=2)
