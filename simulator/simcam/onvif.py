"""ONVIF: as much of the device and the media service as it takes to find a stream's address; the PTZ service is in
onvifptz."""

import asyncio
import base64
import binascii
import hashlib
import hmac
import time
import xml.etree.ElementTree as ElementTree
from datetime import datetime, timezone
from typing import Callable
from xml.sax.saxutils import escape

from simcam.camera import Camera
from simcam.clips import SIZES
from simcam.log import log
from simcam.onvifptz import PTZ_NAMES, PTZ_PATH, PtzRefusal, PtzService
from simcam.rtspserver import ADDRESS_CODECS
from simcam.webserver import Exchange, Reply, Route, WebServer

DEVICE_PATH, MEDIA_PATH = "/onvif/device_service", "/onvif/media_service"
CLOCK_TOLERANCE = 10.0
_DEVICE_NAMES = "http://www.onvif.org/ver10/device/wsdl"
_MEDIA_NAMES = "http://www.onvif.org/ver10/media/wsdl"
_ENCODINGS = {"h264": "H264", "mpeg4": "MPEG4", "mjpeg": "JPEG"}
_CONTENT_TYPE = "application/soap+xml; charset=utf-8"
_ENVELOPE = (
    '<?xml version="1.0" encoding="UTF-8"?>\n'
    '<SOAP-ENV:Envelope xmlns:SOAP-ENV="http://www.w3.org/2003/05/soap-envelope" '
    'xmlns:tt="http://www.onvif.org/ver10/schema" xmlns:ter="http://www.onvif.org/ver10/error" '
    f'xmlns:tds="{_DEVICE_NAMES}" xmlns:trt="{_MEDIA_NAMES}" xmlns:tptz="{PTZ_NAMES}"><SOAP-ENV:Body>%s</SOAP-ENV:Body></SOAP-ENV:Envelope>\n')


class Refusal(Exception):
    """A fault's code below Sender, and what to say."""

    def __init__(self, code: str, text: str) -> None:
        super().__init__(text)
        self.code = code


def _find(element: ElementTree.Element | None, name: str) -> ElementTree.Element | None:
    """The first descendant of this name, in whatever namespace."""
    return None if element is None else element.find(f".//{{*}}{name}")


def _text(element: ElementTree.Element | None, name: str) -> str:
    found = _find(element, name)
    return (found.text or "").strip() if found is not None else ""


class Onvif:
    """Registers itself with the web server."""

    def __init__(self, camera: Camera, server: WebServer) -> None:
        self._camera = camera
        self._server = server
        self._nonces: dict[str, float] = {}
        self._operations: dict[str, tuple[bool, Callable[[ElementTree.Element, str], str]]] = {
            # name: (whether it takes a user, what answers)
            "GetSystemDateAndTime": (False, self._date_and_time),
            "GetServices": (False, self._services),
            "GetCapabilities": (False, self._capabilities),
            "GetProfiles": (True, self._profiles),
            "GetStreamUri": (True, self._stream_uri),
        }
        self._ptz = PtzService(camera, lambda: {token: channel for token, (channel, _, _) in self._streams().items()})
        self._operations |= {name: (True, lambda request, _host, answer=answer: answer(request))
                             for name, answer in self._ptz.operations.items()}
        self._paths = {_DEVICE_NAMES: DEVICE_PATH, _MEDIA_NAMES: MEDIA_PATH}
        if self._ptz.operations:
            self._paths[PTZ_NAMES] = PTZ_PATH
        for path in self._paths.values():
            server.add(path, Route(self._handle, methods=("POST",), signs_in=False))

    async def _handle(self, exchange: Exchange) -> Reply:
        try:
            return Reply((_ENVELOPE % await self._answer(exchange)).encode(), content_type=_CONTENT_TYPE)
        except Refusal as refusal:
            log(f"onvif: {refusal}")
            fault = ("<SOAP-ENV:Fault><SOAP-ENV:Code><SOAP-ENV:Value>SOAP-ENV:Sender</SOAP-ENV:Value>"
                     f"<SOAP-ENV:Subcode><SOAP-ENV:Value>ter:{refusal.code}</SOAP-ENV:Value></SOAP-ENV:Subcode>"
                     f'</SOAP-ENV:Code><SOAP-ENV:Reason><SOAP-ENV:Text xml:lang="en">{escape(str(refusal))}'
                     "</SOAP-ENV:Text></SOAP-ENV:Reason></SOAP-ENV:Fault>")
            return Reply((_ENVELOPE % fault).encode(), 400, _CONTENT_TYPE)

    async def _answer(self, exchange: Exchange) -> str:
        try:
            envelope = ElementTree.fromstring(exchange.request.body)
        except ElementTree.ParseError as problem:
            raise Refusal("WellFormed", str(problem)) from problem
        body = _find(envelope, "Body")
        if body is None or not len(body):
            raise Refusal("WellFormed", "no operation")
        name = body[0].tag.rpartition("}")[2]
        if name not in self._operations:
            raise Refusal("ActionNotSupported", f"no operation {name}")
        takes_user, answer = self._operations[name]
        log(f"onvif: {name}")
        if takes_user and self._camera.options.http_auth != "none":
            self._check_user(_find(envelope, "UsernameToken"))
        host = exchange.request.headers.get("host", "").partition(":")[0] or self._camera.options.bind
        if name in self._ptz.operations and (seconds := self._camera.options.faults.seconds("ptz-slow")) is not None:
            await asyncio.sleep(seconds)
        try:
            return answer(body[0], host)
        except PtzRefusal as refusal:
            raise Refusal(str(refusal), name) from refusal

    def _check_user(self, token: ElementTree.Element | None) -> None:
        options = self._camera.options
        password, nonce, created = (_text(token, name) for name in ("Password", "Nonce", "Created"))
        kind = _find(token, "Password")
        if kind is not None and kind.get("Type", "").endswith("#PasswordDigest"):
            try:
                salt = base64.b64decode(nonce, validate=True)
                moment = datetime.fromisoformat(created.replace("Z", "+00:00"))
            except (binascii.Error, ValueError) as problem:
                raise Refusal("NotAuthorized", f"bad token: {problem}") from problem
            if moment.tzinfo is None or abs(moment.timestamp() - self._camera.now()) > CLOCK_TOLERANCE:
                raise Refusal("NotAuthorized", f"created at {created}, which isn't now")
            self._use_once(nonce)
            digest = hashlib.sha1(salt + created.encode() + options.password.encode()).digest()
            expected = base64.b64encode(digest).decode()
        else:
            expected = options.password
        if _text(token, "Username") != options.user or not hmac.compare_digest(password.encode(), expected.encode()):
            raise Refusal("NotAuthorized", "wrong user or password")

    def _use_once(self, nonce: str) -> None:
        now = time.monotonic()
        self._nonces = {known: until for known, until in self._nonces.items() if until > now}
        if nonce in self._nonces:
            raise Refusal("NotAuthorized", "nonce used before")
        self._nonces[nonce] = now + 2 * CLOCK_TOLERANCE

    def _address(self, host: str, path: str) -> str:
        return f"http://{host}:{self._server.port}{path}"

    def _date_and_time(self, _request: ElementTree.Element, _host: str) -> str:
        now = datetime.fromtimestamp(self._camera.now(), timezone.utc)
        return ("<tds:GetSystemDateAndTimeResponse><tds:SystemDateAndTime><tt:DateTimeType>NTP</tt:DateTimeType>"
                "<tt:DaylightSavings>false</tt:DaylightSavings><tt:TimeZone><tt:TZ>UTC0</tt:TZ></tt:TimeZone>"
                f"<tt:UTCDateTime><tt:Time><tt:Hour>{now.hour}</tt:Hour><tt:Minute>{now.minute}</tt:Minute>"
                f"<tt:Second>{now.second}</tt:Second></tt:Time><tt:Date><tt:Year>{now.year}</tt:Year>"
                f"<tt:Month>{now.month}</tt:Month><tt:Day>{now.day}</tt:Day></tt:Date></tt:UTCDateTime>"
                "</tds:SystemDateAndTime></tds:GetSystemDateAndTimeResponse>")

    def _services(self, _request: ElementTree.Element, host: str) -> str:
        services = "".join(
            f"<tds:Service><tds:Namespace>{names}</tds:Namespace><tds:XAddr>{self._address(host, path)}</tds:XAddr>"
            "<tds:Version><tt:Major>2</tt:Major><tt:Minor>60</tt:Minor></tds:Version></tds:Service>"
            for names, path in self._paths.items())
        return f"<tds:GetServicesResponse>{services}</tds:GetServicesResponse>"

    def _capabilities(self, _request: ElementTree.Element, host: str) -> str:
        return ("<tds:GetCapabilitiesResponse><tds:Capabilities>"
                f"<tt:Device><tt:XAddr>{self._address(host, DEVICE_PATH)}</tt:XAddr></tt:Device>"
                f"<tt:Media><tt:XAddr>{self._address(host, MEDIA_PATH)}</tt:XAddr><tt:StreamingCapabilities>"
                f"<tt:RTPMulticast>{str(self._camera.options.multicast is not None).lower()}</tt:RTPMulticast>"
                "<tt:RTP_TCP>true</tt:RTP_TCP><tt:RTP_RTSP_TCP>true</tt:RTP_RTSP_TCP></tt:StreamingCapabilities>"
                f"</tt:Media>{self._ptz_capability(host)}</tds:Capabilities></tds:GetCapabilitiesResponse>")

    def _ptz_capability(self, host: str) -> str:
        return f"<tt:PTZ><tt:XAddr>{self._address(host, PTZ_PATH)}</tt:XAddr></tt:PTZ>" if self._ptz.operations else ""

    def _streams(self) -> dict[str, tuple[int, int, str]]:
        """Profiles by their tokens. Each stream is one, with the first codec on offer."""
        codec = self._camera.options.codecs[0]
        return {f"profile_ch{channel}_stream{stream}": (channel, stream, codec)
                for channel in self._camera.heads for stream in self._camera.options.streams}

    def _profiles(self, _request: ElementTree.Element, _host: str) -> str:
        profiles = ""
        for token, (channel, stream, codec) in self._streams().items():
            width, height = SIZES[stream]
            profiles += (
                f'<trt:Profiles token="{token}" fixed="true"><tt:Name>Channel {channel} stream {stream}</tt:Name>'
                f'<tt:VideoSourceConfiguration token="source_ch{channel}"><tt:Name>Source {channel}</tt:Name>'
                f"<tt:UseCount>{len(self._camera.options.streams)}</tt:UseCount><tt:SourceToken>ch{channel}</tt:SourceToken>"
                f'<tt:Bounds x="0" y="0" width="{width}" height="{height}"/></tt:VideoSourceConfiguration>'
                f'<tt:VideoEncoderConfiguration token="encoder_ch{channel}_stream{stream}">'
                f"<tt:Name>Encoder {stream}</tt:Name><tt:UseCount>1</tt:UseCount>"
                f"<tt:Encoding>{_ENCODINGS[codec]}</tt:Encoding><tt:Resolution><tt:Width>{width}</tt:Width>"
                f"<tt:Height>{height}</tt:Height></tt:Resolution><tt:Quality>5</tt:Quality><tt:RateControl>"
                f"<tt:FrameRateLimit>{self._camera.options.fps}</tt:FrameRateLimit>"
                "<tt:EncodingInterval>1</tt:EncodingInterval><tt:BitrateLimit>4096</tt:BitrateLimit></tt:RateControl>"
                "<tt:SessionTimeout>PT60S</tt:SessionTimeout></tt:VideoEncoderConfiguration>"
                f"{self._ptz.configuration(channel)}</trt:Profiles>")
        return f"<trt:GetProfilesResponse>{profiles}</trt:GetProfilesResponse>"

    def _stream_uri(self, request: ElementTree.Element, host: str) -> str:
        token = _text(request, "ProfileToken")
        if token not in self._streams():
            raise Refusal("InvalidArgVal", f"no profile {token}")
        channel, stream, codec = self._streams()[token]
        kind, protocol = _text(request, "Stream"), _text(request, "Protocol")
        path = f"_ch{channel}_stream{stream}{ADDRESS_CODECS[codec]}"
        rtsp = f"rtsp://{host}:{self._camera.parameters.get('rtsp_rtspport')}"
        if kind == "RTP-Multicast":
            if self._camera.options.multicast is None:
                raise Refusal("InvalidStreamSetup", "no multicast")
            address = f"{rtsp}/multicaststream{path}"
        elif protocol == "HTTP":
            address = self._address(host, f"/kest-cgi/udpstream{path}")
        else:
            address = f"{rtsp}/udpstream{path}"
        return (f"<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>{address}</tt:Uri>"
                "<tt:InvalidAfterConnect>false</tt:InvalidAfterConnect><tt:InvalidAfterReboot>false"
                "</tt:InvalidAfterReboot><tt:Timeout>PT0S</tt:Timeout></trt:MediaUri></trt:GetStreamUriResponse>")
