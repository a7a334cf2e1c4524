"""Runs the simulated camera for as long as a test needs it.

    with Camera("--auth", "digest", "--fault", "stall=2") as camera:
        run_something(camera.url("udpstream_ch1_stream1_h264"))
"""

import base64
import http.client
import os
import select
import subprocess
import tempfile
import time
from typing import BinaryIO

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "simulator", "norixcam")
# The clips may have to be made first, which takes twenty seconds of a quiet machine.
START_SECONDS = 240
STOP_SECONDS = 10


class Camera:
    """A camera on free ports of loopback. Ends with the test program, however that ends."""

    def __init__(self, *arguments: str, user: str = "admin", password: str = "norix") -> None:
        self._arguments = [PROGRAM, "--http", "0", "--rtsp", "0", "--user", user, "--password", password,
                           "--die-with-parent", *arguments]
        self.user = user
        self.password = password
        self.http_port = self.rtsp_port = 0
        self._log: BinaryIO | None = None
        self._process: subprocess.Popen[bytes] | None = None

    def __enter__(self) -> "Camera":
        self._log = tempfile.TemporaryFile()
        self._process = subprocess.Popen([*self._arguments, "--verbose"], stdin=subprocess.DEVNULL,
                                         stdout=subprocess.PIPE, stderr=self._log)
        line = self._first_line()
        if not line.startswith("ready "):
            self.__exit__()
            raise RuntimeError(f"the camera did not start: {line}")
        ports = dict(word.split("=", 1) for word in line.split()[1:])
        self.http_port, self.rtsp_port = int(ports["http"]), int(ports["rtsp"])
        return self

    def __exit__(self, *_unused: object) -> None:
        assert self._process and self._process.stdout and self._log
        self._process.terminate()
        try:
            self._process.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._process.stdout.close()
        self._log.close()

    @property
    def pid(self) -> int:
        assert self._process
        return self._process.pid

    def log(self) -> str:
        """What the camera has said so far; look here when something fails."""
        assert self._log
        return os.pread(self._log.fileno(), 1 << 24, 0).decode(errors="replace")

    def wait_for_log(self, text: str, seconds: float = 5) -> bool:
        """Waits until the camera has said this."""
        end = time.monotonic() + seconds
        while text not in self.log():
            if time.monotonic() > end:
                return False
            time.sleep(0.02)
        return True

    def url(self, path: str, tunnel: bool = False, signed_in: bool = True) -> str:
        """A stream's RTSP address; with `tunnel` at the port that carries RTSP in HTTP."""
        who = f"{self.user}:{self.password}@" if signed_in else ""
        return f"rtsp://{who}127.0.0.1:{self.http_port if tunnel else self.rtsp_port}/{path}"

    def request(self, method: str, path: str, body: str | None = None, signed_in: bool = True) -> tuple[int, str]:
        """One command with Basic authentication: status and body of the reply."""
        headers = {}
        if signed_in:
            headers["Authorization"] = "Basic " + base64.b64encode(f"{self.user}:{self.password}".encode()).decode()
        connection = http.client.HTTPConnection("127.0.0.1", self.http_port, timeout=10)
        try:
            connection.request(method, path, body, headers)
            reply = connection.getresponse()
            return reply.status, reply.read().decode("latin-1")
        finally:
            connection.close()

    def parameter(self, key: str) -> str:
        """A parameter's value as the camera has it now."""
        return self.request("GET", f"/kest-cgi/getParam.cgi?{key}")[1].rstrip("\n").partition("=")[2]

    def _first_line(self) -> str:
        assert self._process and self._process.stdout
        ready, _, _ = select.select([self._process.stdout], [], [], START_SECONDS)
        line = self._process.stdout.readline().decode() if ready else ""
        return line or self.log() or "no word from it"
