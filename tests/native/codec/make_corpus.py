#!/usr/bin/env python3
"""Makes the clips that the codec tests decode, with FFmpeg's own tools: make_corpus.py FOLDER [tests|benchmarks]

Per clip: NAME.pkt, the packets (each a 32-bit little-endian length and its bytes), and NAME.crc, what FFmpeg's own
decoder makes of them (one Adler-32 per picture, planar, without padding), or NAME.raw, its pictures or samples.

Making them takes some seconds, so they are kept in the cache, under a name that tells this script and FFmpeg's version.
"""

import ctypes
import hashlib
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile

FFMPEG = ["ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-y", "-threads", "2", "-bitexact"]


def ffmpeg(*arguments):
    subprocess.run(FFMPEG + [str(argument) for argument in arguments], check=True)


def moving_picture(size, frames, noise=12):
    """Lavfi source: the test picture with some noise, so that every macroblock has something to code."""
    return ["-f", "lavfi", "-i", f"testsrc2=size={size}:rate=25,noise=alls={noise}:allf=t:all_seed=7,format=yuv420p",
            "-frames:v", frames]


def interlacing_of(name):
    return ["-flags", "+ildct+ilme", "-top", "1"] if name.startswith("interlaced") else []


def write_packets(path, packets):
    with open(path, "wb") as out:
        for packet in packets:
            out.write(struct.pack("<I", len(packet)) + packet)


def split_avi(data):
    """The packets of an AVI file with one stream, as the encoder made them."""
    at = data.index(b"movi") + 4
    packets = []
    while data[at:at + 4] == b"00dc":
        length = struct.unpack_from("<I", data, at + 4)[0]
        if length > 0:  # an empty one stands for a picture that has been put off
            packets.append(data[at + 8:at + 8 + length])
        at += 8 + length + length % 2
    return packets


def split_annex_b(data, delimiter=b"\0\0\0\1\x09"):
    """Access units of a stream in which each begins with a delimiter."""
    starts = []
    at = data.find(delimiter)
    while at >= 0:
        starts.append(at)
        at = data.find(delimiter, at + 1)
    return [data[a:b] for a, b in zip(starts, starts[1:] + [len(data)])]


def reference(stream, path, *options):
    ffmpeg(*options, "-i", stream, "-map", "0:v", "-fps_mode", "passthrough", "-f", "framecrc", path)


H264 = {
    # name: (size, frames, pixel format, x264 profile, x264 parameters)
    "baseline_64x48": ("64x48", 24, "yuv420p", "baseline", "keyint=8"),
    "main_b_352x288": ("352x288", 40, "yuv420p", "main", "keyint=20:bframes=3:b-pyramid=normal"),
    "high_slices_640x360": ("640x360", 10, "yuv420p", "high", "keyint=5:slices=4:bframes=0"),
    "interlaced_720x576": ("720x576", 8, "yuv420p", "high", "keyint=8:bframes=2"),
    "full_range_320x240": ("320x240", 6, "yuvj420p", "high", "keyint=6:bframes=0"),
    "high422_322x242": ("322x242", 4, "yuv422p", "high422", "keyint=4:bframes=0"),
    "high444_177x145": ("177x145", 4, "yuv444p", "high444", "keyint=4:bframes=0"),
    "high10_176x144": ("176x144", 4, "yuv420p10le", "high10", "keyint=4:bframes=0"),
    "high_2560x1440": ("2560x1440", 2, "yuv420p", "high", "keyint=2:bframes=0"),
    "high_1920x1080": ("1920x1080", 3, "yuv420p", "high", "keyint=3:bframes=0"),
    "high_3840x2160": ("3840x2160", 2, "yuv420p", "high", "keyint=2:bframes=0"),
}


def make_h264(folder, work):
    for name, (size, frames, pixels, profile, parameters) in H264.items():
        stream = work / f"{name}.h264"
        ffmpeg(*moving_picture(size, frames), "-pix_fmt", pixels, "-c:v", "libx264", "-profile:v", profile, "-preset",
               "veryfast", "-x264-params", f"aud=1:scenecut=0:{parameters}", *interlacing_of(name), "-f", "h264", stream)
        write_packets(folder / f"h264_{name}.pkt", split_annex_b(stream.read_bytes()))
        reference(stream, folder / f"h264_{name}.crc")


H265 = {
    # name: (size, frames, pixel format, x265 parameters)
    "main_64x48": ("64x48", 24, "yuv420p", "keyint=8:bframes=0"),
    "main_b_352x288": ("352x288", 40, "yuv420p", "keyint=20:min-keyint=20:bframes=3:b-pyramid=1:open-gop=1"),
    "slices_640x368": ("640x368", 10, "yuv420p", "keyint=5:wpp=1:slices=4:ctu=32:bframes=0"),
    "wpp_640x368": ("640x368", 10, "yuv420p", "keyint=5:wpp=1:bframes=0"),
    "layers_320x240": ("320x240", 16, "yuv420p", "keyint=16:bframes=3:b-adapt=0:temporal-layers=1"),
    "refresh_320x240": ("320x240", 30, "yuv420p", "keyint=10:bframes=0:intra-refresh=1"),
    "full_range_178x146": ("178x146", 4, "yuvj420p", "keyint=4:bframes=0"),
    "main10_178x146": ("178x146", 6, "yuv420p10le", "keyint=4:bframes=0"),
    "main_1920x1080": ("1920x1080", 3, "yuv420p", "keyint=3:bframes=0"),
    "main_3840x2160": ("3840x2160", 2, "yuv420p", "keyint=2:bframes=0"),
}


def make_h265(folder, work):
    for name, (size, frames, pixels, parameters) in H265.items():
        stream = work / f"{name}.h265"
        wpp = "" if "wpp=" in parameters else "wpp=0:"
        ffmpeg(*moving_picture(size, frames), "-pix_fmt", pixels, "-c:v", "libx265", "-preset", "veryfast",
               "-x265-params", f"aud=1:scenecut=0:repeat-headers=1:log-level=none:{wpp}{parameters}", "-f", "hevc", stream)
        write_packets(folder / f"h265_{name}.pkt", split_annex_b(stream.read_bytes(), b"\0\0\0\1\x46"))
        reference(stream, folder / f"h265_{name}.crc")


MPEG4 = {
    # name: (size, frames, encoder and its options)
    "simple_176x144": ("176x144", 24, ["mpeg4", "-g", "8", "-bf", "0"]),
    "b_352x288": ("352x288", 24, ["mpeg4", "-g", "12", "-bf", "2"]),
    "interlaced_720x576": ("720x576", 6, ["mpeg4", "-g", "6"]),
    "odd_99x67": ("99x67", 8, ["mpeg4", "-g", "8", "-bf", "0"]),
    # B-VOPs packed behind the picture that they refer to, with place holders later. This encoder makes none from noise.
    "packed_352x288": ("352x288", 24, ["libxvid", "-g", "12", "-bf", "2"]),
    "quarter_320x240": ("320x240", 8, ["mpeg4", "-g", "8", "-flags", "+qpel+mv4"]),
    "simple_3840x2160": ("3840x2160", 2, ["mpeg4", "-g", "2", "-bf", "0"]),
}


def make_mpeg4(folder, work):
    for name, (size, frames, encoder) in MPEG4.items():
        stream = work / f"{name}.avi"
        noise = 0 if encoder[0] == "libxvid" else 12
        ffmpeg(*moving_picture(size, frames, noise), "-c:v", *encoder, *interlacing_of(name), "-q:v", "4", stream)
        write_packets(folder / f"mpeg4_{name}.pkt", split_avi(stream.read_bytes()))
        reference(stream, folder / f"mpeg4_{name}.crc", "-idct", "simple")


def grey_jpeg(samples, width, height):
    turbo = ctypes.CDLL("libturbojpeg.so.0")
    turbo.tjInitCompress.restype = ctypes.c_void_p
    result = ctypes.POINTER(ctypes.c_ubyte)()
    size = ctypes.c_ulong()
    pixels_grey, samples_grey = 6, 3
    failed = turbo.tjCompress2(ctypes.c_void_p(turbo.tjInitCompress()), samples, width, 0, height, pixels_grey,
                               ctypes.byref(result), ctypes.byref(size), samples_grey, 85, 0)
    if failed:
        sys.exit("grey JPEG: " + ctypes.string_at(turbo.tjGetErrorStr()).decode())
    return ctypes.string_at(result, size.value)


def make_jpeg(folder, work):
    for pixels, chroma in (("yuvj420p", "420"), ("yuvj422p", "422"), ("yuvj444p", "444"), ("gray", "grey")):
        for size in ("64x48", "177x145", "1281x721", "2592x1944", "3840x2160"):
            name = f"jpeg_{chroma}_{size}"
            picture = work / f"{name}.jpg"
            source = moving_picture(size, 1)
            if pixels == "gray":
                # FFmpeg's encoder has no grey.
                plain = work / f"{name}.gray"
                ffmpeg(*source, "-pix_fmt", "gray", "-f", "rawvideo", plain)
                picture.write_bytes(grey_jpeg(plain.read_bytes(), *map(int, size.split("x"))))
            else:
                ffmpeg(*source, "-pix_fmt", pixels, "-c:v", "mjpeg", "-q:v", "3", picture)
            write_packets(folder / f"{name}.pkt", [picture.read_bytes()])
            if size in ("64x48", "177x145"):
                ffmpeg("-i", picture, "-f", "rawvideo", folder / f"{name}.raw")


def make_aac(folder, work):
    for rate, channels in ((8000, 1), (16000, 1), (16000, 2), (44100, 2)):
        name = f"aac_{rate}_{channels}"
        stream = work / f"{name}.aac"
        tone = f"aevalsrc=0.4*sin(2*PI*440*t)+0.1*random(0)|0.4*sin(2*PI*610*t):s={rate}:d=1"
        ffmpeg("-f", "lavfi", "-i", tone, "-ac", channels, "-c:a", "aac", "-b:a", "48k", "-f", "adts", stream)
        data = stream.read_bytes()
        units = []
        while data:
            length = (data[3] & 3) << 11 | data[4] << 3 | data[5] >> 5
            units.append(data[:length])
            data = data[length:]
        write_packets(folder / f"{name}.pkt", units)
        ffmpeg("-i", stream, "-f", "s16le", folder / f"{name}.raw")


def make_benchmarks(folder, work):
    """What a camera sends: one key frame in two seconds, some megabits per second, natural-looking detail."""
    for name, size, rate in (("720p", "1280x720", "3M"), ("1080p", "1920x1080", "6M")):
        source = moving_picture(size, 50, noise=6)
        for slices in (1, 4):
            stream = work / f"{name}_{slices}.h264"
            ffmpeg(*source, "-c:v", "libx264", "-profile:v", "main", "-preset", "fast", "-b:v", rate, "-x264-params",
                   f"aud=1:keyint=50:scenecut=0:bframes=0:slices={slices}", "-f", "h264", stream)
            write_packets(folder / f"h264_{name}_{slices}.pkt", split_annex_b(stream.read_bytes()))
        stream = work / f"{name}.avi"
        ffmpeg(*source, "-c:v", "mpeg4", "-b:v", rate, "-g", "50", "-bf", "0", stream)
        write_packets(folder / f"mpeg4_{name}.pkt", split_avi(stream.read_bytes()))
        ffmpeg(*source, "-pix_fmt", "yuvj420p", "-frames:v", "10", "-c:v", "mjpeg", "-q:v", "6", stream)
        write_packets(folder / f"jpeg_{name}.pkt", split_avi(stream.read_bytes()))


SETS = {"tests": (make_h264, make_h265, make_mpeg4, make_jpeg, make_aac), "benchmarks": (make_benchmarks,)}


def make(folder, kinds):
    with tempfile.TemporaryDirectory() as work:
        for kind in kinds:
            kind(folder, pathlib.Path(work))


def main():
    target = pathlib.Path(sys.argv[1])
    chosen = sys.argv[2] if len(sys.argv) > 2 else "tests"
    version = subprocess.run(["ffmpeg", "-version"], check=True, capture_output=True).stdout.splitlines()[0]
    key = hashlib.sha256(pathlib.Path(__file__).read_bytes() + version).hexdigest()[:16]
    cache = pathlib.Path(os.environ.get("NORIX_CACHE") or pathlib.Path.home() / ".cache" / "norixsdk")
    kept = cache / f"codec-{chosen}-{key}"
    if not kept.is_dir():
        cache.mkdir(parents=True, exist_ok=True)
        fresh = pathlib.Path(tempfile.mkdtemp(prefix=".codec-", dir=cache))
        try:
            make(fresh, SETS[chosen])
            fresh.chmod(0o755)
            fresh.rename(kept)
        except OSError:
            if not kept.is_dir():  # otherwise another build was quicker
                raise
        finally:
            shutil.rmtree(fresh, ignore_errors=True)
    # They are read from a copy in the build folder: the cache isn't necessarily visible where programs run.
    shutil.rmtree(target, ignore_errors=True)
    shutil.copytree(kept, target)


if __name__ == "__main__":
    main()
