"""Says what the camera does, to whoever asked for it."""

import sys
import threading
import time
from typing import TextIO

_started = time.monotonic()
_lock = threading.Lock()
_outputs: list[TextIO] = []


def open_log(verbose: bool, path: str | None) -> None:
    if verbose:
        _outputs.append(sys.stderr)
    if path:
        _outputs.append(open(path, "a", encoding="utf-8", buffering=1))


def log(text: str) -> None:
    """One line, with the seconds since the start before it. May be called by any thread."""
    with _lock:
        for output in _outputs:
            output.write(f"{time.monotonic() - _started:9.3f} {text}\n")
