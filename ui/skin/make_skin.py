#!/usr/bin/env python3
"""Draws the widgets' bitmaps: make_skin.py FOLDER

Writes skin100.bmp, skin150.bmp and skin200.bmp, 32 bits per pixel with transparency. Where what stands in them is known
to ui/skin/Skin.cpp; at 100 %:

    y  0   five faces of a button, 24 x 20, one per state
    y 20   glyphs, 16 x 16, whose transparency alone counts: they take the colour that they are drawn in
    y 36   five thumbs of a slider, 10 x 16
    y 52   five tracks, 16 x 6, stretched in their middle
    y 58   five tracks, as far as they are filled
"""

import pathlib
import struct
import sys

WIDTH, HEIGHT = 128, 64
STATES = ("normal", "hot", "pressed", "disabled", "focused")
SAMPLES = 4  # per pixel and direction

ACCENT = (96, 168, 255)
FACES = {"normal": (76, 76, 76), "hot": (104, 104, 104), "pressed": (36, 36, 36), "disabled": (56, 56, 56),
         "focused": (76, 76, 76)}
EDGES = {"normal": (112, 112, 112), "hot": (160, 160, 160), "pressed": ACCENT, "disabled": (72, 72, 72), "focused": ACCENT}
THUMBS = {"normal": (208, 208, 208), "hot": (240, 240, 240), "pressed": ACCENT, "disabled": (96, 96, 96),
          "focused": (208, 208, 208)}
TRACKS = {"normal": (104, 104, 104), "hot": (120, 120, 120), "pressed": (120, 120, 120), "disabled": (68, 68, 68),
          "focused": (104, 104, 104)}
FILLS = {"normal": (192, 192, 192), "hot": (224, 224, 224), "pressed": ACCENT, "disabled": (84, 84, 84),
         "focused": ACCENT}


def inside_box(x, y, left, top, right, bottom, radius):
    dx = max(left + radius - x, 0, x - (right - radius))
    dy = max(top + radius - y, 0, y - (bottom - radius))
    return left <= x <= right and top <= y <= bottom and dx * dx + dy * dy <= radius * radius + 1e-9


def inside_ring(x, y, cx, cy, inner, outer):
    return inner * inner <= (x - cx) ** 2 + (y - cy) ** 2 <= outer * outer


def near_line(x, y, x1, y1, x2, y2, half):
    t = ((x - x1) * (x2 - x1) + (y - y1) * (y2 - y1)) / ((x2 - x1) ** 2 + (y2 - y1) ** 2)
    t = min(max(t, 0), 1)
    return (x - x1 - t * (x2 - x1)) ** 2 + (y - y1 - t * (y2 - y1)) ** 2 <= half * half


def box_of_speaker(x, y):
    return (1.5 <= x <= 5 and 5.5 <= y <= 10.5) or (5 <= x <= 9 and abs(y - 8) <= 2.5 + (x - 5) * 0.9)


def speaker(x, y):
    waves = x > 9.5 and abs(y - 8) <= (x - 8) and (inside_ring(x, y, 8, 8, 3.2, 4.4) or inside_ring(x, y, 8, 8, 5.8, 7.0))
    return box_of_speaker(x, y) or waves


def speaker_muted(x, y):
    return box_of_speaker(x, y) or near_line(x, y, 11, 6, 15, 10, 0.8) or near_line(x, y, 15, 6, 11, 10, 0.8)


def microphone(x, y):
    return (inside_box(x, y, 5.6, 1, 10.4, 9.6, 2.4) or (y >= 7.4 and inside_ring(x, y, 8, 7.4, 3.8, 5.0))
            or inside_box(x, y, 7.4, 12, 8.6, 14.6, 0) or inside_box(x, y, 5, 13.8, 11, 15, 0.5))


def lock(x, y, lift):
    hoop = y <= 6 - lift and inside_ring(x, y, 8, 6 - lift, 2.8, 4.2)
    left = inside_box(x, y, 3.8, 6 - lift, 5.2, 8, 0)
    right = inside_box(x, y, 10.8, 6 - lift, 12.2, 8 if lift == 0 else 6.2 - lift + 1, 0)
    keyhole = inside_box(x, y, 7.3, 10, 8.7, 13, 0.6)
    return hoop or left or right or (inside_box(x, y, 2.6, 7.6, 13.4, 15, 1) and not keyhole)


GLYPHS = (speaker, speaker_muted, microphone, lambda x, y: lock(x, y, 2), lambda x, y: lock(x, y, 0))


def face(state, x, y):
    if inside_box(x, y, 1, 1, 23, 19, 3) and not (state == "focused" and not inside_box(x, y, 2, 2, 22, 18, 2)):
        return FACES[state]
    return EDGES[state] if inside_box(x, y, 0, 0, 24, 20, 4) else None


def thumb(state, x, y):
    if state == "focused" and inside_box(x, y, 0, 0, 10, 16, 3) and not inside_box(x, y, 1.5, 1.5, 8.5, 14.5, 2):
        return ACCENT
    return THUMBS[state] if inside_box(x, y, 0.5, 0.5, 9.5, 15.5, 2.5) else None


def colour_at(x, y):
    """The colour at a point of the whole, in units of 100 %; None where there is nothing."""
    if y < 20:
        column, inner = divmod(x, 24)
        return face(STATES[int(column)], inner, y) if column < len(STATES) else None
    if y < 36:
        column, inner = divmod(x, 16)
        return (255, 255, 255) if column < len(GLYPHS) and GLYPHS[int(column)](inner, y - 20) else None
    if y < 52:
        column, inner = divmod(x, 10)
        return thumb(STATES[int(column)], inner, y - 36) if column < len(STATES) else None
    column, inner = divmod(x, 16)
    if column >= len(STATES):
        return None
    colours, top = (TRACKS, 52) if y < 58 else (FILLS, 58)
    return colours[STATES[int(column)]] if inside_box(inner, y - top, 0, 1, 16, 5, 2) else None


def pixel(x, y, scale):
    """Blue, green, red, opacity."""
    total = [0, 0, 0]
    hits = 0
    for i in range(SAMPLES):
        for j in range(SAMPLES):
            colour = colour_at((x + (i + 0.5) / SAMPLES) / scale, (y + (j + 0.5) / SAMPLES) / scale)
            if colour:
                hits += 1
                total = [a + b for a, b in zip(total, colour)]
    if hits == 0:
        return b"\0\0\0\0"
    red, green, blue = (round(part / hits) for part in total)
    return bytes((blue, green, red, round(255 * hits / SAMPLES ** 2)))


def write(path, percent):
    scale = percent / 100
    width, height = WIDTH * percent // 100, HEIGHT * percent // 100
    rows = b"".join(pixel(x, y, scale) for y in reversed(range(height)) for x in range(width))
    header = struct.pack("<2sIHHI", b"BM", 54 + len(rows), 0, 0, 54)
    header += struct.pack("<IiiHHIIiiII", 40, width, height, 1, 32, 0, len(rows), 0, 0, 0, 0)
    path.write_bytes(header + rows)


if __name__ == "__main__":
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for step in (100, 150, 200):
        write(folder / f"skin{step}.bmp", step)
