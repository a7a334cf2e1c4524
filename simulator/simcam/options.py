"""The command line."""

import argparse
import ipaddress
import os
from dataclasses import dataclass

CODECS = ("h264", "mpeg4", "mjpeg")  # of a camera with all of them
ALL_CODECS = (*CODECS, "h265")
MOVES = ("pantilt", "zoom")

# name: (what it does, its default number or None if it takes none)
FAULTS: dict[str, tuple[str, float | None]] = {
    "cgi-401": ("refuse every HTTP request, whatever the password", None),
    "cgi-slow": ("answer commands after SECONDS", 6),
    "ptz-slow": ("answer what moves the camera after SECONDS", 0.9),
    "cgi-blackhole": ("accept HTTP connections and never answer", None),
    "cgi-readonly": ("refuse to write parameters and presets, with a text that begins with 'Error'", None),
    "cgi-error": ("answer every command with a text that begins with 'Error'", None),
    "rtsp-401": ("refuse every RTSP request, whatever the password", None),
    "rtsp-no-options": ("don't know OPTIONS", None),
    "rtsp-silent": ("PLAY succeeds and no media follow", None),
    "rtsp-no-udp": ("PLAY succeeds and nothing that is sent over UDP arrives", None),
    "rtsp-no-tcp": ("refuse streams over the RTSP connection, but in HTTP", None),
    "rtsp-cut": ("cut each RTSP connection after SECONDS", 3),
    "session-timeout": ("forget RTSP sessions after SECONDS without a sign of life", 10),
    "stall": ("send no media after SECONDS of a stream, connections stay up", 3),
    "mjpeg-end": ("end Motion JPEG over HTTP after SECONDS", 3),
    "mjpeg-garbage": ("send bytes that are no JPEG over HTTP", None),
    "talkback-busy": ("answer talk-back at once: the loudspeaker is in use", None),
}


class Faults:
    """What is to go wrong."""

    def __init__(self, texts: list[str]) -> None:
        self._seconds: dict[str, float] = {}
        for text in texts:
            name, _, number = text.partition("=")
            if name not in FAULTS or (number and FAULTS[name][1] is None):
                raise ValueError(f"no such fault: {text}")
            self._seconds[name] = float(number) if number else FAULTS[name][1] or 0.0

    def __contains__(self, name: str) -> bool:
        return name in self._seconds

    def seconds(self, name: str) -> float | None:
        return self._seconds.get(name)


@dataclass(frozen=True)
class Options:
    """What the command line says, ready for use."""

    bind: str
    http: int
    rtsp: int
    user: str
    password: str
    http_auth: str
    rtsp_auth: str
    channels: int
    streams: range
    codecs: tuple[str, ...]
    audio: str
    tone: str
    fps: int
    framing: str
    sections: bool
    onvif: str
    moves: tuple[str, ...]
    clock_offset: float
    talkback: str | None
    multicast: tuple[str, int] | None
    push: tuple[str, int] | None
    push_codec: str
    cache: str
    prepare: bool
    verbose: bool
    log: str | None
    die_with_parent: bool
    faults: Faults


def _group(text: str) -> tuple[str, int]:
    """An IPv4 multicast group and an even port."""
    address, _, port = text.partition(":")
    if not ipaddress.IPv4Address(address).is_multicast or not 1024 <= int(port) < 65000 or int(port) % 2:
        raise ValueError(text)
    return address, int(port)


def _faults_help() -> str:
    lines = ["faults (--fault NAME or NAME=SECONDS, several may be given):"]
    for name, (text, number) in FAULTS.items():
        lines.append(f"  {name:16} {text}" + (f" (default {number:g})" if number is not None else ""))
    return "\n".join(lines)


def _default_cache() -> str:
    return os.environ.get("NORIX_CACHE") or os.path.join(os.path.expanduser("~"), ".cache", "norixsdk")


def parse(arguments: list[str]) -> Options:
    parser = argparse.ArgumentParser(
        prog="norixcam", description="A network camera that is only a program.", epilog=_faults_help(),
        formatter_class=argparse.RawDescriptionHelpFormatter)
    add = parser.add_argument
    add("--bind", default="127.0.0.1", metavar="ADDRESS", help="listen on this address (default: %(default)s)")
    add("--http", type=int, default=8080, metavar="PORT", help="commands, streams, tunnel; 0: any (%(default)s)")
    add("--rtsp", type=int, default=8554, metavar="PORT", help="RTSP; 0: any (%(default)s)")
    add("--user", default="admin", help="(%(default)s)")
    add("--password", default="norix", help="(%(default)s)")
    schemes = ("none", "basic", "digest")
    add("--auth", choices=schemes, default="basic", help="how users sign in (%(default)s)")
    add("--http-auth", choices=(*schemes, "both"), help="the same for HTTP only; both: they may choose")
    add("--rtsp-auth", choices=schemes, help="the same for RTSP only")
    add("--channels", type=int, choices=range(1, 5), default=1, help="video inputs, 1 to 4 (%(default)s)")
    add("--streams", type=int, choices=(1, 2), default=2, help="of each video input; the second is small (%(default)s)")
    add("--codec", choices=(*ALL_CODECS, "all"), default="all",
        help="the video codecs on offer; all: but H.265, which comes alone (%(default)s)")
    add("--audio", choices=("pcmu", "aac", "none"), default="pcmu", help="sound over RTSP (%(default)s)")
    add("--tone", choices=("steady", "pips"), default="steady", help="440 Hz, always or once a second (%(default)s)")
    add("--fps", type=int, choices=(5, 10, 25), default=25, help="pictures per second (%(default)s)")
    add("--framing", choices=("length", "boundary", "bare"), default="length",
        help="Motion JPEG over HTTP: parts with Content-Length or without, or one picture after the other "
             "(%(default)s)")
    add("--sections", action="store_true", help="send an information section with each frame")
    add("--onvif", choices=("on", "off", "only"), default="on",
        help="ONVIF beside the command interface, not at all, or instead of it (%(default)s)")
    add("--ptz", choices=("all", *MOVES, "none"), default="all", help="how the camera can move (%(default)s)")
    add("--clock-offset", type=float, default=0, metavar="SECONDS", help="how far the camera's clock is ahead")
    add("--talkback", metavar="FILE", help="write the mu-law that talk-back sends into this file")
    add("--multicast", type=_group, metavar="GROUP:PORT", help="group and first port of RTSP's multicast streams")
    add("--push", type=_group, metavar="GROUP:PORT",
        help="send video to PORT and sound to PORT+2 of this group, without RTSP")
    add("--push-codec", choices=ALL_CODECS, default="h264", help="(%(default)s)")
    add("--cache", default=_default_cache(), metavar="FOLDER", help="where the made clips are kept (%(default)s)")
    add("--prepare", action="store_true", help="make the clips that such a camera needs, and end")
    add("--fault", action="append", default=[], metavar="NAME[=SECONDS]", help="see below")
    add("--verbose", action="store_true", help="tell what is going on, on the standard error")
    add("--log", metavar="FILE", help="the same, appended to a file")
    add("--die-with-parent", action="store_true", help="end when the process ends that started this one")
    given = parser.parse_args(arguments)
    try:
        faults = Faults(given.fault)
    except ValueError as problem:
        parser.error(str(problem))
    return Options(
        bind=given.bind, http=given.http, rtsp=given.rtsp, user=given.user, password=given.password,
        http_auth=given.http_auth or given.auth, rtsp_auth=given.rtsp_auth or given.auth,
        channels=given.channels, streams=range(1, given.streams + 1),
        codecs=CODECS if given.codec == "all" else (given.codec,), audio=given.audio, tone=given.tone, fps=given.fps,
        framing=given.framing, sections=given.sections, onvif=given.onvif,
        moves=MOVES if given.ptz == "all" else tuple({given.ptz} - {"none"}), clock_offset=given.clock_offset,
        talkback=given.talkback, prepare=given.prepare,
        multicast=given.multicast, push=given.push, push_codec=given.push_codec, cache=given.cache,
        verbose=given.verbose, log=given.log, die_with_parent=given.die_with_parent, faults=faults)
