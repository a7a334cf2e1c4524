"""Recordings read by readers that nobody here wrote: ffprobe, FFmpeg's decoders, GStreamer's avidemux.

reader_test.py FEED [--kills N]
"""

import json
import os
import random
import subprocess
import sys
import tempfile
import unittest

FEED = sys.argv[1]
KILLS = int(sys.argv[sys.argv.index("--kills") + 1]) if "--kills" in sys.argv else 0
SECONDS = 6

VIDEO = {
    "h264": ["-c:v", "libx264", "-preset", "ultrafast", "-g", "25", "-bf", "0", "-f", "h264"],
    "h265": ["-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=none:keyint=25:bframes=0:repeat-headers=1", "-f", "hevc"],
    "mpeg4": ["-c:v", "mpeg4", "-g", "25", "-f", "m4v"],
    "mjpeg": ["-c:v", "mjpeg", "-pix_fmt", "yuvj420p", "-f", "mjpeg"],
}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True)


def packets(path, *fields, select="v"):
    """What ffprobe finds of each packet."""
    result = run("ffprobe", "-v", "error", "-select_streams", select, "-show_packets", "-show_data_hash", "md5", "-of", "json", path)
    return [p for p in json.loads(result.stdout)["packets"]]


class Clips:
    """Elementary streams cut into frames, made once."""

    def __init__(self, folder):
        self.folder = folder
        self.video = {name: self._video(name) for name in VIDEO}
        self.audio = {"none": ("none 0 -", []), "pcmu": self._pcmu(), "aac": self._aac()}

    def _make(self, name, *options):
        path = os.path.join(self.folder, name)
        run("ffmpeg", "-v", "error", "-y", "-f", "lavfi", *options, path)
        return path

    def _video(self, name):
        source = ["-i", f"testsrc=size=320x240:rate=25:duration={SECONDS}", "-pix_fmt", "yuv420p"]
        path = self._make(name, *source, *VIDEO[name])
        with open(path, "rb") as file:
            data = file.read()
        starts = self._starts(name, data)
        ends = starts[1:] + [len(data)]
        return [(path, begin, end - begin, i * 40) for i, (begin, end) in enumerate(zip(starts, ends))]

    @staticmethod
    def _starts(name, data):
        if name == "mjpeg":
            mark, at = [], data.find(b"\xff\xd8\xff")
            while at >= 0:
                mark.append(at)
                at = data.find(b"\xff\xd8\xff", at + 3)
            return mark
        # A frame begins with the first start code behind the picture before.
        picture = {"h264": lambda b: b & 31 in (1, 5), "h265": lambda b: (b >> 1 & 63) < 32, "mpeg4": lambda b: b == 0xB6}[name]
        mark, fresh, at = [], True, data.find(b"\0\0\1")
        while at >= 0:
            if fresh:
                mark.append(at - 1 if at and data[at - 1] == 0 else at)
            fresh = picture(data[at + 3])
            at = data.find(b"\0\0\1", at + 3)
        return mark

    def _pcmu(self):
        path = self._make("pcmu", "-i", f"sine=frequency=440:duration={SECONDS}", "-ar", "8000", "-ac", "1", "-f", "mulaw")
        return "pcmu 8000 -", [(path, i * 320, 320, i * 40) for i in range(SECONDS * 25)]

    def _aac(self):
        path = self._make("aac", "-i", f"sine=frequency=440:duration={SECONDS}", "-ar", "16000", "-ac", "1", "-c:a", "aac", "-f", "adts")
        with open(path, "rb") as file:
            data = file.read()
        frames, at = [], 0
        while at + 7 <= len(data):
            size = (data[at + 3] & 3) << 11 | data[at + 4] << 3 | data[at + 5] >> 5
            frames.append((path, at + 7, size - 7, len(frames) * 64))
            at += size
        return "aac 16000 14080000", frames

    def frame_list(self, video, audio, seconds=0, size=0):
        head, sound = self.audio[audio]
        pictures = self.video.get(video, [])
        rows = [("video", *f) for f in pictures] + [("audio", *f) for f in sound]
        rows.sort(key=lambda row: (row[4], row[0] == "audio"))
        path = os.path.join(self.folder, f"{video}-{audio}.txt")
        with open(path, "w", encoding="ascii") as file:
            file.write(f"{video} {head} {seconds} {size}\n")
            for kind, name, offset, length, pts in rows:
                file.write(f"{kind} {pts} {name} {offset} {length}\n")
        return path


def gstreamer_chunks(path):
    """Video bytes and audio bytes as avidemux gives them out."""
    import gi

    gi.require_version("Gst", "1.0")
    from gi.repository import Gst

    Gst.init(None)
    counts = {"video": 0, "audio": 0}
    pipeline = Gst.parse_launch(f"filesrc location={path} ! avidemux name=d")
    demux = pipeline.get_by_name("d")

    def added(_, pad):
        kind = pad.get_name().split("_")[0]
        sink = Gst.ElementFactory.make("fakesink")
        sink.set_property("sync", False)
        sink.set_property("signal-handoffs", True)

        def take(_, buffer, __):
            counts[kind] += buffer.get_size()

        sink.connect("handoff", take)
        pipeline.add(sink)
        sink.sync_state_with_parent()
        pad.link(sink.get_static_pad("sink"))

    demux.connect("pad-added", added)
    pipeline.set_state(Gst.State.PLAYING)
    message = pipeline.get_bus().timed_pop_filtered(30 * Gst.SECOND, Gst.MessageType.EOS | Gst.MessageType.ERROR)
    pipeline.set_state(Gst.State.NULL)
    if message is None or message.type == Gst.MessageType.ERROR:
        raise AssertionError(f"{path}: {message.parse_error() if message else 'no end'}")
    return counts


class ReaderTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.clips = Clips(cls.temporary.name)

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def record(self, *arguments, **limits):
        folder = tempfile.mkdtemp(dir=self.temporary.name)
        run(FEED, self.clips.frame_list(*arguments, **limits), folder)
        return sorted(os.path.join(folder, name) for name in os.listdir(folder))

    def check_decodes(self, path):
        result = run("ffmpeg", "-v", "error", "-xerror", "-i", path, "-f", "null", "-")
        self.assertEqual(result.stderr, "", path)

    def test_every_kind_of_stream(self):
        kinds = [(v, a) for v in VIDEO for a in ("pcmu", "aac", "none")] + [("none", "pcmu"), ("none", "aac")]
        for video, audio in kinds:
            with self.subTest(video=video, audio=audio):
                [path] = self.record(video, audio)
                self.check_decodes(path)
                sent = self.clips.video.get(video, [])
                got = packets(path) if sent else []
                self.assertEqual([int(p["size"]) for p in got], [f[2] for f in sent])
                self.assertEqual("K" in got[0]["flags"] if got else True, True)
                # Of sound alone ffprobe makes an estimate from the file's size.
                length = float(SECONDS) if not sent else float(run("ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", path).stdout)
                self.assertAlmostEqual(length, SECONDS, delta=0.1)
                counts = gstreamer_chunks(path)
                self.assertEqual(counts["video"], sum(f[2] for f in sent))
                self.assertEqual(counts["audio"], sum(f[2] for f in self.clips.audio[audio][1]))

    def test_key_flags_are_the_decoders(self):
        for video in VIDEO:
            [path] = self.record(video, "none")
            frames = json.loads(run("ffprobe", "-v", "error", "-show_frames", "-show_entries", "frame=key_frame", "-of", "json", path).stdout)
            self.assertEqual(["K" in p["flags"] for p in packets(path)], [f["key_frame"] == 1 for f in frames["frames"]])

    def test_rotation(self):
        files = self.record("h264", "pcmu", seconds=1)
        self.assertEqual(len(files), 3)
        sizes = []
        for path in files:
            self.check_decodes(path)
            sizes += [int(p["size"]) for p in packets(path)]
        self.assertEqual(sizes, [f[2] for f in self.clips.video["h264"]])

    # Five gigabytes, which are holes for the most part: files that any reader's numbers are large enough for.
    @unittest.skipUnless(KILLS, "only in the long run")
    def test_large(self):
        picture, size, count = os.path.join(self.temporary.name, "large"), 700_000, 7700
        with open(picture, "wb") as file, open(self.clips.video["mjpeg"][0][0], "rb") as clip:
            file.write(clip.read(self.clips.video["mjpeg"][0][2]))
            file.truncate(size)
        frames = os.path.join(self.temporary.name, "large.txt")
        with open(frames, "w", encoding="ascii") as file:
            file.write("mjpeg none 0 - 0 0\n")
            file.writelines(f"video {i * 40} {picture} 0 {size}\n" for i in range(count))
        with tempfile.TemporaryDirectory(dir=self.temporary.name) as folder:
            run(FEED, frames, folder)
            paths = sorted(os.path.join(folder, name) for name in os.listdir(folder))
            self.assertEqual(len(paths), 3)
            found = run(FEED, "--check", *paths).stdout.split()
            self.assertEqual(sum(map(int, found)), count)
            for path, chunks in zip(paths, found):
                self.assertLess(os.path.getsize(path), 1 << 31)
                last = run("ffprobe", "-v", "error", "-read_intervals", f"{int(chunks) * 0.04 - 1}", "-show_entries",
                           "packet=pts_time,size", "-of", "csv=p=0", path).stdout.split()[-1]
                self.assertEqual(last, f"{(int(chunks) - 1) * 0.04:.6f},{size}")

    @unittest.skipUnless(KILLS, "only in the long run")
    def test_killed(self):
        frames = self.clips.frame_list("h264", "pcmu")
        generator = random.Random(7)
        for _ in range(KILLS):
            folder = tempfile.mkdtemp(dir=self.temporary.name)
            with subprocess.Popen([FEED, frames, folder, "200"], stdout=subprocess.PIPE, text=True) as feed:
                until = generator.uniform(1000, SECONDS * 1000 - 100)
                pts = 0
                for line in feed.stdout:
                    pts = int(line)
                    if pts >= until:
                        break
                feed.kill()
            [path] = [os.path.join(folder, name) for name in os.listdir(folder)]
            result = subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-f", "null", "-"], capture_output=True, text=True, check=True)
            self.assertEqual(result.stderr, "")
            self.assertGreaterEqual((len(packets(path)) + 50) * 40, pts)
            gstreamer_chunks(path)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
