"""Streams to groups: for RTSP what GStreamer's server doesn't do by itself, and without RTSP."""

import socket

from gi.repository import Gio, Gst, GstRtsp, GstRtspServer, GstSdp

from simcam.camera import Camera
from simcam.dropping import drop_packets
from simcam.feeding import Pacer
from simcam.log import log
from simcam.tracks import audio_feeder, pipeline_part, video_feeder

PORTS_PER_STREAM = 4  # RTP and RTCP, video first
# Those by which receivers know the codec, because there is no description.
PUSH_TYPES = {"h264": 97, "h265": 98, "mpeg4": 96, "mjpeg": 26}
_TTL = 1


def _media_type(port: int) -> type:
    """A media that names its ports in the description, where GStreamer's server writes 0.

    Its sockets are opened before anybody can know the ports, because a receiver on this machine would be in the way
    later. For the same reason it is never closed again."""

    def do_setup_sdp(self: GstRtspServer.RTSPMedia, sdp: GstSdp.SDPMessage, info: object) -> bool:
        if not getattr(self, "is_open", False):
            if not all(_is_free(number) for number in range(port, port + PORTS_PER_STREAM)):
                log(f"multicast: another program uses one of the ports from {port}")
                return False
            for i in range(self.n_streams()):
                _open_sockets(self.get_stream(i))
            # The server would hear its own reports in the group, take them for those of another with the same
            # source, and begin again as a new one.
            drop_packets(self, "recv_rtcp")
            self.prepare(None)
            self.is_open = True
        good = GstRtspServer.RTSPMedia.do_setup_sdp(self, sdp, info)
        for i in range(sdp.medias_len()):
            sdp.get_media(i).set_port_info(port + 2 * i, 1)
        return good

    return type(f"MulticastMedia{port}", (GstRtspServer.RTSPMedia,), {"do_setup_sdp": do_setup_sdp})


def _is_free(port: int) -> bool:
    """GStreamer's server would not survive to find this out."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as tried:
        try:
            tried.bind(("", port))
        except OSError:
            return False
    return True


def _open_sockets(stream: GstRtspServer.RTSPStream) -> None:
    """Leaves the ports open to others on this machine."""
    _, transport = GstRtsp.RTSPTransport.new()
    transport.lower_transport = GstRtsp.RTSPLowerTrans.UDP_MCAST
    stream.allocate_udp_sockets(Gio.SocketFamily.IPV4, transport, False)
    for opened in (stream.get_rtp_multicast_socket(Gio.SocketFamily.IPV4),
                   stream.get_rtcp_multicast_socket(Gio.SocketFamily.IPV4)):
        opened.set_option(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)


class MulticastPush:
    """Sends the first stream to a group, whether anybody listens or not, and without RTSP."""

    def __init__(self, camera: Camera, pacer: Pacer, group: str, port: int) -> None:
        options = camera.options
        sink = f"udpsink sync=false async=false auto-multicast=false ttl-mc={_TTL} host={group}"
        if options.bind.startswith("127."):
            sink += " multicast-iface=lo"
        video = pipeline_part("video", options.push_codec, "pay0", PUSH_TYPES[options.push_codec])
        audio = pipeline_part("audio", "pcmu", "pay1")
        self._pipeline = Gst.parse_launch(f"{video} ! {sink} port={port} {audio} ! {sink} port={port + 2}")
        feeders = [video_feeder(camera, self._pipeline.get_by_name("video"), 1, 1, options.push_codec),
                   audio_feeder(camera, self._pipeline.get_by_name("audio"), "pcmu")]
        self._pipeline.set_state(Gst.State.PLAYING)
        self._pipeline.get_state(Gst.SECOND)
        pacer.add(feeders)

    def stop(self) -> None:
        self._pipeline.set_state(Gst.State.NULL)


def add_group(factory: GstRtspServer.RTSPMediaFactory, group: str, port: int, bind: str) -> None:
    """Makes all clients of the factory share one stream to this group."""
    pool = GstRtspServer.RTSPAddressPool()
    pool.add_range(group, group, port, port + PORTS_PER_STREAM - 1, _TTL)
    factory.set_address_pool(pool)
    factory.set_protocols(GstRtsp.RTSPLowerTrans.UDP_MCAST)
    factory.set_shared(True)
    factory.set_media_gtype(_media_type(port).__gtype__)
    if bind.startswith("127."):
        factory.set_multicast_iface("lo")
