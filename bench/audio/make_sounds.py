#!/usr/bin/env python3
"""Makes what the sound tests play, with FFmpeg's encoders: make_sounds.py FOLDER

A tone of 440 Hz at a quarter of full scale: tone.ulaw (one second, which can be repeated without a seam) and, for 8000 and
16000 Hz, tone_RATE.pkt: first the AudioSpecificConfig, then AAC-LC units, each behind its length in 32 bits (little-endian).
"""

import pathlib
import struct
import subprocess
import sys

SECONDS = 60


def ffmpeg(*arguments):
    return subprocess.run(["ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-bitexact", "-f", "lavfi", "-i",
                           *map(str, arguments), "pipe:1"], check=True, stdout=subprocess.PIPE).stdout


def tone(rate, seconds):
    return f"aevalsrc=0.25*sin(2*PI*440*t):s={rate}:d={seconds}"


def aac_units(adts):
    """The configuration that the first ADTS header stands for, then the units without their headers."""
    index, channels = adts[2] >> 2 & 15, (adts[2] & 1) << 2 | adts[3] >> 6
    yield struct.pack(">H", 2 << 11 | index << 7 | channels << 3)
    while adts:
        length = (adts[3] & 3) << 11 | adts[4] << 3 | adts[5] >> 5
        yield adts[7 if adts[1] & 1 else 9:length]
        adts = adts[length:]


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "tone.ulaw").write_bytes(ffmpeg(tone(8000, 1), "-c:a", "pcm_mulaw", "-f", "mulaw"))
    for rate in 8000, 16000:
        units = aac_units(ffmpeg(tone(rate, SECONDS), "-c:a", "aac", "-b:a", "32k", "-f", "adts"))
        (folder / f"tone_{rate}.pkt").write_bytes(b"".join(struct.pack("<I", len(u)) + u for u in units))


if __name__ == "__main__":
    main()
