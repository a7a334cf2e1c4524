#!/usr/bin/python3
"""What a viewer sees over bad links. Not part of any test run: it takes minutes, and its figures are to be looked at.

usage: link_matrix.py STREAMVIEW FOLDER [PATTERN]     as root; STREAMVIEW is built natively

Faults: two network namespaces with a link of our own between them, GStreamer's server in one, the viewer in the other;
one minute per fault and transport, ten seconds without the fault at either end. Parameter sets: streams that have them in
their description only, joined amid a group of pictures (a second), with the decode speed changed each second."""

import concurrent.futures
import ctypes
import fcntl
import heapq
import os
import random
import re
import select
import statistics
import struct
import subprocess
import sys
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)

SERVER, VIEWER, PORT = "10.77.0.1", "10.77.0.2", 8554
SECONDS = 60
BEGIN, END = 10, 50  # of the fault
ROUNDS, ROUND_SECONDS = 50, 8
# name: what happens to each packet from BEGIN to END, or what else happens at BEGIN
FAULTS = {"none": {}, "loss 2 %": {"loss": 0.02}, "reordered 5 %": {"reorder": 0.05}, "gap 3 s": {"gap": 3},
          "server restart": {"restart": True}}
NEW_NETWORK = 0x40000000  # CLONE_NEWNET


class Link:
    """Carries packets between this namespace and one of its own, in which `run` starts programs."""

    def __init__(self) -> None:
        self.loss = self.reorder = 0.0
        self.cut = False
        self._jobs: list[tuple[list[str], "concurrent.futures.Future[subprocess.Popen[str]]"]] = []
        self._here = self._tunnel(SERVER)
        ready = threading.Event()
        self._wake = threading.Condition()
        threading.Thread(target=self._live_there, args=(ready,), daemon=True).start()
        ready.wait()
        threading.Thread(target=self._carry, daemon=True).start()

    @staticmethod
    def _tunnel(address: str) -> int:
        tunnel = os.open("/dev/net/tun", os.O_RDWR | os.O_NONBLOCK)
        fcntl.ioctl(tunnel, 0x400454CA, struct.pack("16sH22x", b"bad0", 0x1001))  # TUNSETIFF: IP packets, bare
        for command in ("ip link set lo up", f"ip addr add {address}/24 dev bad0", "ip link set bad0 up"):
            subprocess.run(command.split(), check=True)
        return tunnel

    def _live_there(self, ready: threading.Event) -> None:
        if ctypes.CDLL(None, use_errno=True).unshare(NEW_NETWORK) != 0:  # of this thread alone
            raise OSError(ctypes.get_errno(), "no network namespace")
        self._there = self._tunnel(VIEWER)
        ready.set()
        while True:
            with self._wake:
                while not self._jobs:
                    self._wake.wait()
                command, started = self._jobs.pop()
            started.set_result(subprocess.Popen(command, stdout=subprocess.PIPE, text=True))

    def run(self, command: list[str]) -> "subprocess.Popen[str]":
        started: "concurrent.futures.Future[subprocess.Popen[str]]" = concurrent.futures.Future()
        with self._wake:
            self._jobs.append((command, started))
            self._wake.notify()
        return started.result()

    def _carry(self) -> None:
        chance = random.Random(1)
        waiting: list[tuple[float, int, int, bytes]] = []
        number = 0
        while True:
            patience = max(0.0, waiting[0][0] - time.monotonic()) if waiting else None
            for source in select.select([self._here, self._there], [], [], patience)[0]:
                packet = os.read(source, 65536)
                if self.cut or chance.random() < self.loss:
                    continue
                late = 0.03 if chance.random() < self.reorder else 0.0
                number += 1
                target = self._there if source == self._here else self._here
                heapq.heappush(waiting, (time.monotonic() + late, number, target, packet))
            while waiting and waiting[0][0] <= time.monotonic():
                _, _, target, packet = heapq.heappop(waiting)
                os.write(target, packet)


def serve(folder: str, address: str, port: str) -> "subprocess.Popen[bytes]":
    return subprocess.Popen([sys.executable, __file__, "--serve", folder, address, port])


def serve_here(folder: str, address: str, port: str) -> None:
    import servers
    servers.RtspServer(folder, address=address, port=port)
    servers.serve_rtsp()
    while True:
        time.sleep(1000)


def moments(output: str, wanted: str) -> list[float]:
    """When this was said, in seconds."""
    lines = [line.split(" ", 1) for line in output.splitlines()]
    return [int(when) / 1000 for when, what in lines if what == wanted]


def key_frames_frozen(times: list[float], keys: list[float]) -> int:
    """How many key frames came whole before there was a picture again, in the worst case. What has lost packets counts
    for none: nobody could show it."""
    return max((sum(before < key <= after for key in keys) for before, after in zip(times, times[1:])
                if after - before > 1), default=0)


def freeze(times: list[float]) -> float:
    return max((after - before for before, after in zip(times, times[1:])), default=0.0)


def rate(times: list[float], begin: float, end: float) -> float:
    return sum(begin <= time < end for time in times) / (end - begin)


def fault_cell(viewer: str, folder: str, fault: str, transport: str) -> str:
    link = Link()
    server = serve(folder, SERVER, str(PORT))
    time.sleep(3)
    view = link.run([viewer, f"rtsp://{SERVER}:{PORT}/h264lossless", transport, str(SECONDS)])
    begun = time.monotonic()

    def at(second: float) -> None:
        time.sleep(max(0.0, begun + second - time.monotonic()))

    what = FAULTS[fault]
    at(BEGIN)
    if "restart" in what:
        server.kill()
        server.wait()
        server = serve(folder, SERVER, str(PORT))
    link.cut = "gap" in what
    link.loss, link.reorder = what.get("loss", 0.0), what.get("reorder", 0.0)
    at(BEGIN + what.get("gap", 0))
    link.cut = False
    at(END)
    link.loss = link.reorder = 0.0
    output = view.communicate()[0]
    server.kill()
    times = moments(output, "picture")
    said = sorted((when, what) for what in ("connected", "failed") for when in moments(output, what))
    return (f"{fault:15} {transport}  {rate(times, 2, BEGIN):5.1f} {rate(times, BEGIN, END):7.1f} "
            f"{rate(times, END + 2, SECONDS - 1):6.1f}   {freeze(times):6.2f}   {', '.join(f'{when:.1f} {what}' for when, what in said)}")


def sets_cell(viewer: str, folder: str, mount: str) -> str:
    port = 8600 + sum(mount.encode())
    server = serve(folder, "127.0.0.1", str(port))
    time.sleep(3)
    results = []

    def one(number: int) -> None:
        time.sleep(0.37 * (number % 5))  # anywhere in the group of pictures
        run = subprocess.run([viewer, f"rtsp://127.0.0.1:{port}{mount}", ("udp", "tcp")[number % 2],
                              str(ROUND_SECONDS), "1"], capture_output=True, text=True)
        times, connected = moments(run.stdout, "picture"), moments(run.stdout, "connected")
        results.append((times[0] - connected[0] if times and connected else 99.0, freeze(times), len(times),
                        key_frames_frozen(times, moments(run.stdout, "key"))))

    with concurrent.futures.ThreadPoolExecutor(5) as pool:
        list(pool.map(one, range(ROUNDS)))
    server.kill()
    joined, frozen, pictures, keys = zip(*results)
    return (f"{mount:15} {ROUNDS} rounds: first picture after {statistics.median(joined):.2f} s, {max(joined):.2f} at "
            f"most; frozen for {statistics.median(frozen):.2f} s, {max(frozen):.2f} at most, beyond 2 s in "
            f"{sum(one > 2.1 for one in frozen)}; {max(keys)} whole key frames at most in any freeze; {min(pictures)} "
            f"pictures at least")


def main(viewer: str, folder: str, pattern: str = "") -> int:
    import servers
    os.makedirs(folder, exist_ok=True)
    servers.make_clips(folder, seconds=150)
    cells = [["--fault", fault, transport] for fault in FAULTS for transport in ("udp", "tcp")]
    cells += [["--sets", mount] for mount in servers.LOSSES]
    cells = [cell for cell in cells if re.search(pattern, " ".join(cell))]

    def run(cell: list[str]) -> str:  # each in a network of its own
        done = subprocess.run(["unshare", "-n", "sh", "-c", 'ip link set lo up && exec "$@"', "sh", sys.executable,
                               __file__, *cell, viewer, folder], capture_output=True, text=True)
        return done.stdout.strip() if done.returncode == 0 else f"{' '.join(cell)}: {done.stderr}"

    print("fault                before  during  after   freeze (pictures per second; s)", flush=True)
    with concurrent.futures.ThreadPoolExecutor(3) as pool:
        for line in pool.map(run, cells):
            print(line, flush=True)
    return 0


if __name__ == "__main__":
    arguments = sys.argv[1:]
    if arguments[0] == "--serve":
        serve_here(*arguments[1:])
    elif arguments[0] == "--fault":
        print(fault_cell(arguments[3], arguments[4], arguments[1], arguments[2]), flush=True)
        os._exit(0)
    elif arguments[0] == "--sets":
        print(sets_cell(arguments[2], arguments[3], arguments[1]), flush=True)
        os._exit(0)
    else:
        sys.exit(main(*(os.path.abspath(path) for path in arguments[:2]), *arguments[2:]))
