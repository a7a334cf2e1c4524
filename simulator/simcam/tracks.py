"""How the codecs travel in RTP: what goes in, through which packetiser, and who feeds it."""

from typing import Callable

from gi.repository import Gst

from simcam.camera import AudioCursor, Camera, VideoCursor
from simcam.clips import AUDIO_RATES, PCMU_PACKET, SIZES, Frame
from simcam.feeding import Feeder
from simcam.frameinfo import SectionWriter, inside_frame

_PACKETISERS = {
    "h264": ("rtph264pay config-interval=0 mtu=1400", 96),
    "h265": ("rtph265pay config-interval=0 mtu=1400", 98),
    # Without a limit, small frames would share a packet and its time. The header goes before key frames too: what is
    # pushed to a group has no description.
    "mpeg4": ("rtpmp4vpay config-interval=1 mtu=1400 max-ptime=1", 96),
    "mjpeg": ("rtpjpegpay mtu=1400", 26),
    "pcmu": ("rtppcmupay min-ptime=20000000 max-ptime=20000000", 0),
    "aac": ("rtpmp4gpay", 97),
}
_CAPS = {
    "h264": "video/x-h264,stream-format=byte-stream,alignment=au",
    "h265": "video/x-h265,stream-format=byte-stream,alignment=au",
    "mpeg4": "video/mpeg,mpegversion=4,systemstream=false,parsed=true",
    "mjpeg": "image/jpeg,width={0},height={1}",
    "pcmu": "audio/x-mulaw,rate=8000,channels=1",
    # The configuration is that of AAC-LC with 16 kHz, mono.
    "aac": "audio/mpeg,mpegversion=4,stream-format=raw,rate=16000,channels=1,codec_data=(buffer)1408",
}
_AUDIO_INTERVALS = {"pcmu": PCMU_PACKET / AUDIO_RATES["pcmu"], "aac": 1024 / AUDIO_RATES["aac"]}
# The packetiser for MPEG-4 holds a frame until the next one comes.
_FIRST_FRAMES = {"mpeg4": 2}


def pipeline_part(source: str, codec: str, packetiser: str, payload_type: int | None = None) -> str:
    """The description of an appsrc and a packetiser, by these names."""
    element, usual_type = _PACKETISERS[codec]
    number = usual_type if payload_type is None else payload_type
    return f"appsrc name={source} ! {element} name={packetiser} pt={number}"


def video_feeder(camera: Camera, source: Gst.Element, channel: int, stream: int, codec: str) -> Feeder:
    return Feeder(source, _CAPS[codec].format(*SIZES[stream]), 1 / camera.options.fps,
                  _pictures(camera, channel, stream, codec), _FIRST_FRAMES.get(codec, 1),
                  camera.options.faults.seconds("stall"))


def audio_feeder(camera: Camera, source: Gst.Element, kind: str) -> Feeder:
    return Feeder(source, _CAPS[kind], _AUDIO_INTERVALS[kind], AudioCursor(camera, kind).next, 1,
                  camera.options.faults.seconds("stall"))


def _pictures(camera: Camera, channel: int, stream: int, codec: str) -> Callable[[], Frame | None]:
    cursor = VideoCursor(camera, channel, stream, codec)
    if not camera.options.sections:
        return cursor.next
    writer = SectionWriter(camera, channel)

    def next_with_section() -> Frame | None:
        frame = cursor.next()
        return frame and Frame(inside_frame(codec, writer.next(frame.key), frame.data), frame.key)

    return next_with_section
