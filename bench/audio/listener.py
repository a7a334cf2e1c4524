"""A camera's loudspeaker for talk-back, as far as tests and figures need one: a plain TCP server that keeps what comes,
byte by byte, and when."""

import array
import socket
import threading
import time

SECOND = 1.0


def expand(coded):
    """G.711 mu-law to samples."""
    table = []
    for code in range(256):
        bits = code ^ 0xFF
        magnitude = (((bits & 15) << 3) + 132 << (bits >> 4 & 7)) - 132
        table.append(-magnitude if bits & 0x80 else magnitude)
    return array.array("h", (table[code] for code in coded))


class Post:
    """One connection: the head, and what came behind it."""

    def __init__(self):
        self.head = b""
        self.body = b""
        self.arrivals = []  # (time.monotonic(), bytes of the body so far)
        self.ended = False  # by the other side


class Listener:
    """Serves inside of a `with` block. `script` is a function per connection, in their order, the last one for all that
    follow; it gets the connection once the head is there and returns whether to listen on."""

    def __init__(self, *script):
        self.script = list(script) or [lambda connection: True]
        self.posts = []
        self.changed = threading.Condition()

    def __enter__(self):
        self.server = socket.create_server(("127.0.0.1", 0))
        self.port = self.server.getsockname()[1]
        self.url = f"http://127.0.0.1:{self.port}/kest-cgi/audiopost.cgi"
        threading.Thread(target=self._accept, daemon=True).start()
        return self

    def __exit__(self, *_):
        self.server.close()

    def _accept(self):
        while True:
            try:
                connection, _ = self.server.accept()
            except OSError:
                return
            with self.changed:
                post = Post()
                self.posts.append(post)
                act = self.script[min(len(self.posts), len(self.script)) - 1]
            threading.Thread(target=self._serve, args=(connection, post, act), daemon=True).start()

    def _serve(self, connection, post, act):
        with connection:
            try:
                text = b""
                while b"\r\n\r\n" not in text:
                    data = connection.recv(4096)
                    if not data:
                        return
                    text += data
                head, _, body = text.partition(b"\r\n\r\n")
                post.head = head + b"\r\n\r\n"
                self._keep(post, body)
                if not act(connection):
                    return
                while data := connection.recv(65536):
                    self._keep(post, data)
            except OSError:
                pass
            finally:
                post.ended = True
                with self.changed:
                    self.changed.notify_all()

    def _keep(self, post, data):
        with self.changed:
            post.body += data
            if data:
                post.arrivals.append((time.monotonic(), len(post.body)))
            self.changed.notify_all()


def answer(text, then=False):
    """A script that answers, and then ends the connection unless told otherwise."""
    def act(connection):
        connection.sendall(text)
        return then
    return act
