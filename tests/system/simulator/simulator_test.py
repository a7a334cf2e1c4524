#!/usr/bin/python3
"""What of the simulated camera nothing of the control's uses. Ends with 77 (skipped) where GStreamer's server isn't
installed."""

import base64
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from camera import Camera, PROGRAM  # noqa: E402

SKIPPED = 77


def curl(*arguments: str) -> tuple[int, bytes]:
    """Status and body of the last reply; 0 when there was none."""
    run = subprocess.run(["curl", "-s", "-m", "8", "-w", "\n%{http_code}", *arguments], capture_output=True, timeout=30)
    body, _, status = run.stdout.rpartition(b"\n")
    return int(status), body


class Commands(unittest.TestCase):
    def test_movement(self) -> None:
        with Camera("--codec", "h264", "--ptz", "zoom", "--fault", "cgi-readonly") as camera:
            def move(query: str) -> str:
                return camera.request("GET", f"/kest-cgi/setPTZCtrl.cgi?channel=1&{query}")[1]

            information = camera.request("POST", "/kest-cgi/systeminfo.cgi?")[1]
            self.assertIn("PTZFunc=1\nZoomFunc=1\nPanTiltFunc=0\n", information)
            move("move=left&speedpan=100")
            self.assertEqual("left", camera.parameter("ptz1_move"))
            move("move=stop")
            here = float(camera.parameter("ptz1_pan"))
            self.assertLess(here, 0)
            self.assertEqual(here, float(camera.parameter("ptz1_pan")))
            self.assertTrue(move("move=home").startswith("Error"))
            for path, body in (("setParam.cgi?", "video_text=x"), ("setPreset.cgi?move=addpreset&PresetIndex=01", None)):
                self.assertTrue(camera.request("POST", "/kest-cgi/" + path, body)[1].startswith("Error"))
            camera.request("GET", "/kest-cgi/secret", signed_in=False)
            asked = [line.split(None, 1)[1] for line in
                     camera.request("GET", "/simulator/asked", signed_in=False)[1].splitlines()]
            self.assertEqual("GET /kest-cgi/setPTZCtrl.cgi?channel=1&move=left&speedpan=100", asked[1])
            self.assertEqual("POST /kest-cgi/setParam.cgi? video_text=x", asked[-2])

    def test_sign_in(self) -> None:
        for scheme, good in {"basic": ["--basic"], "digest": ["--digest"], "both": ["--basic", "--digest"]}.items():
            with self.subTest(scheme), Camera("--http-auth", scheme, "--codec", "h264") as camera:
                address = f"http://127.0.0.1:{camera.http_port}/kest-cgi/getParam.cgi?system_modelname"
                for way in ("--basic", "--digest"):
                    self.assertEqual(200 if way in good else 401, curl(way, "-u", "admin:norix", address)[0], way)
                    self.assertEqual(401, curl(way, "-u", "admin:wrong", address)[0], way)
                self.assertEqual(200, curl("--anyauth", "-u", "admin:norix", "-d", "a=1", address)[0])

    def test_talk_back(self) -> None:
        def post(camera: Camera) -> socket.socket:
            connection = socket.create_connection(("127.0.0.1", camera.http_port))
            secret = base64.b64encode(b"admin:norix").decode()
            connection.sendall("POST /kest-cgi/audiopost.cgi HTTP/1.1\r\nContent-type: audio/pcmu\r\n"
                               f"Authorization: Basic {secret}\r\n\r\n".encode())
            connection.settimeout(5)
            return connection

        with tempfile.NamedTemporaryFile() as file, Camera("--codec", "h264", "--talkback", file.name) as camera:
            with post(camera) as first:
                self.assertTrue(camera.wait_for_log("talk-back: begins"))
                with post(camera) as second:
                    self.assertTrue(second.recv(100).startswith(b"HTTP/1.1 503"))
                first.sendall(b"voice" * 200)
            self.assertTrue(camera.wait_for_log("talk-back: 1000 bytes"))
            self.assertEqual(b"voice" * 200, file.read())


class Process(unittest.TestCase):
    def test_ends(self) -> None:
        arguments = [PROGRAM, "--http", "0", "--rtsp", "0", "--codec", "h264"]
        with subprocess.Popen(arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as camera:
            self.assertTrue(camera.stdout.readline().startswith(b"ready http="))
            camera.terminate()
            self.assertEqual((b"", b"", 0), (*camera.communicate(timeout=10), camera.returncode))
        # The shell is the parent; it ends when it has read a line.
        script = '"$@" --die-with-parent & read -r line'
        with subprocess.Popen(["sh", "-c", script, "sh", *arguments], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE) as shell:
            self.assertTrue(shell.stdout.readline().startswith(b"ready http="))
            # The pipe's last writer is the camera.
            self.assertEqual(b"", shell.communicate(b"\n", timeout=10)[0])


if __name__ == "__main__":
    installed = subprocess.run([PROGRAM, "--help"], capture_output=True, text=True)
    if installed.returncode != 0 or not shutil.which("curl"):
        print("skipped:", installed.stderr or "no curl")
        sys.exit(SKIPPED)
    # Once for all: no test waits for pictures that have to be encoded first.
    subprocess.run([PROGRAM, "--prepare"], check=True)
    unittest.main()
