"""The camera's parameters: what setParam writes and getParam reads."""

import threading

from simcam.clips import SIZES
from simcam.options import Options

NOT_THERE = "Not Exist"
PRESETS = 25
MODEL = "NX-SIM100"
_CODEC_NAMES = {"h264": "h264", "h265": "h265", "mpeg4": "mp4v", "mjpeg": "mjpg"}


def _prefixes(name: str, channels: int) -> list[str]:
    return [f"{name}_"] if channels == 1 else [f"{name}{channel:02}_" for channel in range(1, channels + 1)]


def _initial(options: Options) -> dict[str, str]:
    streams = ",".join(["|".join(_CODEC_NAMES[codec] for codec in options.codecs)] * len(options.streams))
    values = {
        "video_codectype": ";".join([streams] * options.channels),
        "system_modelname": MODEL,
        "system_hostname": "norixcam",
        "http_httpsport": NOT_THERE,
        "videoencoderoptions_frameratelimit": str(options.fps),
        "video_frameratetype": "1",
        "video_actualmodulation": "2",
        "videoresolutionoptions_modulation": "2",
        "motiondetect_enable": "1",
        "eventconfig_vmdenable": "1",
        "motiondetect_showalert": "1",
        # What information sections say: bits of the ports, and events as the numbers of their fields ("3,1").
        "dio_inputs": "0",
        "dio_outputs": "0",
        "event_analytics": "",
        "event_general": "",
    }
    for prefix in _prefixes("video", options.channels) + _prefixes("videosourcecfg01", options.channels):
        values |= {f"{prefix}imprinttimestamp": "1", f"{prefix}text": "Norix Simulator", f"{prefix}codepage": "ascii",
                   f"{prefix}maxframe": str(options.fps)}
        for stream in options.streams:
            values |= {f"{prefix}maxframe{stream:02}_{_CODEC_NAMES[codec]}": str(options.fps)
                       for codec in options.codecs}
    for prefix in _prefixes("motiondetect", options.channels):
        width, height = SIZES[1]
        values |= {f"{prefix}usestream": "1", f"{prefix}winsensitivity": "50", f"{prefix}refwidth": str(width),
                   f"{prefix}refheight": str(height)}
        for window in (1, 2, 3):
            fields = {"name": f"Window {window}", "enable": int(window == 1), "left": 400 * window - 240,
                      "top": 320, "width": 240, "height": 300, "objsize": 10}
            values |= {f"{prefix}win{field}{window:02}": str(value) for field, value in fields.items()}
    values |= {f"camctrl_presetname{number:02}": "" for number in range(1, PRESETS + 1)}
    return values


class Parameters:
    """Texts by their keys; may be used by any thread."""

    def __init__(self, options: Options) -> None:
        self._lock = threading.Lock()
        self._options = options
        self._values = _initial(options)

    def know_ports(self, http: int, rtsp: int) -> None:
        """Once it is known where the camera serves."""
        with self._lock:
            self._values |= {"http_httpport": str(http), "rtsp_rtspport": str(rtsp)}

    def get(self, key: str) -> str:
        with self._lock:
            return self._values.get(key, NOT_THERE)

    def set(self, key: str, value: str) -> str:
        """Returns the value that counts now."""
        with self._lock:
            if key not in self._values:
                return NOT_THERE
            self._values[key] = value
            return value

    def system_information(self) -> dict[str, str]:
        options = self._options
        return {
            "Model": MODEL, "HostName": self.get("system_hostname"), "SerialNumber": "1000001",
            "BIOSVersion": "1.0", "RTSPPort": self.get("rtsp_rtspport"), "CameraNumber": str(options.channels),
            "UartNumber": "1", "DINumber": "2", "PowerNumber": "1", "DONumber": "1", "RoiNumber": "0",
            "PrivacyMaskNumber": "0", "MotionDetectNumber": "3", "IvaIvsNumber": "0", "DemisterFunc": "0",
            "TamperFunc": "0", "DNRFunc": "0",
            "VideoCodec": "|".join(_CODEC_NAMES[codec] for codec in options.codecs),
            "FirmwareVersion": "1.0.0", "FirmwareBuildTime": "2024-01-01 00:00:00", "MotionDetectionMethod": "0",
            "MagicCode": "0", "MACAddress": "02:00:00:00:00:01", "DeInterlace": "0",
            "ONVIFSupport": str(int(options.onvif != "off")), "PTZFunc": str(int(bool(options.moves))),
            "ZoomFunc": str(int("zoom" in options.moves)), "PanTiltFunc": str(int("pantilt" in options.moves)),
        }
