"""A simulated network camera: command interface, RTSP, streams over HTTP, talk-back, multicast, ONVIF."""
