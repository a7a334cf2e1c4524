"""The loudspeaker: takes the operator's voice, one at a time."""

from simcam.camera import Camera
from simcam.commands import FOLDER
from simcam.log import log
from simcam.webserver import Exchange, Reply, Route, WebServer


class TalkBack:
    """Registers itself with the web server.

    A post is a stream without an end: there is no answer to it, unless the loudspeaker is in use."""

    def __init__(self, camera: Camera, server: WebServer) -> None:
        self._path = camera.options.talkback
        self._busy = "talkback-busy" in camera.options.faults
        server.add(f"{FOLDER}audiopost.cgi", Route(self._listen, methods=("POST",), reads_body=False))

    async def _listen(self, exchange: Exchange) -> Reply | None:
        if self._busy:
            log("talk-back: busy")
            return Reply(b"Error: in use\n", 503)
        self._busy = True
        received = 0
        log("talk-back: begins")
        try:
            output = open(self._path, "wb", buffering=0) if self._path else None
            while data := await exchange.reader.read(4096):
                received += len(data)
                if output:
                    output.write(data)
        finally:
            self._busy = False
            log(f"talk-back: {received} bytes")
        return None
