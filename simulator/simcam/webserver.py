"""The web server. It shares its port with the RTSP server, as cameras do: RTSP, plain or in HTTP, is passed on."""

import asyncio
import time
import urllib.parse
from collections import deque
from dataclasses import dataclass, field
from typing import Awaitable, Callable

from simcam.log import log
from simcam.options import Faults
from simcam.webauth import WebAuth

_REASONS = {200: "OK", 400: "Bad Request", 401: "Unauthorized", 404: "Not Found", 405: "Method Not Allowed",
            413: "Payload Too Large", 500: "Internal Server Error", 503: "Service Unavailable"}
_LONGEST_BODY = 1 << 20
_HEAD_SECONDS = 30
_LISTED_REQUESTS = 1000


@dataclass
class Request:
    """What a client wants. The body is there, except for paths that stream towards the camera."""

    method: str
    target: str
    version: str
    headers: dict[str, str]
    body: bytes = b""

    @property
    def path(self) -> str:
        return self.target.partition("?")[0]

    def parameters(self) -> list[tuple[str, str]]:
        """Those of the address and those of the body, as they come. "+" is itself."""
        _, _, query = self.target.partition("?")
        texts = [query]
        if self.method == "POST":
            texts.append(self.body.decode("latin-1").strip("\r\n"))
        pairs = (item.partition("=") for text in texts for item in text.split("&") if item)
        return [(urllib.parse.unquote(key), urllib.parse.unquote(value)) for key, _, value in pairs]

    def number(self, key: str, default: int) -> int:
        try:
            return int(dict(self.parameters()).get(key, ""))
        except ValueError:
            return default


@dataclass
class Reply:
    """A whole answer."""

    body: bytes = b""
    status: int = 200
    content_type: str = "text/plain"
    headers: list[tuple[str, str]] = field(default_factory=list)

    def encode(self, keep: bool) -> bytes:
        lines = [f"HTTP/1.1 {self.status} {_REASONS[self.status]}", "Server: norixcam",
                 f"Content-Type: {self.content_type}", f"Content-Length: {len(self.body)}",
                 f"Connection: {'keep-alive' if keep else 'close'}",
                 *(f"{name}: {value}" for name, value in self.headers)]
        return ("\r\n".join(lines) + "\r\n\r\n").encode("latin-1") + self.body


class Exchange:
    """One request on its connection, for those who write their answer themselves."""

    def __init__(self, request: Request, reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
        self.request = request
        self.reader = reader
        self._writer = writer

    async def begin(self, content_type: str, *headers: tuple[str, str]) -> None:
        """The head of an answer that ends with the connection."""
        lines = ["HTTP/1.0 200 OK", "Server: norixcam", f"Content-Type: {content_type}", "Cache-Control: no-cache",
                 "Connection: close", *(f"{name}: {value}" for name, value in headers)]
        await self.send(("\r\n".join(lines) + "\r\n\r\n").encode("latin-1"))

    async def send(self, data: bytes) -> None:
        self._writer.write(data)
        await self._writer.drain()


# Returns the answer, or None when it has written everything itself and the connection ends.
Handler = Callable[[Exchange], Awaitable[Reply | None]]


@dataclass(frozen=True)
class Route:
    handle: Handler
    methods: tuple[str, ...] = ("GET", "POST")
    reads_body: bool = True
    signs_in: bool = True
    recorded: bool = True


class WebServer:
    """Routes requests by their path."""

    def __init__(self, auth: WebAuth, faults: Faults, rtsp_address: tuple[str, int]) -> None:
        self._auth = auth
        self._faults = faults
        self._rtsp_address = rtsp_address
        self._routes: dict[str, Route] = {}
        self._started = time.monotonic()
        # The latest requests whose senders may ask: seconds since the start, verb, address and body.
        self.asked: deque[str] = deque(maxlen=_LISTED_REQUESTS)
        self.port = 0
        self.add("/simulator/asked", Route(self._list_asked, methods=("GET",), signs_in=False, recorded=False))

    async def _list_asked(self, _exchange: Exchange) -> Reply:
        return Reply("".join(line + "\n" for line in self.asked).encode("latin-1", "replace"))

    def add(self, path: str, route: Route) -> None:
        self._routes[path] = route

    async def start(self, address: str, port: int) -> None:
        server = await asyncio.start_server(self._connected, address, port, limit=1 << 16)
        self.port = server.sockets[0].getsockname()[1]

    async def _connected(self, reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
        try:
            while await self._serve(reader, writer):
                pass
        except (OSError, EOFError, ValueError, asyncio.LimitOverrunError, asyncio.TimeoutError):
            pass  # the client has vanished, or is none
        finally:
            writer.close()

    async def _serve(self, reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> bool:
        """One request. Returns whether the connection lives on."""
        head = await asyncio.wait_for(reader.readuntil(b"\r\n\r\n"), _HEAD_SECONDS)
        first, *lines = head.decode("latin-1").rstrip("\r\n").split("\r\n")
        method, target, version = first.split(" ", 2)
        headers = {name.strip().lower(): value.strip() for name, _, value in (line.partition(":") for line in lines)}
        log(f"http: {first}")
        if "cgi-blackhole" in self._faults:
            await reader.read(-1)
            return False
        if version.startswith("RTSP/") or "application/x-rtsp-tunnelled" in (headers.get("accept"),
                                                                            headers.get("content-type")):
            await self._pass_on(head, reader, writer)
            return False

        request = Request(method, target, version, headers)
        route = self._routes.get(request.path)
        if route is None or route.reads_body:
            size = int(headers.get("content-length", "0"))
            if size > _LONGEST_BODY:
                writer.write(Reply(status=413).encode(False))
                return False
            if headers.get("expect", "").lower() == "100-continue":
                writer.write(b"HTTP/1.1 100 Continue\r\n\r\n")
            request.body = await reader.readexactly(size)
        reply = await self._answer(route, Exchange(request, reader, writer))
        if reply is None:
            return False
        asked = headers.get("connection", "").lower()
        keep = asked != "close" and (version == "HTTP/1.1" or asked == "keep-alive") and (
            route is None or route.reads_body)
        log(f"http: {reply.status}, {len(reply.body)} bytes")
        writer.write(reply.encode(keep))
        await writer.drain()
        return keep

    async def _answer(self, route: Route | None, exchange: Exchange) -> Reply | None:
        request = exchange.request
        if route is None or route.signs_in:
            good = self._auth.allows(request.method, request.headers.get("authorization", ""))
            if not good or "cgi-401" in self._faults:
                return Reply(b"Unauthorized\n", 401, headers=[
                    ("WWW-Authenticate", text) for text in self._auth.challenges() or ['Basic realm="refused"']])
        if route is None or route.recorded:
            body = " " + request.body.decode("latin-1") if request.body else ""
            line = f"{time.monotonic() - self._started:9.3f} {request.method} {request.target}{body}"
            self.asked.append(line.replace("\r", " ").replace("\n", " "))
        if route is None:
            return Reply(b"Not Found\n", 404)
        if request.method not in route.methods:
            return Reply(b"Method Not Allowed\n", 405, headers=[("Allow", ", ".join(route.methods))])
        return await route.handle(exchange)

    async def _pass_on(self, head: bytes, reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
        upstream_reader, upstream_writer = await asyncio.open_connection(*self._rtsp_address)
        upstream_writer.write(head)
        # When one side ends, so does the other: a camera has but one connection.
        pumps = [asyncio.create_task(_pump(*ways)) for ways in ((reader, upstream_writer), (upstream_reader, writer))]
        try:
            await asyncio.wait(pumps, return_when=asyncio.FIRST_COMPLETED)
        finally:
            for task in pumps:
                task.cancel()
            upstream_writer.close()


async def _pump(reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
    try:
        while data := await reader.read(1 << 16):
            writer.write(data)
            await writer.drain()
    except OSError:
        pass
