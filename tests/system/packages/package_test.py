#!/usr/bin/python3
"""Every way in: installs, shows the simulated camera, and leaves registry and files as they were when it is removed.

usage: package_test.py BUILD_FOLDER FOLDER

Needs a screen and a Wine prefix in which nothing was registered: both come from scripts/with-display."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import zipfile

SYSTEM = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(SYSTEM / "live"), str(SYSTEM)]

from camera import Camera  # noqa: E402
from host import ROOT, WINE_RUN, until, windows_path  # noqa: E402

VERSION = re.search(r"VERSION (\d+\.\d+\.\d+)", pathlib.Path(ROOT, "CMakeLists.txt").read_text()).group(1)
DRIVE = pathlib.Path(os.environ["NORIX_WINEPREFIX"]) / "drive_c"
CONTROL = "A0C4B5E1-6D0B-4F43-9C37-5C1E2D7B8024"
# What Wine itself, its installer's empty shelves and the programs' own settings change by being used: no part of an
# installation.
OWN_BUSINESS = re.compile(
    r"\\Software\\(?:(?:Norix|Wine)\b|Classes$|Microsoft\\(?:Windows NT|Internet Explorer|Direct3D|DirectDraw|ActiveMovie"
    r"|Cryptography|SystemCertificates|Windows\\CurrentVersion\\(?:Explorer|Internet Settings|MMDevices|RunOnce"
    r"|Shell Extensions))|(?:.*\\)?Installer(?:\\(?:Features|Folders|Products|UpgradeCodes|UserData"
    r"(?:\\[^\\]+(?:\\(?:Components|Products))?)?))?$)", re.I)
OWN_FILES = re.compile(r"(?:^|/)(?:Temp|Temporary Internet Files|Microsoft|Installer|temp)(?:/|$)")


def wine(*command, check=True, **options):
    return subprocess.run([WINE_RUN, *map(str, command)], check=check, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, **options)


class State:
    """The registry's classes, settings and installations, and the files of the drive."""

    def __init__(self, folder):
        self.values = {}
        for number, place in enumerate((r"HKLM\Software", r"HKCU\Software")):
            file = folder / f"registry{number}.reg"
            wine("reg", "export", place, windows_path(str(file)), "/y")
            key = ""
            for line in file.read_text(encoding="utf-16").replace("\\\n", "").splitlines():
                if line.startswith("["):
                    key = line[1:-1]
                    self._add(key, "")
                elif "=" in line:
                    self._add(key, line)
        self.files = {name for path in DRIVE.rglob("*")
                      if not OWN_FILES.search(name := str(path.relative_to(DRIVE)))}

    def _add(self, key, value):
        if not OWN_BUSINESS.search(key):
            self.values[(key, value.partition("=")[0])] = value

    def differences(self, other):
        values = self.values.items() ^ other.values.items()
        return sorted({f"{key} {value}" for (key, _), value in values} | (self.files ^ other.files))


class Test:
    def __init__(self, build, folder, camera):
        self.build, self.folder, self.camera = build, folder, camera
        self.failures = []

    def check(self, what, good, details=""):
        print(f"{'ok' if good else 'FAILED'}: {what}", details if not good else "", flush=True)
        if not good:
            self.failures.append(what)

    # ---- Packages

    def make(self, *arguments):
        registry = self.folder / "registry.reg"
        if not registry.exists():
            subprocess.run([f"{ROOT}/scripts/registered", self.build / "NorixSDK.ocx", registry], check=True)
        output = self.folder / "-".join(["dist", *arguments[1:]])
        subprocess.run([f"{ROOT}/scripts/make-packages", "--build", self.build, "--registry", registry, "--output", output,
                        *arguments], check=True)
        return output

    # ---- Using what is installed

    def shows(self, host, name):
        """Whether the host program gets a picture of the camera by the registered control."""
        log = self.folder / f"{name}.log"
        done = wine(host, "--log", windows_path(str(log)), "--set", "ServerIP=127.0.0.1", "--set",
                    f"HttpPort={self.camera.http_port}", "--set", f"username={self.camera.user}", "--set",
                    f"password={self.camera.password}", "--set", "VideoProtocol=2", "--call", "Connect", "--wait",
                    "OnResolutionChanged", "--call", "Disconnect", "--exit", "--run-seconds", "120", check=False)
        return done.returncode == 0

    @staticmethod
    def picture():
        """What is in the middle of the video on the screen: its digest, and how many colours it has."""
        screen = subprocess.run(["import", "-window", "root", "-crop", "400x300+60+120", "miff:-"], check=True,
                                capture_output=True).stdout
        digest, colours = subprocess.run(["identify", "-format", "%# %k", "miff:-"], input=screen, check=True,
                                         capture_output=True).stdout.decode().split()
        return digest, int(colours)

    # ---- The ways in

    def way(self, name, install, use, remove):
        before = State(self.folder)
        install()
        use(before)
        remove()
        left = State(self.folder).differences(before)
        self.check(f"{name}: removal leaves all as it was", not left, "\n  ".join(["", *left[:20]]))

    def regsvr32(self, name, module, host):
        self.way(name, lambda: wine("regsvr32", "/s", windows_path(str(module))),
                 lambda _: self.check(f"{name}: shows the camera", self.shows(host, name)),
                 lambda: wine("regsvr32", "/s", "/u", windows_path(str(module))))

    def user_scope(self, name, before, root):
        """Wine looks for classes in the machine's part only, so what is there for one user is compared, not run."""
        values = State(self.folder).values.items() - before.values.items()
        keys = {key for (key, _), _ in values}
        self.check(f"{name}: registered for the user", any(CONTROL in key and key.startswith("HKEY_CURRENT_USER") for key in keys))
        self.check(f"{name}: nothing of it for the machine", not any(
            key.startswith("HKEY_LOCAL_MACHINE\\Software\\Classes") and CONTROL in key for key in keys))
        return {(key, value.replace(root, "<module>")) for (key, _), value in values if "\\Software\\Classes\\" in key and value}

    def msi_machine(self, package):
        host = DRIVE / "Program Files/NorixSDK/NorixHost.exe"
        self.way("msi", lambda: wine("msiexec", "/i", windows_path(str(package)), "/qn"),
                 lambda _: self.check("msi: shows the camera", host.exists() and self.shows(host, "msi")),
                 lambda: wine("msiexec", "/x", windows_path(str(package)), "/qn"))

    def msi_user(self, package, module):
        found = {}

        def register():
            wine("regsvr32", "/s", "/n", "/i:user", windows_path(str(module)))

        def unregister():
            wine("regsvr32", "/s", "/n", "/u", "/i:user", windows_path(str(module)))

        self.way("regsvr32 for one user", register, lambda before: found.update(
            own=self.user_scope("regsvr32 for one user", before, windows_path(str(module)).replace("\\", "\\\\"))), unregister)

        def use(before):
            path = next(DRIVE.rglob("AppData/Local/NorixSDK/NorixSDK.ocx"), None)
            self.check("msi for one user: files of the user", path is not None)
            inside = "C:\\" + str(path.relative_to(DRIVE)).replace("/", "\\") if path else "?"
            installed = self.user_scope("msi for one user", before, inside.replace("\\", "\\\\"))
            self.check("msi for one user: registers what the module does", installed == found["own"],
                       sorted(installed ^ found["own"])[:6])

        self.way("msi for one user", lambda: wine("msiexec", "/i", windows_path(str(package)), "/qn"), use,
                 lambda: wine("msiexec", "/x", windows_path(str(package)), "/qn"))

    def cab(self, package, host):
        """As a page's codebase does it, by the INF; the browser is not there."""
        folder = self.folder / "cab"
        folder.mkdir()
        subprocess.run(["gcab", "-x", "-C", folder, package], check=True, stdout=subprocess.DEVNULL)
        inf = (folder / "NorixSDK.inf").read_text()
        self.check("cab: its INF names the module", "RegisterServer=yes" in inf and CONTROL in inf
                   and "FileVersion=" + VERSION.replace(".", ",") in inf)
        self.regsvr32("cab", folder / "NorixSDK.ocx", host)

    def side_by_side(self, package):
        folder = self.folder / "side by side"
        with zipfile.ZipFile(package) as file:
            file.extractall(folder)
        before = State(self.folder)
        environment = os.environ | {"NORIX_USER": self.camera.user, "NORIX_PASSWORD": self.camera.password}
        program = subprocess.Popen([WINE_RUN, folder / "OneCamera.exe", "127.0.0.1", str(self.camera.http_port)],
                                   env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, start_new_session=True)
        try:
            # The simulated camera's picture has gradients, and something in it moves.
            seen = set()

            def moves():
                digest, colours = self.picture()
                if colours > 500:
                    seen.add(digest)
                return len(seen) >= 4

            until(moves, "moving picture", 120)
            self.check("side by side: shows the camera", True)
        except AssertionError as error:
            self.check("side by side: shows the camera", False, f"{error}, {self.picture()}")
        finally:
            subprocess.run(["import", "-window", "root", self.folder / "side-by-side.png"])
            state = State(self.folder)
            wine("taskkill", "/im", "OneCamera.exe", check=False)
            program.wait(120)
        left = state.differences(before)
        self.check("side by side: nothing is registered", not left, "\n  ".join(["", *left[:20]]))

    def upgrade(self, old, new):
        def installed():
            state = State(self.folder)
            return [value for (key, name), value in state.values.items() if name == '"DisplayVersion"' and "\\Uninstall\\" in key]

        wine("msiexec", "/i", windows_path(str(old)), "/qn")
        others = set(installed())
        self.check("upgrade: the older version is there", any("0.9.0" in value for value in others), others)
        wine("reg", "add", r"HKLM\Software\KEST\NorixSDK", "/v", "VideoBufferNum", "/t", "REG_DWORD", "/d", "12", "/f")
        wine("reg", "add", r"HKCU\Software\Norix\ClientSetting", "/v", "VideoOption", "/t", "REG_DWORD", "/d", "1", "/f")
        wine("msiexec", "/i", windows_path(str(new)), "/qn")
        now = installed()
        self.check("upgrade: the newer one stands for it", not any("0.9.0" in value for value in now)
                   and sum(VERSION in value for value in now) == 1, now)
        module = DRIVE / "Program Files/NorixSDK/NorixSDK.ocx"
        self.check("upgrade: the module is there", module.exists())
        wine("msiexec", "/i", windows_path(str(old)), "/qn", check=False)
        self.check("upgrade: never backwards", not any("0.9.0" in value for value in installed()))
        for key, name in ((r"HKLM\Software\KEST\NorixSDK", "VideoBufferNum"), (r"HKCU\Software\Norix\ClientSetting", "VideoOption")):
            self.check(f"upgrade: {name} is kept", wine("reg", "query", key, "/v", name, check=False).returncode == 0)
        wine("msiexec", "/x", windows_path(str(new)), "/qn")
        self.check("upgrade: removed", not module.exists())
        wine("reg", "delete", r"HKLM\Software\KEST", "/f")
        wine("reg", "delete", r"HKCU\Software\Norix\ClientSetting", "/f")


def main():
    build, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve() / "work"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    host = build / "samples/host/NorixHost.exe"
    with Camera("--codec", "h264", "--streams", "1") as camera:
        test = Test(build, folder, camera)
        dist = test.make()
        again = folder / "again"
        dist.rename(again)
        test.make()
        same = subprocess.run(["diff", "-r", again, dist], stdout=subprocess.DEVNULL).returncode == 0
        test.check("packages: the same bytes twice", same)
        test.regsvr32("regsvr32", dist / "NorixSDK.ocx", host)
        test.msi_machine(dist / f"NorixSDK-{VERSION}.msi")
        test.msi_user(dist / f"NorixSDK-{VERSION}-user.msi", dist / "NorixSDK.ocx")
        test.cab(dist / f"NorixSDK-{VERSION}.cab", host)
        test.side_by_side(dist / f"NorixSDK-{VERSION}-side-by-side.zip")
        test.upgrade(test.make("--version", "0.9.0") / "NorixSDK-0.9.0.msi", dist / f"NorixSDK-{VERSION}.msi")
    return 1 if test.failures else 0


if __name__ == "__main__":
    sys.exit(main())
