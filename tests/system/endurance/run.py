#!/usr/bin/python3
"""Runs live_endurance_tests.exe and keeps the simulated cameras it asks for.

    run.py live_endurance_tests.exe [--no-sound] [option of GoogleTest ...]

As ctest calls it, every test does a few rounds. By hand, NORIX_ROUNDS says how many, and NORIX_SECONDS how long views
are watched; the figures are printed:

    NORIX_ROUNDS=1000 run.py live_endurance_tests.exe --gtest_filter='RoundsTest.*'
"""

import contextlib
import os
import signal
import socket
import socketserver
import subprocess
import sys
import threading

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.join(HERE, "..", "..", "..")
sys.path.insert(0, os.path.join(HERE, ".."))

from camera import Camera  # noqa: E402

ARGUMENTS = {
    "main": [],
    "mjpeg": ["--codec", "mjpeg"],
    "silent": ["--fault", "rtsp-silent"],
    "deaf": ["--fault", "cgi-blackhole"],
}

SIGNALS = {"freeze": signal.SIGSTOP, "thaw": signal.SIGCONT}


class Hole:
    """A port whose connections are never made: nobody takes those that wait, and there is no room for more."""

    def __init__(self) -> None:
        self._server = socket.socket()
        self._server.bind(("127.0.0.1", 0))
        self._server.listen(0)
        self.port = self._server.getsockname()[1]
        self._waiting = [socket.socket() for _ in range(4)]
        for client in self._waiting:
            client.setblocking(False)
            client.connect_ex(("127.0.0.1", self.port))


class Keeper:
    """The cameras, by name."""

    def __init__(self, stack: contextlib.ExitStack) -> None:
        self._stack = stack
        self._cameras: dict[str, Camera] = {}
        self._ports: dict[str, tuple[int, int]] = {}
        self._lock = threading.Lock()
        self._hole = Hole()

    def obey(self, order: str) -> str:
        what, name = order.split()
        if name == "hole":
            return f"{self._hole.port} {self._hole.port}"
        if what == "there":
            return "yes" if name in self._cameras else "no"
        with self._lock:
            if what in SIGNALS:
                os.kill(self._cameras[name].pid, SIGNALS[what])
            elif what == "kill":
                camera = self._cameras.pop(name)
                os.kill(camera.pid, signal.SIGKILL)
                camera.__exit__()
            elif name not in self._cameras:
                self._start(name)
            return "{} {}".format(*self._ports[name])

    def _start(self, name: str) -> None:
        again = self._ports.get(name)
        ports = ["--http", str(again[0]), "--rtsp", str(again[1])] if again else []
        camera = Camera(*ARGUMENTS[name], *ports).__enter__()
        self._stack.callback(lambda: self._cameras.get(name) is camera and camera.__exit__())
        self._cameras[name] = camera
        self._ports[name] = camera.http_port, camera.rtsp_port


class Orders(socketserver.StreamRequestHandler):
    """One order per connection."""

    def handle(self) -> None:
        order = self.rfile.readline().decode().strip()
        keeper: Keeper = self.server.keeper  # type: ignore[attr-defined]
        try:
            if order.startswith("restart "):  # who asked goes on meanwhile
                threading.Thread(target=keeper.obey, args=[order], daemon=True).start()
                reply = "begun"
            else:
                reply = keeper.obey(order)
        except (RuntimeError, KeyError, ValueError) as problem:
            reply = f"error {problem}"
        self.wfile.write(reply.encode())


def main() -> int:
    if "DISPLAY" not in os.environ:
        os.execv(os.path.join(ROOT, "scripts", "with-display"), ["with-display", *sys.argv])
    program, *options = sys.argv[1:]
    sound = [os.path.join(ROOT, "scripts", "with-sound")]
    if "--no-sound" in options:
        options.remove("--no-sound")
        sound = []
        os.environ["PULSE_SERVER"] = "unix:/nowhere"
    with contextlib.ExitStack() as stack:
        server = stack.enter_context(socketserver.ThreadingTCPServer(("127.0.0.1", 0), Orders))
        server.daemon_threads = True
        server.keeper = Keeper(stack)  # type: ignore[attr-defined]
        threading.Thread(target=server.serve_forever, daemon=True).start()
        stack.callback(server.shutdown)
        os.environ["NORIX_CAMERA_ORDERS"] = str(server.server_address[1])
        return subprocess.call([*sound, os.path.join(ROOT, "scripts", "wine-run"), program, *options])


sys.exit(main())
