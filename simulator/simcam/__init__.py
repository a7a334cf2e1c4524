"""A simulated network camera: command interface, RTSP, streams over HTTP, talk-back, multicast, ONVIF."""

import gi

for _name in ("Gst", "GstRtsp", "GstRtspServer"):
    gi.require_version(_name, "1.0")
