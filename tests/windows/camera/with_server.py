#!/usr/bin/env python3
"""Runs a test program with the servers it needs: with_server.py COMMAND [ARGUMENT ...]

The server's replies are in the requests, so a test holds both sides. A request's path says what becomes of its body:

  /say      is sent, as it is, and the connection closed
  /hang     is sent, then nothing
  /drip?N   N bytes are sent, the others one by one, with 900 ms between them
  /flood    is sent, then 64 MB
  /sign-in  is sent, unless the request has an Authorization header
  /echo     the reply's body is the whole request; so it is for other paths, and for /sign-in else
  /count    the reply's body is the number of requests so far

Environment of the program: NORIX_TEST_HTTP and NORIX_TEST_HTTPS are the server's ports, the latter with a certificate
that nobody vouches for; NORIX_TEST_BLACK_HOLE is a port that neither takes nor refuses connections. Then its tests
named *Proxy* are run once more with the server as http_proxy. Exit code 77 without openssl.
"""

import os
import re
import shutil
import socket
import socketserver
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse


class Handler(socketserver.StreamRequestHandler):
    def handle(self):
        head = b""
        while not head.endswith(b"\r\n\r\n"):
            line = self.rfile.readline()
            if not line:
                return
            head += line
        length = re.search(rb"Content-Length: (\d+)", head)
        body = self.rfile.read(int(length[1])) if length else b""
        self.server.count += 1
        url = urllib.parse.urlsplit(head.split()[1].decode())
        act = getattr(self, url.path[1:].replace("-", "_"), None)
        if url.path == "/sign-in" and b"\r\nAuthorization: " in head:
            act = None
        self.request_text = head + body
        (act or self.echo)(body, url.query)

    def say(self, body, _=None):
        self.wfile.write(body)

    sign_in = say

    def hang(self, body, _):
        self.wfile.write(body)
        self.rfile.read()

    def drip(self, body, query):
        self.wfile.write(body[:int(query)])
        for byte in body[int(query):]:
            time.sleep(0.9)
            self.wfile.write(bytes([byte]))

    def flood(self, body, _):
        self.wfile.write(body)
        for _ in range(64):
            self.wfile.write(bytes(1 << 20))

    def echo(self, *_):
        self.say(b"HTTP/1.0 200 OK\r\nContent-Type: text/plain; charset=gb2312\r\nSet-Cookie: c=1\r\n\r\n" +
                 self.request_text)

    def count(self, *_):
        self.say(b"HTTP/1.0 200 OK\r\n\r\n%d" % self.server.count)


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    count = 0

    def __init__(self, context=None):
        super().__init__(("127.0.0.1", 0), Handler)
        if context:
            self.socket = context.wrap_socket(self.socket, server_side=True, do_handshake_on_connect=False)
        self.port = str(self.server_address[1])
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, *_):
        pass  # clients that go away, and refuse certificates, are what the tests want


def certified():
    with tempfile.TemporaryDirectory() as folder:
        key, certificate = f"{folder}/key.pem", f"{folder}/certificate.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=camera",
                        "-keyout", key, "-out", certificate], check=True, stderr=subprocess.DEVNULL)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        return context


def black_hole():
    """A listener whose queue of connections is full, and what fills it."""
    sockets = [socket.socket() for _ in range(9)]
    sockets[0].bind(("127.0.0.1", 0))
    sockets[0].listen(1)
    for client in sockets[1:]:
        client.setblocking(False)
        client.connect_ex(sockets[0].getsockname())
    return sockets


def main():
    if not shutil.which("openssl"):
        print("skipped: no openssl")
        return 77
    hole = black_hole()
    server = Server()
    ports = {"NORIX_TEST_HTTP": server.port, "NORIX_TEST_HTTPS": Server(certified()).port,
             "NORIX_TEST_BLACK_HOLE": str(hole[0].getsockname()[1])}
    proxy = {"http_proxy": "http://127.0.0.1:" + server.port}
    command = sys.argv[1:]
    return (subprocess.run(command, env=os.environ | ports).returncode or
            subprocess.run(command + ["--gtest_filter=*Proxy*"], env=os.environ | ports | proxy).returncode)


if __name__ == "__main__":
    sys.exit(main())
