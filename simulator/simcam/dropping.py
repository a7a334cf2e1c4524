"""Keeps packets from getting through inside GStreamer's server."""

from gi.repository import Gst, GstRtspServer


def drop_packets(media: GstRtspServer.RTSPMedia, pads: str) -> None:
    """From now on, at the pads of the RTP session whose names begin like this."""
    for element in media.get_element().get_parent().children:
        for pad in element.pads if element.get_factory().get_name() == "rtpbin" else ():
            if pad.get_name().startswith(pads):
                pad.add_probe(Gst.PadProbeType.BUFFER | Gst.PadProbeType.BUFFER_LIST,
                              lambda *_: Gst.PadProbeReturn.DROP)
