"""Pictures that are encoded as they are needed: what the camera sees when its head has turned away from home.

The clips show the home position only. A live view cuts another part out of the same scene and costs a tenth of a core;
it runs while somebody watches."""

import threading
import time
from collections import deque

import gi

gi.require_version("GstVideo", "1.0")
from gi.repository import GLib, Gst, GstVideo  # noqa: E402

from simcam.clips import SCENE_SIZE, SIZES, Frame, title  # noqa: E402
from simcam.log import log  # noqa: E402
from simcam.ptz import PAN_LIMIT, TILT_LIMIT, PtzHead  # noqa: E402

_ENCODERS = {
    "h264": "openh264enc gop-size={fps} bitrate=3000000 complexity=low ! "
            "video/x-h264,stream-format=byte-stream,alignment=au",
    "h265": "x265enc speed-preset=ultrafast tune=zerolatency key-int-max={fps} bitrate=2000 "
            "option-string=repeat-headers=1 ! video/x-h265,stream-format=byte-stream,alignment=au",
    "mpeg4": "avenc_mpeg4 gop-size={fps} pass=quant quantizer=4 max-bframes=0",
    "mjpeg": "jpegenc quality=80",
}
_KEPT_FRAMES = 75
_IDLE_SECONDS = 2.0
_TEXT = "textoverlay auto-resize=false draw-shadow=false draw-outline=false"
_LINE = f"{_TEXT} shaded-background=true halignment=left valignment=top wrap-mode=none"


class LiveView:
    """One stream in one codec, shared by all who watch it."""

    def __init__(self, scene: str, head: PtzHead, channel: int, stream: int, codec: str, fps: int) -> None:
        self._head = head
        self._lock = threading.Lock()
        self._frames: deque[tuple[int, Frame]] = deque(maxlen=_KEPT_FRAMES)
        self._next_number = 0
        self._used = 0.0
        self._running = False
        width, height = SIZES[stream]
        self._pipeline = Gst.parse_launch(
            f"filesrc location={scene} ! pngdec ! videoconvert ! video/x-raw,format=I420 ! imagefreeze is-live=true ! "
            f"video/x-raw,framerate={fps}/1 ! videocrop name=crop ! videoscale ! "
            f"video/x-raw,width={width},height={height},pixel-aspect-ratio=1/1 ! "
            f"{_TEXT} name=mover text=\u25a0 color=0xfff0a030 halignment=position valignment=position ypos=0.7 "
            f"font-desc=\"Sans {height // 8}\" ! "
            f"{_LINE} font-desc=\"Sans {height // 24}\" text=\"{title(channel, stream, codec)}\" ! "
            f"{_LINE} font-desc=\"Sans {height // 24}\" name=clock ypad={height // 7} ! "
            f"{_ENCODERS[codec].format(fps=fps)} ! appsink name=sink sync=false emit-signals=true")
        self._sink = self._pipeline.get_by_name("sink")
        self._sink.connect("new-sample", self._encoded)

    def watch(self) -> int:
        """Starts it if need be and asks for a key frame. Returns the number from which on that may come."""
        with self._lock:
            self._used = time.monotonic()
            first = self._next_number
            if not self._running:
                self._running = True
                self._aim()
                self._pipeline.set_state(Gst.State.PLAYING)
        self._sink.send_event(GstVideo.video_event_new_upstream_force_key_unit(Gst.CLOCK_TIME_NONE, True, 0))
        return first

    def frame(self, number: int) -> Frame | None:
        """The frame of this number, if it is there already."""
        with self._lock:
            self._used = time.monotonic()
            return next((frame for known, frame in self._frames if known == number), None)

    def key_from(self, number: int) -> int | None:
        """The number of the first key frame from this one on."""
        with self._lock:
            self._used = time.monotonic()
            return next((known for known, frame in self._frames if known >= number and frame.key), None)

    def _encoded(self, sink: Gst.Element) -> Gst.FlowReturn:
        buffer = sink.emit("pull-sample").get_buffer()
        frame = Frame(buffer.extract_dup(0, buffer.get_size()), not buffer.has_flags(Gst.BufferFlags.DELTA_UNIT))
        with self._lock:
            self._frames.append((self._next_number, frame))
            self._next_number += 1
            self._aim()
            if time.monotonic() - self._used > _IDLE_SECONDS and self._running:
                self._running = False
                GLib.idle_add(self._stop)  # which can't be done from here, because it waits for this
        return Gst.FlowReturn.OK

    def _stop(self) -> bool:
        with self._lock:
            idle = not self._running
        if idle:
            self._pipeline.set_state(Gst.State.NULL)
            log("live view: over")
        return False

    def _aim(self) -> None:
        """Lets the next frame show where the head looks now."""
        position = self._head.position()
        now = time.time()
        home_width, home_height = SIZES[1]
        width, height = int(home_width / position.zoom), int(home_height / position.zoom)
        free_x, free_y = SCENE_SIZE[0] - home_width, SCENE_SIZE[1] - home_height
        left = int(SCENE_SIZE[0] / 2 + position.pan / PAN_LIMIT * free_x / 2 - width / 2)
        top = int(SCENE_SIZE[1] / 2 - position.tilt / TILT_LIMIT * free_y / 2 - height / 2)
        crop = self._pipeline.get_by_name("crop")
        for name, value in {"left": left, "right": SCENE_SIZE[0] - left - width, "top": top,
                            "bottom": SCENE_SIZE[1] - top - height}.items():
            crop.set_property(name, value)
        self._pipeline.get_by_name("mover").set_property("xpos", now % 10 / 10)
        self._pipeline.get_by_name("clock").set_property(
            "text", f"sec {int(now) % 60:02}  frame {self._next_number}  pan {position.pan:+.1f}  "
                    f"tilt {position.tilt:+.1f}  zoom {position.zoom:.1f}")
