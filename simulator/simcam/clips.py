"""The pictures and the sound: encoded once with FFmpeg, kept in the cache, sent in a loop ever after.

A clip is an elementary stream and a text file with one line per frame: offset, size, 1 for a key frame. The loop is a
minute long and has a key frame each second, so its clock can agree with the one on the wall."""

import fcntl
import hashlib
import json
import math
import mmap
import os
import subprocess
from dataclasses import dataclass
from typing import NamedTuple

from simcam.log import log
from simcam.options import Options

LOOP_SECONDS = 60
SIZES = {1: (1280, 720), 2: (640, 360)}
SCENE_SIZE = (2560, 1440)
BOX_SHARE = 8  # of the picture's height: what moves
AUDIO_RATES = {"pcmu": 8000, "aac": 16000}
PCMU_PACKET = 160
# 25 AAC frames are a whole number of 440 Hz periods and 125 are 8 s, so loops of 125 have no seam. The first second
# is left out, because there the encoder is still settling.
AAC_FRAMES = 125

_FONT = "fontcolor=white:box=1:boxcolor=black@0.7:boxborderw=6"
_ENCODERS = {
    "h264": "-c:v libx264 -preset veryfast -tune zerolatency -profile:v main -crf 23 -sc_threshold 0 "
            "-x264-params sliced-threads=0:repeat-headers=1 -pix_fmt yuv420p -f h264",
    "h265": "-c:v libx265 -preset ultrafast -tune zerolatency -crf 26 "
            "-x265-params log-level=none:scenecut=0:repeat-headers=1:open-gop=0 -pix_fmt yuv420p -f hevc",
    "mpeg4": "-c:v mpeg4 -q:v 4 -bf 0 -pix_fmt yuv420p -f m4v",
    # RTP carries JPEG without its Huffman tables, so they have to be the standard ones.
    "mjpeg": "-c:v mjpeg -huffman default -q:v 7 -pix_fmt yuvj420p -f mjpeg",
}
CODEC_TITLES = {"h264": "H.264", "h265": "H.265", "mpeg4": "MPEG-4", "mjpeg": "MJPEG"}
_FFMPEG = ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y"]


class Frame(NamedTuple):
    data: bytes
    key: bool


@dataclass(frozen=True)
class Clip:
    """One loop of encoded frames."""

    frames: list[tuple[int, int, bool]]
    data: mmap.mmap | bytes

    def __len__(self) -> int:
        return len(self.frames)

    def frame(self, number: int) -> Frame:
        offset, size, key = self.frames[number % len(self.frames)]
        return Frame(self.data[offset:offset + size], key)


def title(channel: int, stream: int, codec: str) -> str:
    return f"NORIXCAM  CH {channel}  STREAM {stream}  {CODEC_TITLES[codec]}"


def box_at(now: float) -> tuple[tuple[float, float], tuple[float, float]]:
    """Where the box is that crosses the picture, in pixels of the first stream: left edge and width, top edge and
    height. As the recipe below draws it."""
    width, height = SIZES[1]
    box = height // BOX_SHARE
    t = now % 10
    return (t / 10 * (width + box) - box, box), (height * 0.6 + height * 0.15 * math.sin(2 * math.pi * t / 5), box)


class ClipStore:
    """Finds clips in the cache, and makes those that are missing."""

    def __init__(self, cache: str, fps: int, tone: str) -> None:
        self._folder = os.path.join(cache, "simulator")
        self._fps = fps
        self._tone = tone
        self._loaded: dict[str, Clip] = {}
        os.makedirs(self._folder, exist_ok=True)

    def prepare(self, options: Options) -> None:
        """Makes what is missing, several clips at once. Other simulators wait meanwhile."""
        with open(os.path.join(self._folder, ".lock"), "w") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.scene()
            runs = []
            for channel in range(1, options.channels + 1):
                for stream in options.streams:
                    missing = [codec for codec in options.codecs if not self._have(self._video_path(channel, stream, codec))]
                    if missing:
                        runs.append(self._start_encoding(channel, stream, missing))
            for process, paths in runs:
                log(f"clips: making {len(paths)}")
                if process.wait() != 0:
                    raise RuntimeError("FFmpeg could not make the clips")
                for path in paths:
                    self._finish(path)
            for kind in {"pcmu", options.audio} - {"none"}:
                if not self._have(self._audio_path(kind)):
                    self._encode_audio(kind)

    def video(self, channel: int, stream: int, codec: str) -> Clip:
        return self._load(self._video_path(channel, stream, codec))

    def audio(self, kind: str) -> Clip:
        """Packets as RTP carries them: 20 ms of mu-law, or one AAC frame without its ADTS header."""
        path = self._audio_path(kind)
        if path not in self._loaded:
            whole = self._load(path)
            if kind == "pcmu":
                size = len(whole.data)
                frames = [(at, PCMU_PACKET, True) for at in range(0, size - PCMU_PACKET + 1, PCMU_PACKET)]
            else:
                frames = [(at + 7, size - 7, True) for at, size, _ in whole.frames[AAC_FRAMES:2 * AAC_FRAMES]]
            self._loaded[path] = Clip(frames, whole.data)
        return self._loaded[path]

    def scene(self) -> str:
        """The whole of what the camera could look at; its picture is a part of it."""
        columns, rows = SCENE_SIZE[0] // 160, SCENE_SIZE[1] // 160
        filters = ["drawgrid=w=160:h=160:t=2:color=white@0.3"] + [
            f"drawtext=text='{chr(65 + column)}{row + 1}':x={160 * column + 20}:y={160 * row + 20}:fontsize=36:"
            "fontcolor=white@0.8" for column in range(columns) for row in range(rows)]
        source = (f"gradients=size={SCENE_SIZE[0]}x{SCENE_SIZE[1]}:c0=0x203048:c1=0x609070:nb_colors=2:x0=0:y0=0:"
                  f"x1={SCENE_SIZE[0]}:y1={SCENE_SIZE[1]}:speed=0.00001:seed=1")
        command = [*_FFMPEG, "-f", "lavfi", "-i", source, "-vf", ",".join(filters), "-frames:v", "1"]
        path = self._path("scene", command, "png")
        if not os.path.exists(path):
            subprocess.run([*command, path + ".new.png"], check=True)
            os.rename(path + ".new.png", path)
        return path

    def _path(self, name: str, key: object, ending: str) -> str:
        digest = hashlib.sha256(json.dumps(key).encode()).hexdigest()[:16]
        return os.path.join(self._folder, f"{name}-{digest}.{ending}")

    def _video_recipe(self, channel: int, stream: int, codec: str) -> tuple[str, str, list[str]]:
        """What all codecs share of the picture, what this one has of its own, and its encoder."""
        width, height = SIZES[stream]
        full_width, full_height = SIZES[1]
        text = height // 18
        shared = (
            # The scene stands still: it is cut and scaled once, and then only repeated.
            f"[0:v]crop={full_width}:{full_height},scale={width}:{height},format=yuv420p,loop=loop=-1:size=1,"
            f"setpts=N/{self._fps}/TB,fps={self._fps}[scene];"
            f"[scene][1:v]overlay=x='mod(t,10)/10*(W+w)-w':y='H*0.6+H*0.15*sin(2*PI*t/5)',"
            f"drawtext=text='sec %{{eif\\:mod(trunc(t+0.001),60)\\:d\\:2}}  frame %{{frame_num}}':x={text}:"
            f"y={text * 3}:fontsize={text}:{_FONT}")
        own = f"drawtext=text='{title(channel, stream, codec)}':x={text}:y={text}:fontsize={text}:{_FONT}"
        return shared, own, ["-t", str(LOOP_SECONDS), "-g", str(self._fps), *_ENCODERS[codec].split()]

    def _video_path(self, channel: int, stream: int, codec: str) -> str:
        recipe = self._video_recipe(channel, stream, codec)
        return self._path(f"ch{channel}-stream{stream}", [recipe, SIZES, self._fps], codec)

    def _start_encoding(self, channel: int, stream: int, codecs: list[str]) -> tuple[subprocess.Popen, list[str]]:
        recipes = [self._video_recipe(channel, stream, codec) for codec in codecs]
        paths = [self._video_path(channel, stream, codec) for codec in codecs]
        graph = f"{recipes[0][0]},split={len(codecs)}" + "".join(f"[in{i}]" for i in range(len(codecs)))
        outputs: list[str] = []
        for i, (_, own, encoder) in enumerate(recipes):
            graph += f";[in{i}]{own}[out{i}]"
            outputs += ["-map", f"[out{i}]", *encoder, paths[i] + ".new"]
        box = SIZES[stream][1] // BOX_SHARE
        inputs = ["-framerate", str(self._fps), "-i", self.scene(),
                  "-f", "lavfi", "-i", f"color=0xf0a030:size={box}x{box}:rate={self._fps}"]
        return subprocess.Popen([*_FFMPEG, *inputs, "-filter_complex", graph, *outputs]), paths

    def _audio_recipe(self, kind: str) -> list[str]:
        gate = "1" if self._tone == "steady" else "lt(mod(t,1),0.15)"
        source = f"aevalsrc=0.3*sin(2*PI*440*t)*{gate}:s={AUDIO_RATES[kind]}"
        coding = "-t 8 -c:a pcm_mulaw -f mulaw" if kind == "pcmu" else "-t 18 -c:a aac -b:a 32k -f adts"
        return ["-f", "lavfi", "-i", source, "-ac", "1", *coding.split()]

    def _audio_path(self, kind: str) -> str:
        return self._path(f"tone-{self._tone}", self._audio_recipe(kind), kind)

    def _encode_audio(self, kind: str) -> None:
        path = self._audio_path(kind)
        subprocess.run([*_FFMPEG, *self._audio_recipe(kind), path + ".new"], check=True)
        self._finish(path)

    @staticmethod
    def _have(path: str) -> bool:
        return os.path.exists(path) and os.path.exists(path + ".index")

    @staticmethod
    def _finish(path: str) -> None:
        """Writes the index. The clip takes its name last, so that whoever finds it has all of it."""
        kind = path.rsplit(".", 1)[1]
        form = {"h265": "hevc", "mpeg4": "m4v", "aac": "aac", "pcmu": "mulaw"}.get(kind, kind)
        listing = subprocess.run(
            ["ffprobe", "-v", "error", "-f", form, "-show_entries", "packet=size,pos,flags", "-of",
             "compact=p=0:nk=0", path + ".new"], check=True, capture_output=True, text=True).stdout
        with open(path + ".index", "w") as index:
            for line in listing.splitlines():
                fields = dict(field.split("=", 1) for field in line.split("|") if "=" in field)
                if fields.get("pos", "N/A") != "N/A":
                    index.write(f"{fields['pos']} {fields['size']} {int('K' in fields['flags'])}\n")
        os.rename(path + ".new", path)

    def _load(self, path: str) -> Clip:
        if path not in self._loaded:
            with open(path + ".index") as index:
                frames = [(int(offset), int(size), key == "1") for offset, size, key in map(str.split, index)]
            with open(path, "rb") as file:
                self._loaded[path] = Clip(frames, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ))
        return self._loaded[path]
